#include "NewFile.h"
#include "formats.h"
#include "picture_file.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <string>

namespace pictures {
namespace {

// Pictures of cameras are noisy: more would cost several times the time and save little.
constexpr int kCompression = 1;

// What libpng complains of. It does not expect its caller's function to return, nor C++ to pass through it.
struct Complaint {
    std::string text;
    std::jmp_buf back;
};

[[noreturn]] void raise(png_structp png, png_const_charp text) {
    auto* complaint = static_cast<Complaint*>(png_get_error_ptr(png));
    complaint->text = text;
    std::longjmp(complaint->back, 1);
}

void ignore(png_structp, png_const_charp) {}

void writeAll(png_structp png, png_infop info, const Picture& picture) {
    png_set_IHDR(
        png, info, picture.width, picture.height, picture.deep ? 16 : 8,
        picture.colour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
        PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, kCompression);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_write_info(png, info);
    if (picture.deep && std::endian::native == std::endian::little) {
        png_set_swap(png);
    }
    for (std::size_t y = 0; y < picture.height; ++y) {
        png_write_row(png, picture.bytes.data() + y * picture.lineSize());
    }
    png_write_end(png, info);
}

// Nothing in it has a destructor that the way back would leave out.
bool tryToWrite(png_structp png, png_infop info, Complaint& complaint, const Picture& picture) {
    if (setjmp(complaint.back) != 0) {
        return false;
    }
    writeAll(png, info, picture);
    return true;
}

} // namespace

void writePng(NewFile& file, const Picture& picture) {
    Complaint complaint{"no memory", {}};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &complaint, nullptr, &ignore);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    bool written = false;
    if (info != nullptr) {
        png_set_error_fn(png, &complaint, &raise, &ignore);
        png_init_io(png, file.stream());
        written = tryToWrite(png, info, complaint, picture);
    }
    png_destroy_write_struct(&png, &info);
    if (!written) {
        file.fail(complaint.text);
    }
}

} // namespace pictures
