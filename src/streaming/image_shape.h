// What the features of a camera say its images are.
#pragma once

#include "board/CameraPort.h"

#include <cstddef>
#include <cstdint>

namespace streaming {

struct ImageShape {
    std::size_t payloadSize = 0; // bytes, chunks included
    std::uint32_t pixelFormat = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
};

// What a camera has no feature for is 0; but "PayloadSize" must be there (tavo::GicIllegalNodeException), and
// hold a number of bytes (tavo::GicIllegalValueException). Throws what reading features throws.
ImageShape readShape(const board::Device& device);

} // namespace streaming
