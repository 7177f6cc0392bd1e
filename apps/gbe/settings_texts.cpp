#include "gbe/settings_texts.h"

#include "common/terminal_text.h"
#include "gbe/Failure.h"
#include "liomol/settings.h"
#include "pictures/NewFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace gbe {
namespace {

// The library says which line is too much; this keeps the program from reading without end.
constexpr std::size_t kMaxFile = std::size_t{16} << 20;

struct CloseFile {
    void operator()(std::FILE* file) const {
        if (file != stdin) {
            std::fclose(file);
        }
    }
};

} // namespace

std::string settingsOf(CameraHandle* camera, int options) {
    std::string text(std::size_t{256} << 10, '\0');
    auto size = static_cast<unsigned>(text.size());
    int code = Gbe_saveSettings(camera, options, text.data(), &size);
    while (code == GBE_ERROR_BUFFER_TOO_SMALL) {
        text.assign(size, '\0');
        code = Gbe_saveSettings(camera, options, text.data(), &size);
    }
    check("saving", code);
    text.resize(size - 1);
    return text;
}

std::string settingsOf(Context& context, int options) {
    try {
        return settingsOf(context.session(Purpose::Work).camera.get(), options);
    } catch (const Failure& failure) {
        if (failure.status() != ExitStatus::CameraBusy) {
            throw;
        }
        complain(std::string(failure.what()) + "; selectors are left where they are");
        return settingsOf(context.session(Purpose::Look).camera.get(), options);
    }
}

std::string readSettingsFile(const std::string& file) {
    const std::unique_ptr<std::FILE, CloseFile> in(file == "-" ? stdin : std::fopen(file.c_str(), "rb"));
    std::string text;
    std::size_t read = in ? 1 : 0;
    while (read > 0 && text.size() <= kMaxFile) {
        char piece[1 << 16];
        read = std::fread(piece, 1, sizeof piece, in.get());
        text.append(piece, read);
    }
    if (!in || std::ferror(in.get()) != 0) {
        throw Failure(file + ": " + std::strerror(errno), ExitStatus::Usage);
    }
    if (text.size() > kMaxFile) {
        throw Failure(file + ": is too large for a file of settings", ExitStatus::Usage);
    }
    return text;
}

void writeSettingsFile(const std::string& file, const std::string& text) {
    if (file == "-") {
        const std::string shown = isatty(STDOUT_FILENO) != 0 ? common::terminalLines(text) : text;
        std::fwrite(shown.data(), 1, shown.size(), stdout);
        if (std::fflush(stdout) != 0) {
            throw Failure(std::string("standard output: ") + std::strerror(errno));
        }
        return;
    }
    try {
        pictures::NewFile out(file);
        out.write(text.data(), text.size());
        out.keep();
    } catch (const std::runtime_error& error) {
        throw Failure(error.what());
    }
}

} // namespace gbe
