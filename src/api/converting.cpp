// From the bytes of an image to pixels that programs and people look at.
#include "api/refusals.h"
#include "liomol/images.h"
#include "pixels/pixels.h"
#include "util/status.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr bool sameNumber(pixels::Form form, GbePixels shown) {
    return static_cast<int>(form) == static_cast<int>(shown);
}
static_assert(
    sameNumber(pixels::Form::Mono8, GBE_PIXELS_MONO8) &&
    sameNumber(pixels::Form::Mono16, GBE_PIXELS_MONO16) && sameNumber(pixels::Form::Rgb8, GBE_PIXELS_RGB8) &&
    sameNumber(pixels::Form::Rgb16, GBE_PIXELS_RGB16));

bool isPixels(int number) {
    return number >= GBE_PIXELS_MONO8 && number <= GBE_PIXELS_RGB16;
}

// The bytes of the image; with holes, `filled` takes a copy that has zeros there.
Bytes bytesOf(const GbeImage& image, std::vector<std::uint8_t>& filled) {
    const Bytes bytes(static_cast<const std::uint8_t*>(image.data), image.size);
    if (image.missingCount == 0) {
        return bytes;
    }
    filled.assign(bytes.begin(), bytes.end());
    for (std::size_t i = 0; i < image.missingCount; ++i) {
        const auto begin =
            static_cast<std::size_t>(std::min<std::uint64_t>(image.missing[i].offset, filled.size()));
        const auto length =
            static_cast<std::size_t>(std::min<std::uint64_t>(image.missing[i].length, filled.size() - begin));
        std::fill_n(filled.begin() + static_cast<std::ptrdiff_t>(begin), length, std::uint8_t{0});
    }
    return filled;
}

} // namespace

int Gbe_convertImage(const GbeImage* image, int pixels, void* buffer, size_t* size) {
    if (image == nullptr || size == nullptr || !isPixels(pixels)) {
        const bool hasNull = image == nullptr || size == nullptr;
        return hasNull ? api::firstNull({{image, "image"}, {size, "size"}})
                       : api::refused(status::IllegalParameter, [&] {
                             return std::to_string(pixels) + " is no GbePixels";
                         });
    }
    const auto form = static_cast<pixels::Form>(pixels);
    pixels::View view{{}, image->pixelFormat, image->width, image->height, image->paddingX};
    const std::size_t needed = pixels::sizeOf(view, form);
    if (image->status == GBE_IMAGE_NOT_UNDERSTOOD || !pixels::canConvert(image->pixelFormat) || needed == 0) {
        return api::refused(status::NotImplemented, [&] {
            return image->status == GBE_IMAGE_NOT_UNDERSTOOD
                       ? std::string("the payload is no image")
                       : "nothing is known of the pixel format " + std::to_string(image->pixelFormat);
        });
    }
    const std::size_t room = std::exchange(*size, needed);
    if (buffer == nullptr || room < needed) {
        return buffer == nullptr ? status::Success : api::tooSmall(needed, room);
    }
    std::vector<std::uint8_t> filled;
    view.bytes = bytesOf(*image, filled);
    return pixels::convert(view, form, {static_cast<std::uint8_t*>(buffer), needed})
               ? status::Success
               : api::refused(status::NotImplemented, "the image cannot be converted");
}
