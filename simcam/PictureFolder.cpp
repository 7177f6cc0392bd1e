#include "simcam/PictureFolder.h"

#include "simcam/PixelLayout.h"
#include "simcam/limits.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>

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

std::optional<FilePicture> readNetpbm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const auto header = readHeader(file);
    if (!header) {
        return std::nullopt;
    }
    Bytes bytes(header->samples() * header->sampleBytes());
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (static_cast<std::size_t>(file.gcount()) != bytes.size()) {
        return std::nullopt;
    }
    FilePicture picture{header->colour, header->width, header->height, {}};
    picture.samples.reserve(header->samples());
    const std::size_t size = header->sampleBytes();
    for (std::size_t at = 0; at < bytes.size(); at += size) {
        const std::uint32_t value = size == 2 ? bytes[at] * 256U + bytes[at + 1] : bytes[at];
        picture.samples.push_back(
            static_cast<std::uint16_t>(std::min(value, header->brightest) * 65535U / header->brightest));
    }
    return picture;
}

bool isNetpbm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return readHeader(file).has_value();
}

// Of a picture of `size`, pixel `x`, `y`, when this one covers that.
Colour colourAt(const FilePicture& picture, const SceneWish& size, std::uint32_t x, std::uint32_t y) {
    const double scale = std::min(
        static_cast<double>(picture.width) / size.width, static_cast<double>(picture.height) / size.height);
    const auto place = [&](std::uint32_t own, std::uint32_t wanted, std::uint32_t at) {
        const double middle = (own - wanted * scale) / 2 + (at + 0.5) * scale;
        return std::min(static_cast<std::uint32_t>(std::max(middle, 0.0)), own - 1);
    };
    const std::size_t pixel = std::size_t{place(picture.height, size.height, y)} * picture.width +
                              place(picture.width, size.width, x);
    const std::uint16_t* const sample = &picture.samples[picture.colour ? pixel * 3 : pixel];
    return picture.colour ? Colour{sample[0], sample[1], sample[2]} : Colour{sample[0], sample[0], sample[0]};
}

// Filled before there are cameras.
std::map<std::string, PictureReader>& kinds() {
    static auto& all = *new std::map<std::string, PictureReader>{
        {".pgm", &readNetpbm}, {".ppm", &readNetpbm}, {".pnm", &readNetpbm}};
    return all;
}

PictureReader readerOf(const std::filesystem::path& path) {
    const auto found = kinds().find(path.extension().string());
    return found != kinds().end() ? found->second : nullptr;
}

std::string endings() {
    std::string all;
    for (const auto& [ending, reader] : kinds()) {
        all += (all.empty() ? "" : ", ") + ending;
    }
    return all;
}

// Of the kinds that are read from the start the header shows it.
bool isSound(const std::string& path) {
    const PictureReader reader = readerOf(path);
    return reader == &readNetpbm ? isNetpbm(path) : reader(path).has_value();
}

} // namespace

void addPictureKind(const std::string& ending, PictureReader reader) {
    kinds()[ending] = reader;
}

std::shared_ptr<const PictureFolder> PictureFolder::open(const std::string& path, std::string& error) {
    auto folder = std::make_shared<PictureFolder>();
    std::error_code failure;
    for (const auto& entry : std::filesystem::directory_iterator(path, failure)) {
        if (readerOf(entry.path()) != nullptr && folder->m_files.size() < kMostPictures) {
            folder->m_files.push_back(entry.path());
        }
    }
    std::ranges::sort(folder->m_files);
    if (folder->m_files.empty()) {
        error = failure ? "cannot be read: " + failure.message() : "holds no picture (" + endings() + ")";
        return nullptr;
    }
    for (const std::string& name : folder->m_files) {
        if (!isSound(name)) {
            error = "holds '" + std::filesystem::path(name).filename().string() + "', which is not a " +
                    (readerOf(name) == &readNetpbm ? "binary PGM or PPM picture" : "picture of its kind");
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
    const std::optional<FilePicture> picture = readerOf(m_files[number])(m_files[number]);
    std::vector<Colour> line(wish.width);
    Samples scratch;
    for (std::uint32_t y = 0; y < wish.height; ++y) {
        for (std::uint32_t x = 0; x < wish.width; ++x) {
            line[x] = picture ? colourAt(*picture, wish, x, y) : Colour{};
        }
        packLine(*layout, line, y, scratch, bytes);
    }
    return bytes;
}

} // namespace simcam
