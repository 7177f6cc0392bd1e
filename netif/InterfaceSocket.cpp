#include "netif/InterfaceSocket.h"

#include "netif/lending.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netif {

namespace {

constexpr std::chrono::milliseconds kCarrierKept{10};
constexpr std::chrono::seconds kAskAgain{1}; // a lender that has refused
constexpr int kReceiveBuffer = 4 << 20;      // asked for; the kernel gives what it allows

sockaddr_ll linkAddress(int index, bool listens) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = listens ? htons(ETH_P_ALL) : 0;
    address.sll_ifindex = index;
    return address;
}

bool isRight(int error) {
    return error == EPERM || error == EACCES;
}

std::string whyNoSocket(const std::string& name, int error) {
    if (error == EAFNOSUPPORT || error == EPROTONOSUPPORT) {
        return "network interface " + name + ": this kernel has no packet sockets (CONFIG_PACKET)";
    }
    return "network interface " + name + ": " + std::strerror(error);
}

} // namespace

std::unique_ptr<InterfaceSocket> InterfaceSocket::create(
    const std::string& interface, bool everyStation, bool mayBorrow, std::string& error, int& code) {
    const InterfaceState state = queryInterface(interface);
    if (state.error != 0 && state.error != ENODEV) {
        code = state.error;
        error = state.message;
        return nullptr;
    }
    // Without a protocol nothing comes in before the filter is in place.
    int packets = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    code = packets < 0 ? errno : 0;
    const bool lent = isRight(code);
    if (lent) {
        const Loan loan = mayBorrow ? borrowSocket(interface, {}) : Loan{-1, 0, code, kWithoutLender};
        packets = loan.socket;
        code = loan.code;
        error = "no right to use network interface " + interface + " for raw frames: " + loan.error;
    } else if (packets < 0) {
        error = whyNoSocket(interface, code);
    }
    return packets < 0 ? nullptr
                       : std::unique_ptr<InterfaceSocket>(
                             new InterfaceSocket(interface, packets, everyStation, lent));
}

InterfaceSocket::InterfaceSocket(std::string name, int socket, bool everyStation, bool lent)
    : m_name(std::move(name)), m_socket(socket), m_everyStation(everyStation), m_lent(lent) {
    prepare();
}

void InterfaceSocket::prepare() const {
    const int on = 1;
    setsockopt(m_socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    setsockopt(m_socket, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on);
    if (setsockopt(m_socket, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) != 0) {
        setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    }
}

InterfaceSocket::~InterfaceSocket() {
    close(m_socket);
}

// Binds the socket to the interface that bears the name now; it leaves an earlier one. The kernel itself says
// whether the socket is still bound: it lets go of an interface that is removed, without a word when that was
// switched off before. Frames of one that is only switched off come again by themselves once it is on.
void InterfaceSocket::joinLocked() {
    const InterfaceState state = queryInterface(m_name, m_socket);
    m_nextJoin = Clock::now() + kJoinInterval;
    m_carrierUntil = {};
    m_on = state.error == 0 && state.up;
    const bool exchange = m_lent && m_traffic.kind != Traffic::Kind::Nothing &&
                          (m_lentIndex != state.index || m_lentFor != m_traffic);
    if (state.error != 0 || (exchange && !borrowLocked(state.index))) {
        m_on = false;
        return;
    }
    sockaddr_ll address{};
    socklen_t size = sizeof address;
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
    if (address.sll_ifindex == state.index && (address.sll_protocol != 0) == listens()) {
        return;
    }
    address = linkAddress(state.index, listens());
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        m_on = false;
        return;
    }
    m_index = state.index;
    applyPromiscuous(state, true);
}

// Another socket behind the same number, lent for what is wanted now.
bool InterfaceSocket::borrowLocked(int index) {
    const Loan loan = borrowSocket(m_name, m_traffic);
    m_refusal = loan.code;
    if (loan.socket < 0) {
        m_nextJoin = Clock::now() + kAskAgain;
        return false;
    }
    dup3(loan.socket, m_socket, O_CLOEXEC);
    close(loan.socket);
    prepare();
    m_exchanges.fetch_add(1, std::memory_order_relaxed);
    m_lentFor = m_traffic;
    m_lentIndex = loan.index;
    return loan.index == index; // else it came and went meanwhile
}

// An interface that is new to the socket knows nothing of its wishes yet.
void InterfaceSocket::applyPromiscuous(const InterfaceState& state, bool anew) {
    const bool wanted = m_everyStation || (m_station && *m_station != state.mac);
    if (wanted == (m_promiscuous && !anew)) {
        m_promiscuous = wanted;
        return;
    }
    packet_mreq request{};
    request.mr_ifindex = state.index;
    request.mr_type = PACKET_MR_PROMISC;
    setsockopt(
        m_socket, SOL_PACKET, wanted ? PACKET_ADD_MEMBERSHIP : PACKET_DROP_MEMBERSHIP, &request,
        sizeof request);
    m_promiscuous = wanted;
}

bool InterfaceSocket::join() {
    const std::lock_guard lock(m_mutex);
    joinLocked();
    return m_on;
}

bool InterfaceSocket::alive() {
    const std::lock_guard lock(m_mutex);
    if (!m_on && Clock::now() >= m_nextJoin) {
        joinLocked();
    }
    return m_on;
}

// Of those that mean the interface: it is off, gone, or was never there.
bool InterfaceSocket::meansAway(int error) {
    return error == ENETDOWN || error == ENXIO || error == ENODEV || error == ENETUNREACH;
}

void InterfaceSocket::setFilter(const Filter& filter) {
    if (filter.empty()) {
        const int none = 0;
        setsockopt(m_socket, SOL_SOCKET, SO_DETACH_FILTER, &none, sizeof none);
        return;
    }
    sock_fprog program{};
    program.len = static_cast<unsigned short>(filter.size());
    program.filter = const_cast<sock_filter*>(filter.data()); // the kernel only reads it
    setsockopt(m_socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
}

// A borrowed socket that is to hear nothing is not exchanged: it only stops to listen.
int InterfaceSocket::hear(const Traffic& traffic) {
    if (!m_lent) {
        setFilter(makeFilter(traffic));
        return 0;
    }
    const std::lock_guard lock(m_mutex);
    m_refusal = 0;
    m_traffic = traffic;
    joinLocked();
    return m_refusal;
}

void InterfaceSocket::setStation(const Mac& mac) {
    const std::lock_guard lock(m_mutex);
    m_station = mac;
    const InterfaceState now = state();
    if (now.error == 0 && now.index == m_index) {
        applyPromiscuous(now, false);
    }
}

void InterfaceSocket::followLocked(const InterfaceState& state) {
    const auto now = Clock::now();
    if ((!m_on || state.index != m_index) && (m_refusal == 0 || now >= m_nextJoin)) {
        joinLocked();
    }
    m_carrier = state.error == 0 && state.carrier && (m_on || !m_lent);
    m_carrierUntil = now + kCarrierKept;
}

bool InterfaceSocket::follow(const InterfaceState& state) {
    const std::lock_guard lock(m_mutex);
    followLocked(state);
    return m_carrier;
}

bool InterfaceSocket::carrier() {
    const std::lock_guard lock(m_mutex);
    if (Clock::now() >= m_carrierUntil) {
        followLocked(queryInterface(m_name, m_socket));
    }
    return m_carrier;
}

} // namespace netif
