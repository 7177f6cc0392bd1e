#include "picture_file.h"

#include "NewFile.h"
#include "formats.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <vector>

namespace pictures {
namespace {

struct Name {
    std::string_view text;
    FileFormat format;
};
constexpr std::array kNames{
    Name{"png", FileFormat::Png}, Name{"tiff", FileFormat::Tiff}, Name{"tif", FileFormat::Tiff},
    Name{"pnm", FileFormat::Pnm}, Name{"pgm", FileFormat::Pnm},   Name{"ppm", FileFormat::Pnm},
    Name{"raw", FileFormat::Raw},
};

// Grey (P5) or colours (P6), 16 bits with the first byte most significant.
void writePnm(NewFile& file, const Picture& picture) {
    const std::string header = std::string(picture.colour ? "P6" : "P5") + "\n" +
                               std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n" +
                               (picture.deep ? "65535" : "255") + "\n";
    file.write(header.data(), header.size());
    if (!picture.deep || std::endian::native == std::endian::big) {
        file.write(picture.bytes.data(), picture.bytes.size());
        return;
    }
    std::vector<std::uint8_t> turned(picture.bytes.begin(), picture.bytes.end());
    for (std::size_t i = 0; i + 1 < turned.size(); i += 2) {
        std::swap(turned[i], turned[i + 1]);
    }
    file.write(turned.data(), turned.size());
}

} // namespace

std::optional<FileFormat> formatNamed(std::string_view name) {
    const auto found = std::find_if(kNames.begin(), kNames.end(), [&](const Name& each) {
        return std::equal(name.begin(), name.end(), each.text.begin(), each.text.end(), [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) == b;
        });
    });
    return found != kNames.end() ? std::optional(found->format) : std::nullopt;
}

std::optional<FileFormat> formatOfFile(std::string_view file) {
    const std::size_t dot = file.find_last_of("./");
    return dot != file.npos && file[dot] == '.' ? formatNamed(file.substr(dot + 1)) : std::nullopt;
}

void save(const std::string& name, FileFormat format, const Picture& picture) {
    NewFile file(name);
    if (format != FileFormat::Raw && (picture.width == 0 || picture.height == 0)) {
        file.fail("a picture without pixels");
    }
    switch (format) {
    case FileFormat::Png:
        writePng(file, picture);
        break;
    case FileFormat::Tiff:
        writeTiff(file, picture);
        break;
    case FileFormat::Pnm:
        writePnm(file, picture);
        break;
    case FileFormat::Raw:
        file.write(picture.bytes.data(), picture.bytes.size());
        break;
    }
    file.keep();
}

} // namespace pictures
