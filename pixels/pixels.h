// What the bytes of an image mean: formats of the pixel format naming convention (PFNC), unpacked and
// converted to what programs and people look at. No state; any thread.
#pragma once

#include "protocol/gvsp.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace pixels {

enum class Form { Mono8, Mono16, Rgb8, Rgb16 }; // 16 bits: of the machine's byte order, scaled to 16 bits

// An image as it came, each line beginning with a byte of its own. `bytes` may be shorter than the sizes ask
// for: what is missing reads as 0.
struct View {
    std::span<const std::uint8_t> bytes;
    std::uint32_t format = 0; // PFNC
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t paddingX = 0; // bytes at the end of each line
};

// Points to a NUL behind the name; empty for a number that it does not know.
std::string_view formatName(std::uint32_t format);
bool canConvert(std::uint32_t format);
// The form that keeps what the format has: colour or not, more than 8 bits or not.
Form naturalForm(std::uint32_t format);
// Bytes of the picture in that form; 0 when the product does not fit.
std::size_t sizeOf(const View& image, Form form);
// False, and nothing written, when the format is not known or `out` is not of sizeOf() bytes. Values below 8
// or 16 bits fill the whole range (white stays white), signed ones begin with black; Bayer patterns are
// interpolated, YUV is that of ITU-R BT.601 in the whole range of 8 bits, and grey is its luma. Takes memory
// of a few lines.
bool convert(const View& image, Form form, std::span<std::uint8_t> out);

} // namespace pixels
