// Pictures as files: PNG, TIFF, PNM, or the bytes as they came. A file appears whole under its name or not at
// all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pictures {

enum class FileFormat { Png, Tiff, Pnm, Raw };

// Lines without padding; samples of 16 bits in the machine's byte order, three of them for colours (red,
// green, blue).
struct Picture {
    std::span<const std::uint8_t> bytes;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool colour = false;
    bool deep = false; // samples of 16 bits

    unsigned samples() const { return colour ? 3 : 1; } // of a pixel
    std::size_t lineSize() const { return std::size_t{width} * samples() * (deep ? 2 : 1); }
};

// "png", "tiff", "pnm", "raw" and what else files of these are called ("tif", "pgm", "ppm"), in any case of
// letters.
std::optional<FileFormat> formatNamed(std::string_view name);
// By the end of a file's name.
std::optional<FileFormat> formatOfFile(std::string_view file);

// Writes the picture; of a raw file just the bytes are looked at. Throws std::runtime_error with one line
// that names the file and what is wrong with it.
void save(const std::string& file, FileFormat format, const Picture& picture);

} // namespace pictures
