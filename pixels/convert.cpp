#include "formats.h"
#include "pixels.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

namespace pixels {
namespace {

bool isDeep(Form form) {
    return form == Form::Mono16 || form == Form::Rgb16;
}

bool isColour(Form form) {
    return form == Form::Rgb8 || form == Form::Rgb16;
}

std::optional<std::size_t> checkedSize(const View& image, Form form) {
    constexpr std::size_t kLargest = 6; // bytes of a pixel; what is worked with in between fits as well then
    const std::uint64_t pixels = std::uint64_t{image.width} * image.height;
    if (pixels > std::numeric_limits<std::size_t>::max() / kLargest) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(pixels) * (isColour(form) ? 3 : 1) * (isDeep(form) ? 2 : 1);
}

// Lines of an image that may end early: bytes that are not there read as 0.
class Lines {
public:
    Lines(const View& image, const Format& format)
        : m_bytes(image.bytes), m_line(lineBytes(format, image.width)), m_pitch(m_line + image.paddingX) {}

    // Of all planes one below the other; valid until the next call.
    const std::uint8_t* at(std::uint64_t number) {
        const std::uint64_t offset = number * m_pitch;
        const std::uint64_t there = offset < m_bytes.size() ? m_bytes.size() - offset : 0;
        if (there >= m_line) {
            return m_bytes.data() + offset;
        }
        m_cut.assign(static_cast<std::size_t>(m_line), 0);
        if (there > 0) {
            std::memcpy(m_cut.data(), m_bytes.data() + offset, static_cast<std::size_t>(there));
        }
        return m_cut.data();
    }

private:
    const std::span<const std::uint8_t> m_bytes;
    const std::uint64_t m_line;
    const std::uint64_t m_pitch;
    std::vector<std::uint8_t> m_cut;
};

template<typename Sample> ReadLine<Sample> readerOf(const Format& format) {
    if constexpr (sizeof(Sample) == 1) {
        return format.read8;
    } else {
        return format.read16;
    }
}

// Grey as ITU-R BT.601 weighs the colours, in 65536ths.
template<typename Sample>
void mixGrey(const Planes<Sample>& planes, std::size_t width, Sample* __restrict out) {
    const Sample* __restrict red = planes[0];
    const Sample* __restrict green = planes[1];
    const Sample* __restrict blue = planes[2];
    for (std::size_t x = 0; x < width; ++x) {
        out[x] = static_cast<Sample>((19595U * red[x] + 38470U * green[x] + 7471U * blue[x] + 0x8000U) >> 16);
    }
}

template<typename Sample>
void interleave(
    const Sample* __restrict red, const Sample* __restrict green, const Sample* __restrict blue,
    std::size_t width, Sample* __restrict out) {
    for (std::size_t x = 0; x < width; ++x) {
        out[3 * x] = red[x];
        out[3 * x + 1] = green[x];
        out[3 * x + 2] = blue[x];
    }
}

// Line by line: bytes become planes of samples, planes become a line of the picture.
template<typename Sample> class Conversion {
public:
    Conversion(const View& image, const Format& format, bool toColour)
        : m_image(image), m_format(format), m_toColour(toColour), m_lines(image, format),
          m_store(3 * std::size_t{image.width}), m_line(m_store.size()),
          m_demosaic(format.phase, image.width, image.height, [this](std::size_t y, Sample* samples) {
              readerOf<Sample>(m_format)(m_lines.at(y), m_image.width, {samples, nullptr, nullptr});
          }) {
        for (std::size_t plane = 0; plane < m_planes.size(); ++plane) {
            m_planes[plane] = m_store.data() + plane * image.width;
        }
    }

    void run(std::uint8_t* out) {
        const std::size_t width = m_image.width;
        const std::size_t size = width * (m_toColour ? 3 : 1) * sizeof(Sample);
        for (std::size_t y = 0; y < m_image.height; ++y, out += size) {
            std::memcpy(out, line(y), size);
        }
    }

private:
    const void* line(std::size_t y) {
        if (isRgb8(m_format) && m_toColour && sizeof(Sample) == 1) {
            return m_lines.at(y);
        }
        read(y);
        const auto& [red, green, blue] = m_planes;
        if (m_format.kind == Kind::Grey) {
            if (!m_toColour) {
                return red;
            }
            interleave<Sample>(red, red, red, m_image.width, m_line.data());
        } else if (m_toColour) {
            interleave<Sample>(red, green, blue, m_image.width, m_line.data());
        } else {
            mixGrey<Sample>(m_planes, m_image.width, m_line.data());
        }
        return m_line.data();
    }

    void read(std::size_t y) {
        const ReadLine<Sample> reader = readerOf<Sample>(m_format);
        switch (m_format.kind) {
        case Kind::Grey:
        case Kind::Colour:
            return reader(m_lines.at(y), m_image.width, m_planes);
        case Kind::Bayer:
            return m_demosaic.line(y, m_planes);
        case Kind::Planar:
            for (std::size_t plane = 0; plane < m_planes.size(); ++plane) {
                reader(
                    m_lines.at(plane * std::uint64_t{m_image.height} + y), m_image.width,
                    {m_planes[plane], nullptr, nullptr});
            }
            return;
        }
    }

    const View& m_image;
    const Format& m_format;
    const bool m_toColour;
    Lines m_lines;
    std::vector<Sample> m_store; // of the planes
    Planes<Sample> m_planes{};
    std::vector<Sample> m_line;
    Demosaic<Sample> m_demosaic;
};

} // namespace

std::string_view formatName(std::uint32_t format) {
    const Format* known = findFormat(format);
    return known != nullptr ? known->name : std::string_view();
}

bool canConvert(std::uint32_t format) {
    return findFormat(format) != nullptr;
}

Form naturalForm(std::uint32_t format) {
    const Format* known = findFormat(format);
    if (known == nullptr || known->kind == Kind::Grey) {
        return known != nullptr && known->deep ? Form::Mono16 : Form::Mono8;
    }
    return known->deep ? Form::Rgb16 : Form::Rgb8;
}

std::size_t sizeOf(const View& image, Form form) {
    return checkedSize(image, form).value_or(0);
}

bool convert(const View& image, Form form, std::span<std::uint8_t> out) {
    const Format* format = findFormat(image.format);
    if (format == nullptr || checkedSize(image, form) != out.size()) {
        return false;
    }
    if (out.empty()) {
        return true;
    }
    if (isDeep(form)) {
        Conversion<std::uint16_t>(image, *format, isColour(form)).run(out.data());
    } else {
        Conversion<std::uint8_t>(image, *format, isColour(form)).run(out.data());
    }
    return true;
}

} // namespace pixels
