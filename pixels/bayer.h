// Colour out of what a sensor with a Bayer pattern sees: each pixel has one colour, the other two are the
// means of its neighbours that have them (bilinear interpolation).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace pixels {

// Where the red pixels are: in the columns and lines whose number is odd (1) or even (0).
struct Phase {
    unsigned redX = 0;
    unsigned redY = 0;
};

// Goes down an image line by line. Neighbours outside of the image are those of the other side, as in a
// mirror that stands on the outermost line or column: the pattern goes on.
template<typename Sample> class Demosaic {
public:
    using Source = std::function<void(std::size_t line, Sample* samples)>;

    // `read` gives a line of the image, of `width` samples; each is asked for once when lines ascend.
    Demosaic(Phase phase, std::size_t width, std::size_t height, Source read);

    // The colours of a line: red, green and blue, `width` samples each.
    void line(std::size_t y, const std::array<Sample*, 3>& planes);

private:
    using Line = std::vector<Sample>; // with one more sample at both ends
    const Sample* fetch(std::size_t y);

    const Phase m_phase;
    const std::size_t m_width;
    const std::size_t m_height;
    const Source m_read;
    std::array<Line, 3> m_lines; // line y is in y modulo 3
    std::array<std::size_t, 3> m_numbers;
    Line m_even; // all bits set for even columns, for odd ones beginning with the second
};

} // namespace pixels
