#include "board/host_locks.h"

#include "platform/port_sharing.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>

namespace board {
namespace {

// Longer than one program needs to bring up four PHYs.
constexpr std::chrono::seconds kPhyWait{30};

std::optional<unsigned> takeNumber() {
    static util::HostLock& lock = *new util::HostLock; // as long as the process
    for (unsigned number = 0; number < kMostProcesses; ++number) {
        switch (lock.take("process-" + std::to_string(number))) {
        case util::HostLock::Result::Held:
            return number;
        case util::HostLock::Result::Busy:
            break;
        case util::HostLock::Result::NoFolder: // then it is likely to be nobody else's, and no more
            return static_cast<unsigned>(getpid()) % kMostProcesses;
        }
    }
    return std::nullopt;
}

// Null when the board's own library has no such call; that of another library, which may be loaded as well,
// says nothing of its ports.
TavoPortSharingCall findSharingCall() {
    void* const call = dlsym(RTLD_DEFAULT, LIOMOL_PORT_SHARING_CALL);
    void* const open = dlsym(RTLD_DEFAULT, "TavoInitAllHWEx");
    Dl_info calls{};
    Dl_info opens{};
    const bool together = call != nullptr && open != nullptr && dladdr(call, &calls) != 0 &&
                          dladdr(open, &opens) != 0 && calls.dli_fbase == opens.dli_fbase;
    return together ? reinterpret_cast<TavoPortSharingCall>(call) : nullptr;
}

} // namespace

Sharing sharingOf(int board, int port) {
    static const TavoPortSharingCall ask = findSharingCall();
    switch (ask != nullptr ? ask(board, port) : PORT_EXCLUSIVE) {
    case PORT_SHARED:
        return Sharing::Shared;
    case PORT_PRIVATE:
        return Sharing::Private;
    default:
        return Sharing::Exclusive;
    }
}

std::optional<unsigned> processNumber() {
    static std::mutex mutex;
    static std::optional<unsigned> number;
    const std::lock_guard guard(mutex);
    if (!number) {
        number = takeNumber();
    }
    return number;
}

std::string cameraLockName(const std::uint8_t* mac) {
    char name[sizeof "camera-001122334455"];
    std::snprintf(
        name, sizeof name, "camera-%02x%02x%02x%02x%02x%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return name;
}

std::string portLockName(int board, int port) {
    return "board-" + std::to_string(board) + "-port-" + std::to_string(port);
}

// The ports of one board are all of a kind in this.
PhySequence::PhySequence(int board)
    : m_isAllowed(
          sharingOf(board, 0) != Sharing::Exclusive ||
          m_lock.take("board-" + std::to_string(board) + "-phys", kPhyWait) != util::HostLock::Result::Busy) {
}

} // namespace board
