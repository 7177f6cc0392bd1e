#include "simcam/PixelLayout.h"

#include "protocol/gvsp.h"

#include <algorithm>
#include <array>

namespace simcam {

namespace {

using Packing = PixelLayout::Packing;
using Line = std::span<const Colour>;

constexpr unsigned kBits = 16; // of a colour's components

// Shares of red, green and blue in 1/65536, and their sum's middle.
std::uint16_t mix(const Colour& c, std::int64_t red, std::int64_t green, std::int64_t blue, bool centred) {
    const std::int64_t sum = red * c.red + green * c.green + blue * c.blue;
    return static_cast<std::uint16_t>(
        std::clamp<std::int64_t>((sum >> 16) + (centred ? 32768 : 0), 0, 65535));
}

std::uint16_t luma(const Colour& c) {
    return mix(c, 19595, 38470, 7471, false);
}

void mono(Line line, std::uint32_t, Samples& out) {
    std::ranges::transform(line, std::back_inserter(out), luma);
}

// Red and green in even lines, green and blue in odd ones.
void bayerRg(Line line, std::uint32_t number, Samples& out) {
    for (std::size_t x = 0; x < line.size(); ++x) {
        const Colour& c = line[x];
        const bool green = (x + number) % 2 != 0;
        out.push_back(green ? c.green : number % 2 == 0 ? c.red : c.blue);
    }
}

void rgb(Line line, std::uint32_t, Samples& out) {
    for (const Colour& c : line) {
        out.insert(out.end(), {c.red, c.green, c.blue});
    }
}

void bgr(Line line, std::uint32_t, Samples& out) {
    for (const Colour& c : line) {
        out.insert(out.end(), {c.blue, c.green, c.red});
    }
}

// Of each pair of pixels: U, the first's Y, V, the second's Y; colours over the full range of values.
void yuv422(Line line, std::uint32_t, Samples& out) {
    for (std::size_t x = 0; x + 1 < line.size(); x += 2) {
        const Colour& c = line[x];
        out.push_back(mix(c, -11059, -21709, 32768, true));
        out.push_back(luma(c));
        out.push_back(mix(c, 32768, -27439, -5329, true));
        out.push_back(luma(line[x + 1]));
    }
}

constexpr std::array kLayouts{
    PixelLayout{0x01080001, 8, 1, false, Packing::Byte, mono},    // Mono8
    PixelLayout{0x01100003, 10, 1, false, Packing::Word, mono},   // Mono10
    PixelLayout{0x010C0004, 10, 1, false, Packing::Packed, mono}, // Mono10Packed
    PixelLayout{0x01100005, 12, 1, false, Packing::Word, mono},   // Mono12
    PixelLayout{0x010C0006, 12, 1, false, Packing::Packed, mono}, // Mono12Packed
    PixelLayout{0x01100007, 16, 1, false, Packing::Word, mono},   // Mono16
    PixelLayout{0x01080009, 8, 1, true, Packing::Byte, bayerRg},  // BayerRG8
    PixelLayout{0x0110000D, 10, 1, true, Packing::Word, bayerRg},
    PixelLayout{0x01100011, 12, 1, true, Packing::Word, bayerRg},
    PixelLayout{0x02180014, 8, 3, true, Packing::Byte, rgb},    // RGB8Packed
    PixelLayout{0x02180015, 8, 3, true, Packing::Byte, bgr},    // BGR8Packed
    PixelLayout{0x0210001F, 8, 2, true, Packing::Byte, yuv422}, // YUV422Packed
};

constexpr bool bitsAgree() {
    return std::ranges::all_of(kLayouts, [](const PixelLayout& row) {
        const unsigned stored = row.packing == Packing::Byte ? 8 : row.packing == Packing::Word ? 16 : 12;
        return gvsp::bitsPerPixel(row.format) == stored * row.samples;
    });
}
static_assert(bitsAgree());

} // namespace

const PixelLayout* layoutOf(std::uint32_t format) {
    const auto found = std::ranges::find(kLayouts, format, &PixelLayout::format);
    return found == kLayouts.end() ? nullptr : &*found;
}

std::size_t PixelLayout::bytes(std::size_t sampleCount) const {
    return packing == Packing::Byte   ? sampleCount
           : packing == Packing::Word ? sampleCount * 2
                                      : sampleCount / 2 * 3;
}

void pack(const PixelLayout& layout, std::span<const std::uint16_t> samples, Bytes& out) {
    const unsigned more = layout.bits - 8; // bits of a sample beyond a byte
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::uint16_t sample = samples[i];
        if (layout.packing == Packing::Byte) {
            out.push_back(static_cast<std::uint8_t>(sample));
        } else if (layout.packing == Packing::Word) {
            out.push_back(static_cast<std::uint8_t>(sample));
            out.push_back(static_cast<std::uint8_t>(sample >> 8));
        } else if (i + 1 < samples.size()) {
            const std::uint16_t second = samples[++i];
            const unsigned low = (1U << more) - 1;
            out.push_back(static_cast<std::uint8_t>(sample >> more));
            out.push_back(static_cast<std::uint8_t>((sample & low) | (second & low) << 4));
            out.push_back(static_cast<std::uint8_t>(second >> more));
        }
    }
}

void packLine(
    const PixelLayout& layout, std::span<const Colour> colours, std::uint32_t line, Samples& scratch,
    Bytes& out) {
    scratch.clear();
    layout.convert(colours, line, scratch);
    for (std::uint16_t& sample : scratch) {
        sample = static_cast<std::uint16_t>(sample >> (kBits - layout.bits));
    }
    pack(layout, scratch, out);
}

} // namespace simcam
