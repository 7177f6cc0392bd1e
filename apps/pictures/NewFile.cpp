#include "NewFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace pictures {

NewFile::NewFile(const std::string& name) : m_name(name) {
    struct stat there {};
    if (stat(name.c_str(), &there) == 0 &&
        !S_ISREG(there.st_mode)) { // a device or a pipe is not to be replaced
        m_stream = std::fopen(name.c_str(), "wb");
    } else {
        m_temporary = name + ".XXXXXX";
        const int fd = mkstemp(m_temporary.data());
        const mode_t mask = umask(0); // mkstemp() lets nobody else read it
        umask(mask);
        m_stream = fd >= 0 && fchmod(fd, 0666 & ~mask) == 0 ? fdopen(fd, "wb+") : nullptr;
    }
    if (m_stream == nullptr) {
        fail(std::strerror(errno));
    }
}

NewFile::~NewFile() {
    if (m_stream != nullptr) {
        std::fclose(m_stream);
    }
    if (!m_temporary.empty()) {
        unlink(m_temporary.c_str());
    }
}

void NewFile::write(const void* bytes, std::size_t size) {
    std::fwrite(bytes, 1, size, m_stream);
}

void NewFile::keep() {
    errno = 0;
    const bool written = std::ferror(m_stream) == 0 && std::fflush(m_stream) == 0;
    if (!written) {
        fail(std::strerror(errno != 0 ? errno : ENOSPC));
    }
    if (!m_temporary.empty() && std::rename(m_temporary.c_str(), m_name.c_str()) != 0) {
        fail(std::strerror(errno));
    }
    m_temporary.clear();
}

void NewFile::fail(const std::string& what) const {
    throw std::runtime_error(m_name + ": " + what);
}

} // namespace pictures
