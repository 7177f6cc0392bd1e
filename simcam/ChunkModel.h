// Chunks: data that travels behind the image. Each is its bytes, then its id and its length; the image is the
// first of them, and cannot be switched off.
#pragma once

#include "simcam/RegisterModel.h"

#include <functional>

namespace simcam {

// Values of the register ChunkSelector, which also count the elements of ChunkEnable.
enum class Chunk : std::uint8_t { Image, FrameId, Timestamp, ExposureTime };

struct ChunkFact {
    std::uint32_t id;   // in the payload
    std::uint32_t size; // bytes, big-endian; 0: as the image has
};
inline constexpr std::array<ChunkFact, 4> kChunks{{
    {0x0001, 0}, // the image
    {0x1001, 8}, // number of the block, an integer
    {0x1002, 8}, // ticks of the timestamp counter at the exposure, an integer
    {0x1003, 8}, // exposure time in microseconds, a floating-point number
}};

// How many bytes of a payload are not the image; 0 when the chunk mode is off.
std::size_t chunkBytes(const Registers& registers);
// Those bytes, for an image of that size. The registers show their values from now on.
Bytes makeChunks(Registers& registers, std::size_t imageSize, std::uint64_t frameId, std::uint64_t timestamp);
// A number that is another one for other chunks.
std::uint32_t chunkLayout(const Registers& registers);

class ChunkModel : public RegisterModel {
public:
    // `isAcquiring` tells whether the payload's size is in use and must not change.
    explicit ChunkModel(std::function<bool()> isAcquiring) : m_isAcquiring(std::move(isAcquiring)) {}

    void refresh(Time) override {}
    gvcp::Status check(const Candidate& candidate) const override;

private:
    std::function<bool()> m_isAcquiring;
};

} // namespace simcam
