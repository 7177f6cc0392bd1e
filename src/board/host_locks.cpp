#include "board/host_locks.h"

#include "platform/port_sharing.h"
#include "transport/Port.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <map>
#include <mutex>
#include <utility>

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

// What this process has of a frame grabber's port.
struct PortUse {
    std::mutex mutex;
    util::HostLock lock; // under mutex, as the count
    unsigned claims = 0;
};

PortUse& useOf(int board, int port) {
    using Ports = std::array<PortUse, transport::Port::kPorts>;
    static auto& all = *new std::map<int, Ports>; // as long as the process
    static std::mutex mutex;
    const std::lock_guard guard(mutex);
    return all[board].at(static_cast<std::size_t>(port));
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

PortClaim::PortClaim(int board, int port) : m_board(board), m_port(port) {
    if (sharingOf(board, port) != Sharing::Exclusive) {
        m_isOurs = true;
        return;
    }
    PortUse& use = useOf(board, port);
    const std::lock_guard guard(use.mutex);
    m_isOurs = use.claims > 0 || use.lock.take(portLockName(board, port)) != util::HostLock::Result::Busy;
    m_isCounted = m_isOurs;
    use.claims += m_isCounted ? 1 : 0;
}

PortClaim::PortClaim(PortClaim&& other) noexcept {
    *this = std::move(other);
}

PortClaim& PortClaim::operator=(PortClaim&& other) noexcept {
    std::swap(m_board, other.m_board);
    std::swap(m_port, other.m_port);
    std::swap(m_isOurs, other.m_isOurs);
    std::swap(m_isCounted, other.m_isCounted);
    return *this;
}

PortClaim::~PortClaim() {
    if (m_isCounted) {
        PortUse& use = useOf(m_board, m_port);
        const std::lock_guard guard(use.mutex);
        if (--use.claims == 0) {
            use.lock.release();
        }
    }
}

// The ports of one board are all of a kind in this.
PhySequence::PhySequence(int board)
    : m_isAllowed(
          sharingOf(board, 0) != Sharing::Exclusive ||
          m_lock.take("board-" + std::to_string(board) + "-phys", kPhyWait) != util::HostLock::Result::Busy) {
}

} // namespace board
