#include "support/golden.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace golden {
namespace {

std::uint8_t byteOf(const std::string& digits, const std::string& file) {
    std::size_t used = 0;
    unsigned long value = 256;
    try {
        value = std::stoul(digits, &used, 16);
    } catch (const std::exception&) {
    }
    if (digits.size() != 2 || used != 2 || value > 255) {
        throw std::runtime_error(file + ": '" + digits + "' is not a byte of two hexadecimal digits");
    }
    return static_cast<std::uint8_t>(value);
}

} // namespace

Frame load(const std::string& name) {
    const std::string path = std::string(LIOMOL_GOLDEN_DIR) + "/" + name + ".hex";
    std::ifstream file(path);
    Frame frame;
    for (std::string line; std::getline(file, line);) {
        line.erase(std::min(line.find('#'), line.size()));
        std::size_t at = 0;
        while ((at = line.find_first_not_of(" \t\r", at)) != std::string::npos) {
            const std::size_t end = std::min(line.find_first_of(" \t\r", at), line.size());
            frame.push_back(byteOf(line.substr(at, end - at), path));
            at = end;
        }
    }
    if (frame.empty()) {
        throw std::runtime_error(path + " holds no frame");
    }
    return frame;
}

} // namespace golden
