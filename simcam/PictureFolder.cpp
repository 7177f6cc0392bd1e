#include "simcam/PictureFolder.h"

#include "simcam/PixelLayout.h"
#include "simcam/limits.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <optional>

namespace simcam {

namespace {

// What stands before the pixels of a file.
struct Header {
    bool colour = false;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t brightest = 0;

    std::size_t sampleBytes() const { return brightest > 255 ? 2 : 1; }
    std::size_t samples() const { return std::size_t{width} * height * (colour ? 3 : 1); }
};

// The next number, behind blanks and comments; 0 when there is none up to `most`.
std::uint32_t readNumber(std::istream& file, std::uint32_t most) {
    file >> std::ws;
    while (file.peek() == '#') {
        std::string comment;
        std::getline(file, comment);
        file >> std::ws;
    }
    std::uint32_t number = 0;
    while (std::isdigit(file.peek()) != 0 && number <= most) {
        number = number * 10 + static_cast<std::uint32_t>(file.get() - '0');
    }
    return number <= most ? number : 0;
}

std::optional<Header> readHeader(std::istream& file) {
    Header header;
    const int magic = file.get();
    const int kind = file.get();
    header.colour = kind == '6';
    header.width = readNumber(file, kMaxPictureSide);
    header.height = readNumber(file, kMaxPictureSide);
    header.brightest = readNumber(file, 65535);
    const bool blank = std::isspace(file.get()) != 0;
    const bool sound = magic == 'P' && (kind == '5' || kind == '6') && header.width > 0 &&
                       header.height > 0 && header.brightest > 0 && blank;
    return sound ? std::optional(header) : std::nullopt;
}

// A picture in memory, whose pixels are asked for by places in another one's size.
class Source {
public:
    explicit Source(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        const auto header = readHeader(file);
        if (!header) {
            return;
        }
        m_bytes.resize(header->samples() * header->sampleBytes());
        file.read(reinterpret_cast<char*>(m_bytes.data()), static_cast<std::streamsize>(m_bytes.size()));
        if (static_cast<std::size_t>(file.gcount()) == m_bytes.size()) {
            m_header = *header;
        }
    }

    // Pixel `x`, `y` of a picture of that size, which this one covers.
    Colour at(const SceneWish& size, std::uint32_t x, std::uint32_t y) const {
        if (m_header.width == 0) {
            return {};
        }
        const double scale = std::min(
            static_cast<double>(m_header.width) / size.width,
            static_cast<double>(m_header.height) / size.height);
        const auto place = [&](std::uint32_t own, std::uint32_t wanted, std::uint32_t at) {
            const double middle = (own - wanted * scale) / 2 + (at + 0.5) * scale;
            return std::min(static_cast<std::uint32_t>(std::max(middle, 0.0)), own - 1);
        };
        const std::size_t pixel = std::size_t{place(m_header.height, size.height, y)} * m_header.width +
                                  place(m_header.width, size.width, x);
        const std::size_t first = m_header.colour ? pixel * 3 : pixel;
        const std::size_t step = m_header.colour ? 1 : 0;
        return {sample(first), sample(first + step), sample(first + 2 * step)};
    }

private:
    std::uint16_t sample(std::size_t index) const {
        const bool wide = m_header.sampleBytes() == 2;
        const std::uint32_t value =
            wide ? static_cast<std::uint32_t>(m_bytes[2 * index] << 8 | m_bytes[2 * index + 1])
                 : m_bytes[index];
        return static_cast<std::uint16_t>(std::min(value, m_header.brightest) * 65535U / m_header.brightest);
    }

    Header m_header; // of width 0 when there is no picture
    Bytes m_bytes;
};

bool isPicture(const std::filesystem::path& path) {
    const std::string kind = path.extension();
    return kind == ".pgm" || kind == ".ppm" || kind == ".pnm";
}

} // namespace

std::shared_ptr<const PictureFolder> PictureFolder::open(const std::string& path, std::string& error) {
    auto folder = std::make_shared<PictureFolder>();
    std::error_code failure;
    for (const auto& entry : std::filesystem::directory_iterator(path, failure)) {
        if (isPicture(entry.path()) && folder->m_files.size() < kMostPictures) {
            folder->m_files.push_back(entry.path());
        }
    }
    std::ranges::sort(folder->m_files);
    if (folder->m_files.empty()) {
        error = failure ? "cannot be read: " + failure.message() : "holds no .pgm or .ppm file";
        return nullptr;
    }
    for (const std::string& name : folder->m_files) {
        std::ifstream file(name, std::ios::binary);
        if (!readHeader(file)) {
            error = "holds '" + std::filesystem::path(name).filename().string() +
                    "', which is not a binary PGM or PPM picture";
            return nullptr;
        }
    }
    return folder;
}

Bytes PictureFolder::render(std::size_t number, const SceneWish& wish) const {
    const PixelLayout* layout = layoutOf(wish.format);
    Bytes bytes;
    if (layout == nullptr) {
        return bytes;
    }
    const Source source(m_files[number]);
    std::vector<Colour> line(wish.width);
    Samples scratch;
    for (std::uint32_t y = 0; y < wish.height; ++y) {
        for (std::uint32_t x = 0; x < wish.width; ++x) {
            line[x] = source.at(wish, x, y);
        }
        packLine(*layout, line, y, scratch, bytes);
    }
    return bytes;
}

} // namespace simcam
