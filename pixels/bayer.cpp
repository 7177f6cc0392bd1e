#include "bayer.h"

#include <limits>
#include <utility>

namespace pixels {
namespace {

template<typename Sample> struct Interpolated {
    Sample* main; // the colour that this line has besides green
    Sample* green;
    Sample* other; // the colour of the lines above and below
};

// `atMain` has all bits set where the line has its main colour, none where it has green. There is no branch
// in the loop, so that it runs on vectors.
template<typename Sample>
void interpolate(
    const Sample* __restrict above, const Sample* __restrict own, const Sample* __restrict below,
    const Sample* __restrict atMain, std::size_t width, Interpolated<Sample> to) {
    Sample* __restrict main = to.main;
    Sample* __restrict green = to.green;
    Sample* __restrict other = to.other;
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned sides = static_cast<unsigned>(own[x]) + own[x + 2];
        const unsigned heights = static_cast<unsigned>(above[x + 1]) + below[x + 1];
        const unsigned corners = static_cast<unsigned>(above[x]) + above[x + 2] + below[x] + below[x + 2];
        const auto here = own[x + 1];
        const auto across = static_cast<Sample>((sides + 1) / 2);
        const auto down = static_cast<Sample>((heights + 1) / 2);
        const auto cross = static_cast<Sample>((sides + heights + 2) / 4);
        const auto diagonal = static_cast<Sample>((corners + 2) / 4);
        const Sample mask = atMain[x];
        main[x] = static_cast<Sample>((here & mask) | (across & ~mask));
        green[x] = static_cast<Sample>((cross & mask) | (here & ~mask));
        other[x] = static_cast<Sample>((diagonal & mask) | (down & ~mask));
    }
}

} // namespace

template<typename Sample>
Demosaic<Sample>::Demosaic(Phase phase, std::size_t width, std::size_t height, Source read)
    : m_phase(phase), m_width(width), m_height(height), m_read(std::move(read)), m_even(width + 1) {
    for (Line& line : m_lines) {
        line.resize(width + 2);
    }
    m_numbers.fill(height); // no line's
    for (std::size_t x = 0; x < m_even.size(); x += 2) {
        m_even[x] = std::numeric_limits<Sample>::max();
    }
}

// The line, beginning with the neighbour of its first sample.
template<typename Sample> const Sample* Demosaic<Sample>::fetch(std::size_t y) {
    Line& line = m_lines[y % m_lines.size()];
    if (m_numbers[y % m_lines.size()] != y) {
        m_read(y, line.data() + 1);
        line.front() = line[m_width > 1 ? 2 : 1];
        line.back() = line[m_width > 1 ? m_width - 1 : 1];
        m_numbers[y % m_lines.size()] = y;
    }
    return line.data();
}

template<typename Sample> void Demosaic<Sample>::line(std::size_t y, const std::array<Sample*, 3>& planes) {
    const std::size_t before = y > 0 ? y - 1 : m_height > 1 ? 1 : 0;
    const std::size_t after = y + 1 < m_height ? y + 1 : m_height > 1 ? m_height - 2 : 0;
    const Sample* above = fetch(before);
    const Sample* own = fetch(y);
    const Sample* below = fetch(after);
    const auto& [red, green, blue] = planes;
    const bool hasRed = y % 2 == m_phase.redY;
    const unsigned mainX = hasRed ? m_phase.redX : 1 - m_phase.redX;
    interpolate<Sample>(
        above, own, below, m_even.data() + mainX, m_width,
        hasRed ? Interpolated<Sample>{red, green, blue} : Interpolated<Sample>{blue, green, red});
}

template class Demosaic<std::uint8_t>;
template class Demosaic<std::uint16_t>;

} // namespace pixels
