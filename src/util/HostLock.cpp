#include "util/HostLock.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

namespace util {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLookAgain{10};
constexpr mode_t kFileMode = 0660;
constexpr mode_t kOwnFolderMode = 0700;
constexpr std::size_t kLongestText = 128; // of a lock file: "<pid> <program>"

// A descriptor for the length of a scope.
class File {
public:
    explicit File(int fd = -1) : m_fd(fd) {}
    File(File&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    File& operator=(File&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~File() {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    explicit operator bool() const { return m_fd >= 0; }
    int get() const { return m_fd; }
    int take() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

// The files that this process has locked. A forked child closes its copies, which would otherwise keep the
// locks beyond the parent's end.
class OpenFiles {
public:
    static OpenFiles& instance() {
        static OpenFiles& all = *new OpenFiles; // never destroyed: locks are let go while the process ends
        return all;
    }

    std::uint64_t keep(int fd) {
        const std::lock_guard lock(m_mutex);
        m_files.emplace(++m_last, fd);
        return m_last;
    }

    // The text goes first: what a process left behind that was killed is all that a reader must doubt.
    void drop(std::uint64_t key) {
        const std::lock_guard lock(m_mutex);
        if (const auto found = m_files.find(key); found != m_files.end()) {
            [[maybe_unused]] const int emptied = ftruncate(found->second, 0);
            close(found->second);
            m_files.erase(found);
        }
    }

private:
    OpenFiles() {
        pthread_atfork(
            [] { instance().m_mutex.lock(); }, [] { instance().m_mutex.unlock(); },
            [] {
                for (const auto& [key, fd] : instance().m_files) {
                    close(fd);
                }
                instance().m_files.clear();
                instance().m_mutex.unlock();
            });
    }

    std::mutex m_mutex;
    std::uint64_t m_last = 0;
    std::map<std::uint64_t, int> m_files; // under m_mutex
};

std::string serviceFolder() {
    const std::string socket = LIOMOL_SERVICE_SOCKET;
    const std::size_t slash = socket.rfind('/');
    return (slash == std::string::npos ? "" : socket.substr(0, slash + 1)) + "locks";
}

// In builds for tests the socket lies below the working directory, whether a service runs there or not.
bool isPrivateBuild() {
    return LIOMOL_SERVICE_SOCKET[0] != '/';
}

// A folder that nobody else can have put here for us to fall into: no symbolic link, and of this user, or
// where `mayBeRoots` of the administrator.
File openFolder(const std::string& path, bool mayBeRoots) {
    File folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || fstat(folder.get(), &status) != 0) {
        return File();
    }
    const bool own = status.st_uid == geteuid();
    return own || (mayBeRoots && status.st_uid == 0) ? std::move(folder) : File();
}

File openOwnFolder(const std::string& path) {
    mkdir(path.c_str(), kOwnFolderMode); // it may be there
    File folder = openFolder(path, false);
    struct stat status {};
    constexpr mode_t kOthers = 0077;
    const bool closed = folder && fstat(folder.get(), &status) == 0 && (status.st_mode & kOthers) == 0;
    return closed ? std::move(folder) : File();
}

File openServiceFolder() {
    const std::string path = serviceFolder();
    if (isPrivateBuild()) {
        mkdir(path.c_str(), kOwnFolderMode); // it may be there
    }
    return openFolder(path, true);
}

File openUserFolder() {
    const std::string user = std::to_string(geteuid());
    const std::string run = "/run/user/" + user;
    if (const File base = openFolder(run, false)) {
        if (File folder = openOwnFolder(run + "/liomol")) {
            return folder;
        }
    }
    return openOwnFolder("/tmp/liomol-" + user);
}

// A file of a folder that others may write to as well: only a regular one with no other name is believed, so
// that nobody can have a file elsewhere opened, or written to.
File openPlain(const File& folder, const std::string& name, int flags) {
    File file(openat(folder.get(), name.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, kFileMode));
    struct stat status {};
    const bool plain =
        file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
    return plain ? std::move(file) : File();
}

// Opening and making are two steps: some kernels do not let O_CREAT open what another user has made.
File openLockFile(const File& folder, const std::string& name) {
    constexpr int kTries = 3; // somebody else makes it between the steps
    for (int tries = 0; folder && tries < kTries; ++tries) {
        if (File file = openPlain(folder, name, O_RDWR)) {
            return file;
        }
        if (errno != ENOENT) {
            break;
        }
        if (File made = openPlain(folder, name, O_RDWR | O_CREAT | O_EXCL)) {
            fchmod(made.get(), kFileMode); // whatever the umask
            return made;
        }
    }
    return File();
}

File openLockFile(const std::string& name) {
    File file = openLockFile(openServiceFolder(), name);
    return file ? std::move(file) : openLockFile(openUserFolder(), name);
}

// Whether the file still bears its name: a restarted service may have made a new folder.
bool isCurrent(const File& file, const std::string& name) {
    const File now = openLockFile(name);
    struct stat ours {};
    struct stat theirs {};
    return now && fstat(file.get(), &ours) == 0 && fstat(now.get(), &theirs) == 0 &&
           ours.st_ino == theirs.st_ino && ours.st_dev == theirs.st_dev;
}

void signFile(const File& file) {
    char text[kLongestText];
    const int length = std::snprintf(
        text, sizeof text, "%ld %s\n", static_cast<long>(getpid()), program_invocation_short_name);
    const std::size_t count = std::min(static_cast<std::size_t>(std::max(length, 0)), sizeof text - 1);
    if (ftruncate(file.get(), 0) == 0) {
        [[maybe_unused]] const ssize_t written = pwrite(file.get(), text, count, 0);
    }
}

} // namespace

HostLock::HostLock(HostLock&& other) noexcept : m_key(std::exchange(other.m_key, 0)) {}

HostLock& HostLock::operator=(HostLock&& other) noexcept {
    std::swap(m_key, other.m_key);
    return *this;
}

HostLock::Result HostLock::take(const std::string& name, std::chrono::milliseconds wait) {
    release();
    const Clock::time_point end = Clock::now() + wait;
    for (;;) {
        File file = openLockFile(name);
        if (!file) {
            return Result::NoFolder;
        }
        if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            if (isCurrent(file, name)) {
                signFile(file);
                m_key = OpenFiles::instance().keep(file.take());
                return Result::Held;
            }
        } else if (Clock::now() >= end) {
            return Result::Busy;
        } else {
            std::this_thread::sleep_for(kLookAgain);
        }
    }
}

void HostLock::release() {
    if (m_key != 0) {
        OpenFiles::instance().drop(std::exchange(m_key, 0));
    }
}

std::optional<LockHolder> lockHolder(const std::string& name) {
    const File file = openLockFile(name);
    char text[kLongestText] = {};
    const ssize_t length = file ? pread(file.get(), text, sizeof text - 1, 0) : 0;
    char* end = text;
    const long pid = length > 0 ? std::strtol(text, &end, 10) : 0;
    if (pid <= 0 || *end != ' ' || (kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH)) {
        return std::nullopt;
    }
    std::string program(end + 1);
    program.resize(std::min(program.find('\n'), program.size()));
    std::replace_if(
        program.begin(), program.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return LockHolder{static_cast<int>(pid), std::move(program)};
}

} // namespace util
