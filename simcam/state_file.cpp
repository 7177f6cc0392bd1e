#include "simcam/state_file.h"

#include <filesystem>
#include <fstream>

namespace simcam {

std::optional<Nonvolatile::Contents> readState(const std::string& path, std::string& error) {
    std::error_code none;
    if (path.empty() || (!std::filesystem::exists(path, none) && !none)) {
        return Nonvolatile::Contents();
    }
    std::ifstream stream(path, std::ios::binary);
    std::string text(kMaxStateFile + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    if (stream.bad() || !stream.eof() || text.empty()) {
        error = "state '" + path + "' cannot be read, is empty or larger than 1 MiB";
        return std::nullopt;
    }
    auto contents = parseNonvolatile(text, error);
    if (!contents) {
        error = "state '" + path + "': " + error;
    }
    return contents;
}

bool writeState(const std::string& path, const Nonvolatile::Contents& contents) {
    const std::string next = path + ".new";
    {
        std::ofstream stream(next, std::ios::binary | std::ios::trunc);
        stream << nonvolatileText(contents);
        stream.flush();
        if (!stream) {
            return false;
        }
    }
    std::error_code failed;
    std::filesystem::rename(next, path, failed);
    return !failed;
}

} // namespace simcam
