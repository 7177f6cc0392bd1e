// Pictures beside those of a slow reading that picks each bit of each pixel from its place in the line.
#include "pixels/pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using pixels::Form;
using pixels::View;

// Where a sample is: `high` bits at one place of the line and `low` bits below them at another; 0 is the
// lowest bit of the first byte.
struct Place {
    std::size_t at;
    unsigned high;
    std::size_t lowAt = 0;
    unsigned low = 0;
};
using Find = Place (*)(std::size_t x, unsigned plane);

Place packed(std::size_t x, unsigned low) {
    const std::size_t pair = x / 2 * 24;
    return x % 2 == 0 ? Place{pair, 8, pair + 8, low} : Place{pair + 16, 8, pair + 12, low};
}
// For formats of YUV the planes are Y, U and V.
const struct Row {
    const char* names; // several separated by blanks
    unsigned bits;
    unsigned pixel = 0; // bits from one pixel of the line to the next, where that is all
    int plane = 0;      // and from one sample of a pixel to the next
    unsigned first = 0; // where the first sample is
    Find find = nullptr;

    Place place(std::size_t x, unsigned index) const {
        const int before = static_cast<int>(index) * plane + static_cast<int>(first);
        return find != nullptr ? find(x, index) : Place{pixel * x + static_cast<std::size_t>(before), bits};
    }
} kRows[] = {
    {"Mono8 Mono8Signed BayerGR8 BayerRG8 BayerGB8 BayerBG8 RGB8Planar", 8, 8},
    {"Mono10 BayerGR10 BayerRG10 BayerGB10 BayerBG10 RGB10Planar", 10, 16},
    {"Mono12 BayerGR12 BayerRG12 BayerGB12 BayerBG12 RGB12Planar", 12, 16},
    {"Mono16 BayerGR16 BayerRG16 BayerGB16 BayerBG16 RGB16Planar", 16, 16},
    {"Mono10Packed BayerGR10Packed BayerRG10Packed BayerGB10Packed BayerBG10Packed", 10, 0, 0, 0,
     [](std::size_t x, unsigned) { return packed(x, 2); }},
    {"Mono12Packed BayerGR12Packed BayerRG12Packed BayerGB12Packed BayerBG12Packed", 12, 0, 0, 0,
     [](std::size_t x, unsigned) { return packed(x, 4); }},
    {"Mono10p BayerGR10p BayerRG10p BayerGB10p BayerBG10p", 10, 10},
    {"Mono12p BayerGR12p BayerRG12p BayerGB12p BayerBG12p", 12, 12},
    {"RGB8Packed", 8, 24, 8},
    {"BGR8Packed", 8, 24, -8, 16},
    {"RGBA8Packed", 8, 32, 8},
    {"BGRA8Packed", 8, 32, -8, 16},
    {"RGB10Packed", 10, 48, 16},
    {"BGR10Packed", 10, 48, -16, 32},
    {"RGB12Packed", 12, 48, 16},
    {"BGR12Packed", 12, 48, -16, 32},
    {"RGB16", 16, 48, 16},
    {"RGB10V1Packed", 10, 0, 0, 0,
     [](std::size_t x, unsigned plane) {
         return Place{32 * x + 8 + 8 * plane, 8, 32 * x + 2 * plane, 2};
     }},
    {"BGR10V2Packed", 10, 32, 10},
    {"YUV411Packed", 8, 0, 0, 0,
     [](std::size_t x, unsigned plane) {
         constexpr std::size_t kLuma[] = {8, 16, 32, 40};
         return Place{x / 4 * 48 + (plane == 0 ? kLuma[x % 4] : plane == 1 ? 0 : 24), 8};
     }},
    {"YUV422Packed", 8, 0, 0, 0,
     [](std::size_t x, unsigned plane) {
         return Place{x / 2 * 32 + (plane == 0 ? 8 + x % 2 * 16 : plane == 1 ? 0 : 16), 8};
     }},
    {"YUV422_8", 8, 0, 0, 0,
     [](std::size_t x, unsigned plane) {
         return Place{x / 2 * 32 + (plane == 0 ? x % 2 * 16 : plane == 1 ? 8 : 24), 8};
     }},
    {"YUV444Packed", 8, 0, 0, 0,
     [](std::size_t x, unsigned plane) {
         return Place{24 * x + (plane == 0 ? 8 : plane == 1 ? 0 : 16), 8};
     }},
};

std::uint32_t numberOf(const std::string& name) {
    for (std::uint32_t bits = 8; bits <= 48; ++bits) { // the numbers of the later ones are in tshark's table
        for (std::uint32_t id = 0; id < 0x60; ++id) {
            for (const std::uint32_t colour : {0x01000000U, 0x02000000U}) {
                if (pixels::formatName(colour | bits << 16 | id) == name) {
                    return colour | bits << 16 | id;
                }
            }
        }
    }
    return 0;
}

class Reference {
public:
    Reference(const View& image, const Row& row, const std::string& name, bool deep)
        : m_image(image), m_row(row), m_name(name), m_deep(deep),
          m_bits((image.format >> 16 & 0xFF) / (planar() ? 3 : 1)), m_line((image.width * m_bits + 7) / 8) {}

    bool grey() const { return m_name.starts_with("Mono"); }
    bool inexact() const { return m_name.starts_with("YUV"); }
    double at(std::size_t x, std::size_t y, unsigned plane) const {
        if (m_name.starts_with("Bayer")) {
            return interpolated(x, y, "RGB"[plane]);
        }
        if (inexact()) {
            const double luma = sample(x, y, 0);
            const double u = sample(x, y, 1) - 128.0;
            const double v = sample(x, y, 2) - 128.0;
            const double rgb[] = {luma + 1.402 * v, luma - 0.344136 * u - 0.714136 * v, luma + 1.772 * u};
            return std::clamp(std::round(rgb[plane]), 0.0, 255.0) * (m_deep ? 257 : 1);
        }
        return scaled(sample(x, y, grey() ? 0 : plane));
    }

private:
    bool planar() const { return m_name.ends_with("Planar"); }
    unsigned bits(std::size_t y, std::size_t at, unsigned count) const {
        unsigned value = 0;
        for (unsigned i = 0; i < count; ++i) {
            const std::size_t byte = y * (m_line + m_image.paddingX) + (at + i) / 8;
            value |= (byte < m_image.bytes.size() ? m_image.bytes[byte] >> ((at + i) % 8) & 1U : 0U) << i;
        }
        return value;
    }
    unsigned sample(std::size_t x, std::size_t y, unsigned plane) const {
        Place place = m_row.place(x, plane);
        if (place.at / 8 >= m_line) { // a colour for several pixels, of which some are not there
            const std::size_t group = m_name.starts_with("YUV411") ? 48 : 32;
            if (place.at < group) {
                return 128;
            }
            place.at -= group;
        }
        const std::size_t line = planar() ? plane * m_image.height + y : y;
        const unsigned value =
            bits(line, place.at, place.high) << place.low | bits(line, place.lowAt, place.low);
        return m_name == "Mono8Signed" ? value ^ 0x80 : value;
    }
    unsigned scaled(unsigned value) const {
        return m_deep ? (value << (16 - m_row.bits)) + (value >> (2 * m_row.bits - 16))
                      : value >> (m_row.bits - 8);
    }
    // The mean of those of the pixel and its neighbours that see the colour.
    double interpolated(std::size_t x, std::size_t y, char colour) const {
        const auto sees = [&](std::size_t i, std::size_t j) { // in lines RGRG and GBGB, where RG begins
            const char first = m_name[5];
            const char second = m_name[6];
            const char below = first == 'G' ? (second == 'R' ? 'B' : 'R') : 'G';
            const char pattern[] = {first, second, below, first == 'G' ? 'G' : first == 'R' ? 'B' : 'R'};
            return pattern[j % 2 * 2 + i % 2];
        };
        const auto mirrored = [](std::size_t i, std::size_t size) { // i is one too large
            return i == 0 ? std::min<std::size_t>(1, size - 1) : i > size ? (size > 1 ? size - 2 : 0) : i - 1;
        };
        if (sees(x, y) == colour) {
            return scaled(sample(x, y, 0));
        }
        unsigned sum = 0;
        unsigned count = 0;
        for (std::size_t i = x; i < x + 3; ++i) {
            for (std::size_t j = y; j < y + 3; ++j) {
                if (sees(i + 1, j + 1) == colour) {
                    sum += scaled(sample(mirrored(i, m_image.width), mirrored(j, m_image.height), 0));
                    ++count;
                }
            }
        }
        return (sum + count / 2) / count;
    }

    const View& m_image;
    const Row& m_row;
    const std::string& m_name;
    const bool m_deep;
    const unsigned m_bits;
    const std::size_t m_line;
};

void compare(const View& image, const Row& row, const std::string& name, Form form) {
    const bool deep = form == Form::Mono16 || form == Form::Rgb16;
    const unsigned planes = form == Form::Rgb8 || form == Form::Rgb16 ? 3 : 1;
    std::vector<std::uint8_t> out(pixels::sizeOf(image, form));
    ASSERT_EQ(out.size(), image.width * image.height * planes * (deep ? 2 : 1));
    ASSERT_TRUE(pixels::convert(image, form, out));
    const Reference reference(image, row, name, deep);
    const bool mixed = planes == 1 && !reference.grey();
    const double tolerance = (reference.inexact() ? (deep ? 257 : 1) : 0) + (mixed ? 1 : 0);
    const std::uint8_t* at = out.data();
    for (std::size_t y = 0; y < image.height; ++y) {
        for (std::size_t x = 0; x < image.width; ++x) {
            for (unsigned plane = 0; plane < planes; ++plane) {
                const auto right = [&](unsigned c) { return reference.at(x, y, c); };
                const double wanted =
                    mixed ? 0.299 * right(0) + 0.587 * right(1) + 0.114 * right(2) : right(plane);
                std::uint16_t word = *at;
                if (deep) {
                    std::copy_n(at, 2, reinterpret_cast<std::uint8_t*>(&word));
                }
                at += deep ? 2 : 1;
                ASSERT_NEAR(word, wanted, tolerance)
                    << name << ' ' << image.width << 'x' << image.height << '+' << image.paddingX << ", "
                    << image.bytes.size() << " bytes, form " << static_cast<int>(form) << ", pixel " << x
                    << ',' << y << " plane " << plane;
            }
        }
    }
}

TEST(Pixels, EveryFormatInEveryForm) {
    std::mt19937 random(1);
    const struct {
        std::uint32_t width, height, padding;
        double there; // of the bytes
    } shapes[] = {{1, 1, 0, 1},  {2, 2, 0, 1}, {3, 1, 1, 1},   {1, 3, 0, 1},   {4, 3, 0, 1},
                  {37, 5, 3, 1}, {7, 6, 0, 1}, {16, 4, 2, .5}, {13, 4, 0, .8}, {5, 3, 0, 0}};
    for (const Row& row : kRows) {
        for (std::string names = row.names; !names.empty();) {
            const std::string name = names.substr(0, names.find(' '));
            names.erase(0, name.size() + 1);
            const std::uint32_t format = numberOf(name);
            ASSERT_TRUE(pixels::canConvert(format)) << name;
            for (const auto& shape : shapes) {
                const std::size_t line = (shape.width * (format >> 16 & 0xFF) + 7) / 8 + shape.padding;
                std::vector<std::uint8_t> bytes(
                    static_cast<std::size_t>(static_cast<double>(line * shape.height) * shape.there));
                std::generate(
                    bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
                const View image{bytes, format, shape.width, shape.height, shape.padding};
                for (const Form form : {Form::Mono8, Form::Mono16, Form::Rgb8, Form::Rgb16}) {
                    compare(image, row, name, form);
                }
            }
        }
    }
}

TEST(Pixels, NaturalFormsAndRefusals) {
    const struct {
        const char* name;
        Form form;
    } rows[] = {{"Mono8", Form::Mono8},      {"Mono12p", Form::Mono16},    {"BayerGB8", Form::Rgb8},
                {"BayerRG12", Form::Rgb16},  {"YUV422Packed", Form::Rgb8}, {"RGB10Planar", Form::Rgb16},
                {"RGBA8Packed", Form::Rgb8}, {"Mono8Signed", Form::Mono8}};
    for (const auto& row : rows) {
        EXPECT_EQ(pixels::naturalForm(numberOf(row.name)), row.form) << row.name;
    }
    std::vector<std::uint8_t> out(5, 7);
    EXPECT_FALSE(pixels::convert({{}, 0x0108FFFF, 5, 1, 0}, Form::Mono8, out));
    EXPECT_FALSE(pixels::convert({{}, numberOf("Mono8"), 5, 2, 0}, Form::Mono8, out));
    EXPECT_EQ(out, std::vector<std::uint8_t>(5, 7));
    EXPECT_TRUE(pixels::convert({{}, numberOf("Mono8"), 0, 9, 0}, Form::Rgb8, {}));
    const View huge{{}, numberOf("Mono8"), 0xFFFFFFFF, 0xFFFFFFFF, 0};
    EXPECT_EQ(pixels::sizeOf(huge, Form::Mono8), 0U);
    EXPECT_FALSE(pixels::convert(huge, Form::Mono8, {}));
}

} // namespace
