// Files in one compressed archive: POSIX ustar, as IEEE 1003.1 has it, through zlib. Any tar unpacks it.
#pragma once

#include "OutputFile.h"

#include <zlib.h>

#include <string>
#include <string_view>

namespace gbe {

// Everything throws Failure. One thread at a time.
class TarGz {
public:
    // Of another user nobody but this one can read it.
    explicit TarGz(const std::string& name);
    ~TarGz();
    TarGz(const TarGz&) = delete;
    TarGz& operator=(const TarGz&) = delete;

    // A file of at most 8 GiB, with a name of at most 100 bytes; '/' makes folders.
    void add(const std::string& name, std::string_view content);
    // Nothing can be added any more.
    void close();

private:
    void write(std::string_view bytes);
    void compress(int flush);

    OutputFile m_file;
    z_stream m_zip{};
    long long m_time;
};

} // namespace gbe
