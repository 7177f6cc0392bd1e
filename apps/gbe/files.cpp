#include "files.h"

#include "Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace gbe {
namespace {

constexpr std::size_t kMostBytes = std::size_t{16} << 20; // as much as a text of settings may have

int closeOthers(std::FILE* file) {
    return file == stdin ? 0 : std::fclose(file);
}

} // namespace

std::string readFile(const std::string& file) {
    const std::unique_ptr<std::FILE, decltype(&closeOthers)> source(
        file == "-" ? stdin : std::fopen(file.c_str(), "rb"), &closeOthers);
    std::string text;
    char part[16384];
    std::size_t size = 0;
    while (source && (size = std::fread(part, 1, sizeof part, source.get())) > 0) {
        text.append(part, size);
        if (text.size() > kMostBytes) {
            throw Failure(file + ": is too large");
        }
    }
    if (!source || std::ferror(source.get()) != 0) {
        throw Failure(file + ": " + std::strerror(errno));
    }
    return text;
}

} // namespace gbe
