#include "util/HostLock.h"

#include "util/run_folder.h"

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
constexpr std::size_t kLongestText = 128; // of a lock file: "<pid> <program>"

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

// Opening and making are two steps: some kernels do not let O_CREAT open what another user has made.
RunFile openLockFile(const RunFile& folder, const std::string& name) {
    constexpr int kTries = 3; // somebody else makes it between the steps
    for (int tries = 0; folder && tries < kTries; ++tries) {
        if (RunFile file = openPlain(folder, name, O_RDWR, kFileMode)) {
            return file;
        }
        if (errno != ENOENT) {
            break;
        }
        if (RunFile made = openPlain(folder, name, O_RDWR | O_CREAT | O_EXCL, kFileMode)) {
            fchmod(made.get(), kFileMode); // whatever the umask
            return made;
        }
    }
    return RunFile();
}

RunFile openLockFile(const std::string& name) {
    RunFile file = openLockFile(openServiceFolder(), name);
    return file ? std::move(file) : openLockFile(openUserFolder(), name);
}

// Whether the file still bears its name: a restarted service may have made a new folder.
bool isCurrent(const RunFile& file, const std::string& name) {
    const RunFile now = openLockFile(name);
    struct stat ours {};
    struct stat theirs {};
    return now && fstat(file.get(), &ours) == 0 && fstat(now.get(), &theirs) == 0 &&
           ours.st_ino == theirs.st_ino && ours.st_dev == theirs.st_dev;
}

void signFile(const RunFile& file) {
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
        RunFile file = openLockFile(name);
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
    const RunFile file = openLockFile(name);
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
