#include "NewFile.h"
#include "formats.h"
#include "picture_file.h"

#include <tiffio.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>

namespace pictures {
namespace {

constexpr std::uint32_t kStripBytes = 64 * 1024;

// Its complaints go where the caller's go: it says them to this thread.
thread_local std::string t_complaint;

void remember(const char*, const char* format, va_list arguments) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    t_complaint = text;
}

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

bool writeHeader(TIFF* tiff, const Picture& picture) {
    const auto lines = static_cast<std::uint32_t>(kStripBytes / picture.lineSize());
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width) == 1 &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height) == 1 &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, picture.samples()) == 1 &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, picture.deep ? 16 : 8) == 1 &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) == 1 &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
           TIFFSetField(
               tiff, TIFFTAG_PHOTOMETRIC, picture.colour ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) == 1 &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines > 0 ? lines : 1) == 1;
}

bool writeLines(TIFF* tiff, const Picture& picture) {
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        // It takes a pointer to what it may change, and does so only where it has to turn bytes.
        auto* line = const_cast<std::uint8_t*>(picture.bytes.data() + y * picture.lineSize());
        if (TIFFWriteScanline(tiff, line, y, 0) != 1) {
            return false;
        }
    }
    return TIFFFlush(tiff) == 1;
}

} // namespace

void writeTiff(NewFile& file, const Picture& picture) {
    t_complaint.clear();
    TIFFSetErrorHandler(&remember);
    TIFFSetWarningHandler(nullptr);
    // TIFFClose() closes what it was given.
    const int fd = dup(fileno(file.stream()));
    Tiff tiff(fd >= 0 ? TIFFFdOpen(fd, "image", "w") : nullptr, &TIFFClose);
    if (!tiff || !writeHeader(tiff.get(), picture) || !writeLines(tiff.get(), picture)) {
        file.fail(t_complaint.empty() ? "cannot be written" : t_complaint);
    }
}

} // namespace pictures
