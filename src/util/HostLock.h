// Locks by name that all processes of this computer share: for what a camera, a wire or a chip gives to one
// program at a time.
//
// A lock is a file that is locked with flock, in the folder "locks" that the service keeps beside its socket;
// where that folder is closed to this user, below one of the user's own (in /run/user, or else in /tmp),
// which programs of other users then do not see. A process that ends, in whatever way, lets go of its locks;
// a forked child has none. The file stays: removing it would let two processes hold locks on two files of one
// name. Its text tells people, and `lockHolder`, who has it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace util {

// One lock, or none. One thread at a time; two objects of one process exclude each other as well.
class HostLock {
public:
    enum class Result {
        Held,
        Busy,     // another one has it
        NoFolder, // there is no place for locks on this computer: nobody is kept out
    };

    HostLock() = default;
    HostLock(HostLock&& other) noexcept;
    HostLock& operator=(HostLock&& other) noexcept;
    ~HostLock() { release(); }

    // Takes the lock and lets go of the one it had. Names consist of letters, digits and '-'. A wait other
    // than 0 looks again until it is over.
    Result take(const std::string& name, std::chrono::milliseconds wait = {});
    void release();
    bool isHeld() const { return m_key != 0; }

private:
    std::uint64_t m_key = 0; // of the file among those that this process keeps open; 0: none
};

struct LockHolder {
    int pid = 0;
    std::string program; // printable ASCII
};

// Who has the lock, as its file tells: nothing when nobody has, or nobody can be named. May be called from
// any thread; takes no lock.
std::optional<LockHolder> lockHolder(const std::string& name);

} // namespace util
