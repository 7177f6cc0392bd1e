// A folder with pictures that a camera shows in turns: PGM and PPM files, binary ones with 8 or 16 bits
// (netpbm, types P5 and P6), and other kinds that somebody knows how to read, in the order of their names.
// Immutable; any thread.
#pragma once

#include "simcam/Scene.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simcam {

// Samples of 16 bits, line by line: one a pixel, or red, green, blue.
struct FilePicture {
    bool colour = false;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint16_t> samples;
};

// Nothing when the file holds no picture of that kind, or one with sides above kMaxPictureSide. Any thread.
using PictureReader = std::optional<FilePicture> (*)(const std::string& path);

// Files whose names end so (".png") are pictures from now on. Before any camera is made.
void addPictureKind(const std::string& ending, PictureReader reader);

class PictureFolder {
public:
    // Looks at every file. Null, and why in `error`, when there is no picture or one is not sound.
    static std::shared_ptr<const PictureFolder> open(const std::string& path, std::string& error);

    std::size_t size() const { return m_files.size(); }
    // The picture with that number, scaled until it fills width and height, and cut. Black where the file
    // cannot be read any more.
    Bytes render(std::size_t number, const SceneWish& wish) const;

private:
    std::vector<std::string> m_files;
};

} // namespace simcam
