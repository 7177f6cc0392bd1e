#include "formats.h"

#include "protocol/gvsp.h"

#include <algorithm>
#include <iterator>

namespace pixels {
namespace {

// How pixels lie in bytes: kPixels of them, of kPlanes samples of kBits bits each, in kBytes bytes. value()
// is a sample of the group. Numbers are little-endian.

constexpr unsigned word(const std::uint8_t* in) {
    return in[0] | static_cast<unsigned>(in[1]) << 8;
}

template<unsigned Bits> constexpr unsigned lowBits(unsigned value) {
    return value & ((1U << Bits) - 1);
}

template<unsigned Pixels, unsigned Bytes, unsigned Bits, unsigned PlaneCount = 1> struct Group {
    static constexpr unsigned kPixels = Pixels;
    static constexpr unsigned kBytes = Bytes;
    static constexpr unsigned kBits = Bits;
    static constexpr unsigned kPlanes = PlaneCount;
    static constexpr bool kYuv = false;
};

struct Byte : Group<1, 1, 8> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t) { return *in; }
};
// -128 becomes black.
struct SignedByte : Group<1, 1, 8> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t) { return *in ^ 0x80U; }
};
template<unsigned Bits> struct Word : Group<1, 2, Bits> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t) {
        return lowBits<Bits>(word(in));
    }
};

// GigE Vision's packings: the upper 8 bits of two pixels, and between them a byte with what is left of the
// first in its lower, of the second in its upper half.
template<unsigned Bits> struct Packed : Group<2, 3, Bits> {
    static unsigned value(const std::uint8_t* in, std::size_t pixel, std::size_t) {
        return static_cast<unsigned>(in[2 * pixel]) << (Bits - 8) | lowBits<Bits - 8>(in[1] >> (4 * pixel));
    }
};
// The naming convention's "p": bits without gaps, lowest first.
struct TenP : Group<4, 5, 10> {
    static unsigned value(const std::uint8_t* in, std::size_t pixel, std::size_t) {
        return lowBits<10>(word(in + pixel) >> (2 * pixel));
    }
};
struct TwelveP : Group<2, 3, 12> {
    static unsigned value(const std::uint8_t* in, std::size_t pixel, std::size_t) {
        return lowBits<12>(word(in + pixel) >> (4 * pixel));
    }
};

// Red, green and blue are the samples at these places of a pixel.
template<std::size_t Red, std::size_t Blue, unsigned Samples = 3> struct Bytes3 : Group<1, Samples, 8, 3> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t plane) {
        return in[plane == 0 ? Red : plane == 1 ? 1 : Blue];
    }
};
template<std::size_t Red, std::size_t Blue, unsigned Bits> struct Words3 : Group<1, 6, Bits, 3> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t plane) {
        return lowBits<Bits>(word(in + 2 * (plane == 0 ? Red : plane == 1 ? 1 : Blue)));
    }
};
// The lower 2 bits of red, green and blue in the first byte, then the upper 8 of each.
struct TensV1 : Group<1, 4, 10, 3> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t plane) {
        return static_cast<unsigned>(in[1 + plane]) << 2 | lowBits<2>(in[0] >> (2 * plane));
    }
};
// Red in the lowest bits of 32, then green and blue.
struct TensV2 : Group<1, 4, 10, 3> {
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t plane) {
        return lowBits<10>(word(in + plane) >> (2 * plane));
    }
};

// Y, U and V; readLine() makes colours of them.
template<unsigned Pixels, unsigned Bytes> struct Yuv : Group<Pixels, Bytes, 8, 3> {
    static constexpr bool kYuv = true;
};
struct Yuv411 : Yuv<4, 6> { // U Y Y V Y Y
    static unsigned value(const std::uint8_t* in, std::size_t pixel, std::size_t plane) {
        return in[plane == 0 ? 1 + pixel + pixel / 2 : plane == 1 ? 0 : 3];
    }
};
struct Yuv422 : Yuv<2, 4> { // U Y V Y
    static unsigned value(const std::uint8_t* in, std::size_t pixel, std::size_t plane) {
        return in[plane == 0 ? 1 + 2 * pixel : plane == 1 ? 0 : 2];
    }
};
struct Yuyv : Yuv<2, 4> { // Y U Y V
    static unsigned value(const std::uint8_t* in, std::size_t pixel, std::size_t plane) {
        return in[plane == 0 ? 2 * pixel : plane == 1 ? 1 : 3];
    }
};
struct Yuv444 : Yuv<1, 3> { // U Y V
    static unsigned value(const std::uint8_t* in, std::size_t, std::size_t plane) {
        return in[plane == 0 ? 1 : plane == 1 ? 0 : 2];
    }
};

// To the whole range of the sample: white stays white, and the bits that were stay the upper ones.
template<typename Sample, unsigned Bits> Sample scaled(unsigned value) {
    if constexpr (sizeof(Sample) == 1) {
        return static_cast<Sample>(value >> (Bits - 8));
    } else {
        return static_cast<Sample>(value << (16 - Bits) | value >> (2 * Bits - 16));
    }
}

template<typename Layout, typename Sample>
void readGroups(const std::uint8_t* in, std::size_t groups, const Planes<Sample>& planes) {
    for (unsigned plane = 0; plane < Layout::kPlanes; ++plane) {
        const std::uint8_t* __restrict from = in;
        Sample* __restrict to = planes[plane];
        for (std::size_t group = 0; group < groups; ++group) {
            for (unsigned pixel = 0; pixel < Layout::kPixels; ++pixel) {
                to[pixel] = scaled<Sample, Layout::kBits>(Layout::value(from, pixel, plane));
            }
            from += Layout::kBytes;
            to += Layout::kPixels;
        }
    }
}

template<typename Sample> Sample ofByte(int value) {
    return scaled<Sample, 8>(static_cast<unsigned>(std::clamp(value, 0, 255)));
}

// YUV as ITU-R BT.601 has it, of the whole range of 8 bits, to colours, in 128ths: all fits 16 bits, which
// makes short vectors.
template<typename Sample> void toColours(const Planes<Sample>& planes, std::size_t width) {
    constexpr int kRedV = 179;  // 1.402
    constexpr int kGreenU = 44; // 0.344136
    constexpr int kGreenV = 91; // 0.714136
    constexpr int kBlueU = 227; // 1.772
    constexpr unsigned kShift = 8 * (sizeof(Sample) - 1);
    const auto eight = [](int sum) { return static_cast<std::int16_t>((sum + 64) >> 7); };
    Sample* __restrict first = planes[0];
    Sample* __restrict second = planes[1];
    Sample* __restrict third = planes[2];
    for (std::size_t x = 0; x < width; ++x) {
        const auto y = static_cast<std::int16_t>(first[x] >> kShift);
        const auto u = static_cast<std::int16_t>((second[x] >> kShift) - 128);
        const auto v = static_cast<std::int16_t>((third[x] >> kShift) - 128);
        first[x] = ofByte<Sample>(y + eight(kRedV * v));
        second[x] = ofByte<Sample>(y - eight(kGreenU * u + kGreenV * v));
        third[x] = ofByte<Sample>(y + eight(kBlueU * u));
    }
}

// A line whose last group is cut has its missing bytes, if it needs any, from the group before: of the
// colours that pixels share, the last are missing.
template<typename Layout, typename Sample>
void readRest(const std::uint8_t* line, std::size_t width, const Planes<Sample>& planes) {
    const std::size_t groups = width / Layout::kPixels;
    const std::size_t left = width % Layout::kPixels;
    std::array<std::uint8_t, Layout::kBytes> bytes;
    bytes.fill(0x80); // no colour
    const std::uint8_t* rest = line + groups * Layout::kBytes;
    if (groups > 0) {
        std::copy_n(rest - Layout::kBytes, bytes.size(), bytes.begin());
    }
    constexpr std::size_t kPixelBits = Layout::kBytes * 8 / Layout::kPixels;
    std::copy_n(rest, (left * kPixelBits + 7) / 8, bytes.begin());
    std::array<Sample, Layout::kPixels> samples[Layout::kPlanes];
    Planes<Sample> few{};
    for (unsigned plane = 0; plane < Layout::kPlanes; ++plane) {
        few[plane] = samples[plane].data();
    }
    readGroups<Layout, Sample>(bytes.data(), 1, few);
    for (unsigned plane = 0; plane < Layout::kPlanes; ++plane) {
        std::copy_n(samples[plane].begin(), left, planes[plane] + groups * Layout::kPixels);
    }
}

template<typename Layout, typename Sample>
void readLine(const std::uint8_t* line, std::size_t width, const Planes<Sample>& planes) {
    readGroups<Layout, Sample>(line, width / Layout::kPixels, planes);
    if (width % Layout::kPixels != 0) {
        readRest<Layout, Sample>(line, width, planes);
    }
    if constexpr (Layout::kYuv) {
        toColours<Sample>(planes, width);
    }
}

constexpr Phase kGR{1, 0};
constexpr Phase kRG{0, 0};
constexpr Phase kGB{0, 1};
constexpr Phase kBG{1, 1};

// GigE Vision's own: its number is in the protocol's table.
consteval gvsp::PixelFormat named(std::string_view name) {
    return *std::find_if(gvsp::kPixelFormats.begin(), gvsp::kPixelFormats.end(), [&](const auto& each) {
        return each.name == name;
    });
}

template<typename Layout> consteval Format format(gvsp::PixelFormat entry, Kind kind, Phase phase = {}) {
    return {
        entry.name,
        entry.value,
        kind,
        phase,
        Layout::kBits > 8,
        &readLine<Layout, std::uint8_t>,
        &readLine<Layout, std::uint16_t>};
}
template<typename Layout> consteval Format grey(std::string_view name) {
    return format<Layout>(named(name), Kind::Grey);
}
template<typename Layout> consteval Format bayer(std::string_view name, Phase phase) {
    return format<Layout>(named(name), Kind::Bayer, phase);
}
template<typename Layout> consteval Format bayer(std::string_view name, std::uint32_t value, Phase phase) {
    return format<Layout>({name, value}, Kind::Bayer, phase);
}
template<typename Layout> consteval Format colour(std::string_view name) {
    return format<Layout>(named(name), Kind::Colour);
}
template<typename Layout> consteval Format planar(std::string_view name) {
    return format<Layout>(named(name), Kind::Planar);
}

constexpr Format kFormats[] = {
    grey<Byte>("Mono8"),
    grey<SignedByte>("Mono8Signed"),
    grey<Word<10>>("Mono10"),
    grey<Packed<10>>("Mono10Packed"),
    grey<Word<12>>("Mono12"),
    grey<Packed<12>>("Mono12Packed"),
    grey<Word<16>>("Mono16"),
    bayer<Byte>("BayerGR8", kGR),
    bayer<Byte>("BayerRG8", kRG),
    bayer<Byte>("BayerGB8", kGB),
    bayer<Byte>("BayerBG8", kBG),
    bayer<Word<10>>("BayerGR10", kGR),
    bayer<Word<10>>("BayerRG10", kRG),
    bayer<Word<10>>("BayerGB10", kGB),
    bayer<Word<10>>("BayerBG10", kBG),
    bayer<Word<12>>("BayerGR12", kGR),
    bayer<Word<12>>("BayerRG12", kRG),
    bayer<Word<12>>("BayerGB12", kGB),
    bayer<Word<12>>("BayerBG12", kBG),
    colour<Bytes3<0, 2>>("RGB8Packed"),
    colour<Bytes3<2, 0>>("BGR8Packed"),
    colour<Bytes3<0, 2, 4>>("RGBA8Packed"),
    colour<Bytes3<2, 0, 4>>("BGRA8Packed"),
    colour<Words3<0, 2, 10>>("RGB10Packed"),
    colour<Words3<2, 0, 10>>("BGR10Packed"),
    colour<Words3<0, 2, 12>>("RGB12Packed"),
    colour<Words3<2, 0, 12>>("BGR12Packed"),
    colour<TensV1>("RGB10V1Packed"),
    colour<TensV2>("BGR10V2Packed"), // named so, although red comes first
    colour<Yuv411>("YUV411Packed"),
    colour<Yuv422>("YUV422Packed"),
    colour<Yuv444>("YUV444Packed"),
    planar<Byte>("RGB8Planar"),
    planar<Word<10>>("RGB10Planar"),
    planar<Word<12>>("RGB12Planar"),
    planar<Word<16>>("RGB16Planar"),
    // Of later versions of GigE Vision, and of the naming convention.
    bayer<Packed<10>>("BayerGR10Packed", 0x010C0026, kGR),
    bayer<Packed<10>>("BayerRG10Packed", 0x010C0027, kRG),
    bayer<Packed<10>>("BayerGB10Packed", 0x010C0028, kGB),
    bayer<Packed<10>>("BayerBG10Packed", 0x010C0029, kBG),
    bayer<Packed<12>>("BayerGR12Packed", 0x010C002A, kGR),
    bayer<Packed<12>>("BayerRG12Packed", 0x010C002B, kRG),
    bayer<Packed<12>>("BayerGB12Packed", 0x010C002C, kGB),
    bayer<Packed<12>>("BayerBG12Packed", 0x010C002D, kBG),
    bayer<Word<16>>("BayerGR16", 0x0110002E, kGR),
    bayer<Word<16>>("BayerRG16", 0x0110002F, kRG),
    bayer<Word<16>>("BayerGB16", 0x01100030, kGB),
    bayer<Word<16>>("BayerBG16", 0x01100031, kBG),
    format<Yuyv>({"YUV422_8", 0x02100032}, Kind::Colour),
    format<Words3<0, 2, 16>>({"RGB16", 0x02300033}, Kind::Colour),
    format<TenP>({"Mono10p", 0x010A0046}, Kind::Grey),
    format<TwelveP>({"Mono12p", 0x010C0047}, Kind::Grey),
    bayer<TenP>("BayerBG10p", 0x010A0052, kBG),
    bayer<TwelveP>("BayerBG12p", 0x010C0053, kBG),
    bayer<TenP>("BayerGB10p", 0x010A0054, kGB),
    bayer<TwelveP>("BayerGB12p", 0x010C0055, kGB),
    bayer<TenP>("BayerGR10p", 0x010A0056, kGR),
    bayer<TwelveP>("BayerGR12p", 0x010C0057, kGR),
    bayer<TenP>("BayerRG10p", 0x010A0058, kRG),
    bayer<TwelveP>("BayerRG12p", 0x010C0059, kRG),
};

constexpr const Format* find(std::uint32_t value) {
    const auto found = std::find_if(
        std::begin(kFormats), std::end(kFormats), [&](const auto& each) { return each.value == value; });
    return found != std::end(kFormats) ? found : nullptr;
}
static_assert(std::all_of(gvsp::kPixelFormats.begin(), gvsp::kPixelFormats.end(), [](const auto& each) {
    return find(each.value) != nullptr;
}));

} // namespace

const Format* findFormat(std::uint32_t value) {
    return find(value);
}

bool isRgb8(const Format& format) {
    return format.value == named("RGB8Packed").value;
}

std::uint64_t lineBytes(const Format& format, std::uint32_t width) {
    const std::uint64_t bits = gvsp::bitsPerPixel(format.value) / (format.kind == Kind::Planar ? 3 : 1);
    return (width * bits + 7) / 8;
}

} // namespace pixels
