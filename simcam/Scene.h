// The camera's pictures, rendered once: a moving one is a longer run of bytes, from which each block takes
// another stretch.
#pragma once

#include "simcam/PacketBatch.h"

namespace simcam {

struct PixelLayout;

// Values of the register TestPattern.
enum class TestPattern : std::uint8_t {
    Off, // what the sensor sees: a ramp that moves, in colours where the format has them
    GreyHorizontalRamp,
    GreyVerticalRamp,
    GreyHorizontalRampMoving,
    HorizontalLineMoving,
    VerticalLineMoving,
    ColorBar,
    Encoded, // encoded_pattern.h
};

// What a picture depends on.
struct SceneWish {
    TestPattern pattern = TestPattern::Off;
    std::uint32_t format = 0;
    std::uint32_t width = 0;  // a multiple of 4
    std::uint32_t height = 0; // a multiple of 2

    friend bool operator==(const SceneWish&, const SceneWish&) = default;
};

struct Picture {
    SharedBytes owner; // of what `bytes` points to
    ByteView bytes;
};

class Scene {
public:
    // No bytes for a format that the camera does not offer.
    explicit Scene(const SceneWish& wish);

    // What the block with this id shows.
    Picture picture(std::uint64_t block) const;

private:
    void paint(const SceneWish& wish, const PixelLayout& layout);

    SharedBytes m_bytes;
    std::size_t m_size = 0;     // of a picture
    std::size_t m_step = 0;     // from one block to the next
    std::uint64_t m_phases = 1; // after which it begins again
};

} // namespace simcam
