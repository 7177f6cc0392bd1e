// Chunks of a payload: pieces of data of which each says behind itself what it is and how long.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace gvsp {

struct Chunk {
    std::uint32_t id = 0;
    std::size_t offset = 0; // in the payload
    std::size_t length = 0; // without the mark behind it
};

// The chunks in the order of the payload: the image is the first. Empty when the payload is not made of
// chunks from its end to its beginning, or of more than 1,024.
std::vector<Chunk> findChunks(std::span<const std::uint8_t> payload);

} // namespace gvsp
