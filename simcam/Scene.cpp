#include "simcam/Scene.h"

#include "simcam/PixelLayout.h"
#include "simcam/encoded_pattern.h"

#include <array>

namespace simcam {

namespace {

constexpr std::uint16_t kFull = 65535;
constexpr std::uint16_t kDim = 8192;
constexpr std::uint32_t kRamp = 256; // pixels and lines from dark to bright
constexpr std::uint32_t kLineStep =
    2; // lines and pixels that a picture moves by: whole groups of all formats
constexpr std::uint32_t kPixelStep = 4;
constexpr std::uint32_t kBarThickness = 4;
constexpr std::size_t kChunk = 4096; // samples that are encoded in one go

Colour grey(std::uint32_t value) {
    const auto level = static_cast<std::uint16_t>(value);
    return {level, level, level};
}

// From dark to bright over `range` steps.
std::uint16_t ramp(std::uint32_t at, std::uint32_t range) {
    return static_cast<std::uint16_t>(std::uint64_t{at} * kFull / (range - 1));
}

// From dark to bright and back.
std::uint16_t wave(std::uint32_t at) {
    const std::uint32_t place = at % kRamp;
    return ramp(place < kRamp / 2 ? place : kRamp - 1 - place, kRamp / 2);
}

// A pattern paints pixel `x` of line `y`; lines go on below the picture as far as it moves.
using Paint = Colour (*)(const SceneWish& wish, bool colour, std::uint32_t x, std::uint32_t y);

Colour diagonalRamp(const SceneWish&, bool colour, std::uint32_t x, std::uint32_t y) {
    return colour ? Colour{wave(x + y), wave(x + y + kRamp / 3), wave(x + y + 2 * kRamp / 3)}
                  : grey(ramp((x + y) % kRamp, kRamp));
}

Colour horizontalRamp(const SceneWish& wish, bool, std::uint32_t x, std::uint32_t) {
    return grey(ramp(x, wish.width));
}

Colour verticalRamp(const SceneWish& wish, bool, std::uint32_t, std::uint32_t y) {
    return grey(ramp(y, wish.height));
}

Colour horizontalLine(const SceneWish& wish, bool, std::uint32_t, std::uint32_t y) {
    return grey(y < wish.height && y + kLineStep >= wish.height ? kFull : kDim);
}

Colour verticalLine(const SceneWish&, bool, std::uint32_t x, std::uint32_t) {
    return grey(x < kBarThickness ? kFull : kDim);
}

// White, yellow, cyan, green, magenta, red, blue, black.
Colour colourBar(const SceneWish& wish, bool, std::uint32_t x, std::uint32_t) {
    constexpr std::uint32_t kBars = 8;
    const std::uint32_t bar = x * kBars / wish.width;
    const auto part = [&](unsigned bit) { return (bar & bit) != 0 ? std::uint16_t{0} : kFull; };
    return {part(2), part(4), part(1)};
}

enum class Motion { None, Lines, Pixels };

struct PatternFact {
    Paint paint;
    Motion motion;
    std::uint32_t period; // lines; 0: as many as the picture has
};

constexpr std::array<PatternFact, 7> kPatterns{{
    {diagonalRamp, Motion::Lines, kRamp},
    {horizontalRamp, Motion::None, 0},
    {verticalRamp, Motion::None, 0},
    {horizontalRamp, Motion::Pixels, 0}, // lines are alike: the next pixel after a line is its first
    {horizontalLine, Motion::Lines, 0},
    {verticalLine, Motion::Pixels, 0},
    {colourBar, Motion::None, 0},
}};

Bytes paintLines(const SceneWish& wish, const PixelLayout& layout, Paint paint, std::uint32_t lines) {
    Bytes bytes;
    bytes.reserve(layout.bytes(std::size_t{wish.width} * layout.samples) * lines);
    std::vector<Colour> line(wish.width);
    Samples scratch;
    for (std::uint32_t y = 0; y < lines; ++y) {
        for (std::uint32_t x = 0; x < wish.width; ++x) {
            line[x] = paint(wish, layout.colour, x, y);
        }
        packLine(layout, line, y, scratch, bytes);
    }
    return bytes;
}

Bytes encode(const PixelLayout& layout, std::size_t count) {
    Bytes bytes;
    bytes.reserve(layout.bytes(count));
    Samples samples;
    for (std::size_t at = 0; at < count; ++at) {
        samples.push_back(encodedSample(0, at, layout.bits));
        if (samples.size() == kChunk || at + 1 == count) {
            pack(layout, samples, bytes);
            samples.clear();
        }
    }
    return bytes;
}

} // namespace

Scene::Scene(const SceneWish& wish) {
    const PixelLayout* layout = layoutOf(wish.format);
    if (layout == nullptr) {
        m_bytes = std::make_shared<const Bytes>();
        return;
    }
    const std::size_t samples = std::size_t{wish.width} * layout->samples; // of a line
    m_size = layout->bytes(samples) * wish.height;
    if (wish.pattern == TestPattern::Encoded) {
        m_step = layout->bytes(kEncodedStep);
        m_phases = kEncodedBlocks;
        const std::size_t more = kEncodedStep * (kEncodedBlocks - 1);
        m_bytes = std::make_shared<const Bytes>(encode(*layout, samples * wish.height + more));
    } else {
        paint(wish, *layout);
    }
}

void Scene::paint(const SceneWish& wish, const PixelLayout& layout) {
    const PatternFact& fact = kPatterns[static_cast<std::size_t>(wish.pattern)];
    std::uint32_t lines = wish.height;
    if (fact.motion == Motion::Lines) {
        m_phases = (fact.period == 0 ? wish.height : fact.period) / kLineStep;
        m_step = m_size / wish.height * kLineStep;
        lines += static_cast<std::uint32_t>(m_phases - 1) * kLineStep;
    } else if (fact.motion == Motion::Pixels) {
        m_phases = wish.width / kPixelStep;
        m_step = layout.bytes(std::size_t{kPixelStep} * layout.samples);
        ++lines;
    }
    m_bytes = std::make_shared<const Bytes>(paintLines(wish, layout, fact.paint, lines));
}

Picture Scene::picture(std::uint64_t block) const {
    const auto phase = static_cast<std::size_t>(block % m_phases);
    return {m_bytes, ByteView(*m_bytes).subspan(phase * m_step, m_size)};
}

} // namespace simcam
