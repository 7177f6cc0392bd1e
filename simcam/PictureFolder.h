// A folder with pictures that a camera shows in turns: PGM and PPM files, binary ones with 8 or 16 bits
// (netpbm, types P5 and P6), in the order of their names. Immutable; any thread.
#pragma once

#include "simcam/Scene.h"

#include <memory>
#include <string>

namespace simcam {

class PictureFolder {
public:
    // Looks at every file's header. Null, and why in `error`, when there is no picture or one is not sound.
    static std::shared_ptr<const PictureFolder> open(const std::string& path, std::string& error);

    std::size_t size() const { return m_files.size(); }
    // The picture with that number, scaled until it fills width and height, and cut. Black where the file
    // cannot be read any more.
    Bytes render(std::size_t number, const SceneWish& wish) const;

private:
    std::vector<std::string> m_files;
};

} // namespace simcam
