#include "softboard/CaptureFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace softboard {

namespace {

// The format is in the writer's byte order; readers tell it by the magic number.
constexpr std::uint32_t kMagicNanoseconds = 0xA1B23C4D;
constexpr std::uint32_t kVersion = 2U | 4U << 16; // 2.4, as two 16-bit numbers on a little-endian machine
constexpr std::uint32_t kSnapLength = 65535;
constexpr std::uint32_t kLinkTypeEthernet = 1;
static_assert(sizeof(off_t) == 8, "a capture may grow beyond 2 GiB, also on 32 bits");

std::string withProcessId(std::string name) {
    const std::string mark = "%p";
    for (std::size_t at = name.find(mark); at != std::string::npos; at = name.find(mark)) {
        name.replace(at, mark.size(), std::to_string(getpid()));
    }
    return name;
}

} // namespace

std::shared_ptr<CaptureFile> CaptureFile::create(const std::string& pattern, std::string& error) {
    std::string name = withProcessId(pattern);
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) {
        error = "cannot make capture file " + name + ": " + std::strerror(errno);
        return nullptr;
    }
    std::shared_ptr<CaptureFile> capture(new CaptureFile(std::move(name), file));
    const std::uint32_t header[] = {kMagicNanoseconds, kVersion, 0, 0, kSnapLength, kLinkTypeEthernet};
    if (!capture->write(header, sizeof header)) {
        error = "cannot write capture file " + capture->m_name;
        return nullptr;
    }
    return capture;
}

CaptureFile::~CaptureFile() {
    if (m_file >= 0) {
        close(m_file);
    }
}

void CaptureFile::record(const std::uint8_t* frame, std::size_t size) {
    const std::lock_guard lock(m_mutex);
    if (m_file < 0) {
        return;
    }
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto length = static_cast<std::uint32_t>(size);
    const std::uint32_t header[] = {
        static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_nsec), length, length};
    m_record.resize(sizeof header + size);
    std::memcpy(m_record.data(), header, sizeof header);
    if (size > 0) {
        std::memcpy(m_record.data() + sizeof header, frame, size);
    }
    write(m_record.data(), m_record.size());
}

bool CaptureFile::write(const void* bytes, std::size_t size) {
    const auto* at = static_cast<const std::uint8_t*>(bytes);
    while (size > 0) {
        const ssize_t done = ::write(m_file, at, size);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            std::fprintf(stderr, "softboard: %s: recording ends: %s\n", m_name.c_str(), std::strerror(errno));
            close(m_file);
            m_file = -1;
            return false;
        }
        at += done;
        size -= static_cast<std::size_t>(done);
    }
    return true;
}

} // namespace softboard
