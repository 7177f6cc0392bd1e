// How the camera's pixel formats put colours into bytes. A format turns the colours of a line into samples,
// and samples into bytes; widths are multiples of 4, so that every line is whole bytes.
#pragma once

#include "simcam/bytes.h"

#include <span>

namespace simcam {

// 16 bits each, 65535 is the brightest.
struct Colour {
    std::uint16_t red = 0;
    std::uint16_t green = 0;
    std::uint16_t blue = 0;
};
using Samples = std::vector<std::uint16_t>;

struct PixelLayout {
    enum class Packing {
        Byte,  // a sample a byte
        Word,  // a sample in two bytes, the low one first
        Packed // two samples in three bytes: the high bits of the first, the low bits of both, the second
    };

    std::uint32_t format; // gvsp::kPixelFormats
    unsigned bits;        // of a sample
    unsigned samples;     // of a pixel
    bool colour;
    Packing packing;
    // Appends the samples of a line; `line` is its number.
    void (*convert)(std::span<const Colour> colours, std::uint32_t line, Samples& out);

    std::size_t bytes(std::size_t sampleCount) const;
};

// Null for a format that the camera does not offer.
const PixelLayout* layoutOf(std::uint32_t format);

// Appends samples of at most 16 bits as they are.
void pack(const PixelLayout& layout, std::span<const std::uint16_t> samples, Bytes& out);
// Appends a line.
void packLine(
    const PixelLayout& layout, std::span<const Colour> colours, std::uint32_t line, Samples& scratch,
    Bytes& out);

} // namespace simcam
