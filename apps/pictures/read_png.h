// PNG files, read as pictures that a camera in software shows.
#pragma once

#include "simcam/PictureFolder.h"

namespace pictures {

// Whatever is in it, as 8-bit samples in 16; transparent parts are black. See simcam::PictureReader.
std::optional<simcam::FilePicture> readPng(const std::string& path);

} // namespace pictures
