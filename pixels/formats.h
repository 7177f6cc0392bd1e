// The pixel formats: one table of their names, numbers and of how their lines are read.
#pragma once

#include "pixels/bayer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace pixels {

enum class Kind : std::uint8_t {
    Grey,   // a line has one plane
    Bayer,  // likewise, of a sensor with a colour pattern
    Colour, // a line has red, green and blue
    Planar, // the image has three planes, one below the other; each is read as grey
};

template<typename Sample> using Planes = std::array<Sample*, 3>;

// Reads a line of the image: `width` pixels out of lineBytes() bytes into the planes, scaled to the whole
// range of the samples.
template<typename Sample>
using ReadLine = void (*)(const std::uint8_t* line, std::size_t width, const Planes<Sample>& planes);

struct Format {
    std::string_view name;
    std::uint32_t value = 0;
    Kind kind = Kind::Grey;
    Phase phase;       // of Kind::Bayer
    bool deep = false; // samples of more than 8 bits
    ReadLine<std::uint8_t> read8 = nullptr;
    ReadLine<std::uint16_t> read16 = nullptr;
};

// Null for a number that is not in the table.
const Format* findFormat(std::uint32_t value);

// Whether its lines are those of a picture with 8 bits of red, green and blue already.
bool isRgb8(const Format& format);

// Bytes of a line without padding; each line begins with a byte of its own. Of one plane.
std::uint64_t lineBytes(const Format& format, std::uint32_t width);

} // namespace pixels
