#include "netif/InterfaceSocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netif {

namespace {

constexpr std::chrono::milliseconds kCarrierKept{10};

sockaddr_ll linkAddress(int index) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = index;
    return address;
}

std::string whyNoSocket(const std::string& name, int error) {
    if (error == EPERM || error == EACCES) {
        return "no right to use network interface " + name +
               " for raw frames: run as root, or give the program CAP_NET_RAW: setcap cap_net_raw+ep PROGRAM";
    }
    if (error == EAFNOSUPPORT || error == EPROTONOSUPPORT) {
        return "network interface " + name + ": this kernel has no packet sockets (CONFIG_PACKET)";
    }
    return "network interface " + name + ": " + std::strerror(error);
}

} // namespace

std::unique_ptr<InterfaceSocket>
InterfaceSocket::create(const std::string& interface, bool everyStation, std::string& error, int& code) {
    const InterfaceState state = queryInterface(interface);
    if (state.error != 0 && state.error != ENODEV) {
        code = state.error;
        error = state.message;
        return nullptr;
    }
    // Without a protocol nothing comes in before the filter is in place.
    const int packets = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (packets < 0) {
        code = errno;
        error = whyNoSocket(interface, code);
        return nullptr;
    }
    code = 0;
    return std::unique_ptr<InterfaceSocket>(new InterfaceSocket(interface, packets, everyStation));
}

InterfaceSocket::InterfaceSocket(std::string name, int socket, bool everyStation)
    : m_name(std::move(name)), m_socket(socket), m_everyStation(everyStation) {
    const int on = 1;
    setsockopt(m_socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
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
    if (state.error != 0) {
        return;
    }
    sockaddr_ll address{};
    socklen_t size = sizeof address;
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
    if (address.sll_ifindex == state.index) {
        return;
    }
    address = linkAddress(state.index);
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        m_on = false;
        return;
    }
    m_index = state.index;
    applyPromiscuous(state, true);
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

void InterfaceSocket::setStation(const Mac& mac) {
    const std::lock_guard lock(m_mutex);
    m_station = mac;
    const InterfaceState now = state();
    if (now.error == 0 && now.index == m_index) {
        applyPromiscuous(now, false);
    }
}

bool InterfaceSocket::carrier() {
    const std::lock_guard lock(m_mutex);
    const auto now = Clock::now();
    if (now >= m_carrierUntil) {
        const InterfaceState state = queryInterface(m_name, m_socket);
        if (!m_on || state.index != m_index) {
            joinLocked();
        }
        m_carrier = state.error == 0 && state.carrier;
        m_carrierUntil = now + kCarrierKept;
    }
    return m_carrier;
}

} // namespace netif
