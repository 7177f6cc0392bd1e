// The folders in which the programs of this computer leave what others are to know of them: locks
// (util/HostLock.h) and figures (util/link_pages.h). One is the service's, for all who may talk to it; where
// that is closed to this user, there is one of the user's own.
//
// Others may write there as well: nothing that is found there is believed unseen.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace util {

// A descriptor for the length of a scope.
class RunFile {
public:
    explicit RunFile(int fd = -1) : m_fd(fd) {}
    RunFile(RunFile&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    RunFile& operator=(RunFile&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~RunFile() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    explicit operator bool() const { return m_fd >= 0; }
    int get() const { return m_fd; }
    int take() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

// Not open when there is none that this user may use, or somebody else could have put it there.
RunFile openServiceFolder();
RunFile openUserFolder();

// A file of a folder that others may write to as well: only a regular one with no other name is believed, so
// that nobody can have a file elsewhere opened, or written to. `mode` is for one that `flags` make.
RunFile openPlain(const RunFile& folder, const std::string& name, int flags, mode_t mode);

} // namespace util
