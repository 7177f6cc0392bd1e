#include "read_png.h"

#include "simcam/limits.h"

#include <png.h>

#include <cstring>

namespace pictures {

std::optional<simcam::FilePicture> readPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return std::nullopt;
    }
    const bool colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
    image.format = colour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
    std::optional<simcam::FilePicture> picture;
    if (image.width <= simcam::kMaxPictureSide && image.height <= simcam::kMaxPictureSide) {
        std::vector<png_byte> bytes(PNG_IMAGE_SIZE(image));
        const png_color black{};
        if (png_image_finish_read(&image, &black, bytes.data(), 0, nullptr) != 0) {
            picture = simcam::FilePicture{colour, image.width, image.height, {}};
            for (const png_byte byte : bytes) {
                picture->samples.push_back(static_cast<std::uint16_t>(byte * 257));
            }
        }
    }
    png_image_free(&image);
    return picture;
}

} // namespace pictures
