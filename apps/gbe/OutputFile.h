// A file that a verb makes, or standard output.
#pragma once

#include "Failure.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <utility>

namespace gbe {

// Every failure throws Failure. One thread at a time.
class OutputFile {
public:
    // "-" is standard output.
    explicit OutputFile(std::string name)
        : m_name(std::move(name)), m_file(m_name == "-" ? stdout : std::fopen(m_name.c_str(), "wb")) {
        demand(m_file != nullptr);
    }
    ~OutputFile() {
        if (m_file != nullptr && m_file != stdout) {
            std::fclose(m_file);
        }
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::span<const std::uint8_t> bytes) {
        demand(std::fwrite(bytes.data(), 1, bytes.size(), m_file) == bytes.size());
    }
    void flush() { demand(std::fflush(m_file) == 0); }
    // All of it is in the file; nothing can be written any more.
    void close() {
        flush();
        if (m_file != stdout) {
            demand(std::fclose(std::exchange(m_file, nullptr)) == 0);
        }
    }

private:
    void demand(bool good) const {
        if (!good) {
            throw Failure((m_file == stdout ? "standard output" : m_name) + ": " + std::strerror(errno));
        }
    }

    const std::string m_name;
    std::FILE* m_file;
};

} // namespace gbe
