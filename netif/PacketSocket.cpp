#include "netif/PacketSocket.h"

#include "netif/checksum.h"

#include "protocol/net.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netif {

namespace {

constexpr std::chrono::milliseconds kJoinInterval{20}; // between looks for an interface that is not there
constexpr std::chrono::milliseconds kCarrierKept{10};
constexpr int kReceiveBuffer = 4 << 20;       // asked for; the kernel gives what it allows
constexpr std::uint16_t kVlanNumber = 0x0FFF; // of a tag

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

timespec until(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now()).count();
    constexpr long long kSecond = 1000000000;
    const long long wait = std::max<long long>(left, 0);
    timespec time{};
    time.tv_sec = static_cast<std::time_t>(wait / kSecond);
    time.tv_nsec = static_cast<long>(wait % kSecond);
    return time;
}

// What the kernel tells about a frame beside its bytes.
struct Auxiliary {
    bool checksumOpen = false;
    bool foreignVlan = false;
};

Auxiliary auxiliaryOf(msghdr& message) {
    Auxiliary result;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == SOL_PACKET && part->cmsg_type == PACKET_AUXDATA &&
            part->cmsg_len >= CMSG_LEN(sizeof(tpacket_auxdata))) {
            tpacket_auxdata data;
            std::memcpy(&data, CMSG_DATA(part), sizeof data);
            result.checksumOpen = (data.tp_status & TP_STATUS_CSUMNOTREADY) != 0;
            result.foreignVlan =
                (data.tp_status & TP_STATUS_VLAN_VALID) != 0 && (data.tp_vlan_tci & kVlanNumber) != 0;
        }
    }
    return result;
}

// Of those that mean the interface: it is off, gone, or was never there.
bool meansAway(int error) {
    return error == ENETDOWN || error == ENXIO || error == ENODEV || error == ENETUNREACH;
}

} // namespace

std::unique_ptr<PacketSocket>
PacketSocket::create(const std::string& interface, Options options, std::string& error, int* code) {
    int dummy = 0;
    int& failure = code != nullptr ? *code : dummy;
    const InterfaceState state = queryInterface(interface);
    if (state.error != 0 && state.error != ENODEV) {
        failure = state.error;
        error = state.message;
        return nullptr;
    }
    // Without a protocol nothing comes in before the filter is in place.
    const int packets = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int event = packets >= 0 ? eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) : -1;
    if (event < 0) {
        failure = errno;
        error = whyNoSocket(interface, failure);
        if (packets >= 0) {
            close(packets);
        }
        return nullptr;
    }
    failure = 0;
    std::unique_ptr<PacketSocket> made(new PacketSocket(interface, packets, event, std::move(options)));
    const std::lock_guard lock(made->m_mutex);
    made->join();
    return made;
}

PacketSocket::PacketSocket(std::string name, int socket, int event, Options options)
    : m_name(std::move(name)), m_socket(socket), m_event(event), m_spin(options.spin),
      m_everyStation(options.promiscuous), m_buffer(kLargestFrame) {
    const int on = 1;
    setsockopt(m_socket, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on);
    setsockopt(m_socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    if (setsockopt(m_socket, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) != 0) {
        setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    }
    setFilter(options.filter);
}

PacketSocket::~PacketSocket() {
    close(m_socket);
    close(m_event);
}

// Binds the socket to the interface that bears the name now; it leaves an earlier one. The kernel itself says
// whether the socket is still bound: it lets go of an interface that is removed, without a word when that was
// switched off before. Frames of one that is only switched off come again by themselves once it is on.
void PacketSocket::join() {
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
void PacketSocket::applyPromiscuous(const InterfaceState& state, bool anew) {
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

// Whether frames can come. While they cannot, the interface is looked for from time to time.
bool PacketSocket::alive() {
    const std::lock_guard lock(m_mutex);
    if (!m_on && Clock::now() >= m_nextJoin) {
        join();
    }
    return m_on;
}

bool PacketSocket::send(const std::uint8_t* frame, std::size_t size) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (::send(m_socket, frame, size, MSG_DONTWAIT) == static_cast<ssize_t>(size)) {
            m_sent.fetch_add(1, std::memory_order_relaxed);
            return true;
        }
        if (!meansAway(errno)) {
            break;
        }
        // An interface of this name may be another one by now, or the error one of the past.
        const std::lock_guard lock(m_mutex);
        join();
        if (!m_on) {
            break;
        }
    }
    m_notSent.fetch_add(1, std::memory_order_relaxed);
    return false;
}

// A frame that is here already. Empty, when there is none.
std::span<std::uint8_t> PacketSocket::take() {
    for (;;) {
        alignas(cmsghdr) std::uint8_t control[CMSG_SPACE(sizeof(tpacket_auxdata))];
        iovec place{m_buffer.data(), m_buffer.size()};
        msghdr message{};
        message.msg_iov = &place;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t size = recvmsg(m_socket, &message, MSG_DONTWAIT);
        if (size < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (meansAway(errno)) {
                const std::lock_guard lock(m_mutex);
                join();
            }
            return {};
        }
        if ((message.msg_flags & MSG_TRUNC) != 0) {
            m_overrun.fetch_add(1, std::memory_order_relaxed);
            continue;
        }
        const Auxiliary auxiliary = auxiliaryOf(message);
        if (auxiliary.foreignVlan || size == 0) {
            continue;
        }
        const std::span<std::uint8_t> frame(m_buffer.data(), static_cast<std::size_t>(size));
        if (auxiliary.checksumOpen) {
            fillTransportChecksum(frame.data(), frame.size());
        }
        m_received.fetch_add(1, std::memory_order_relaxed);
        return frame;
    }
}

void PacketSocket::forgetInterrupt() {
    m_interrupted.store(false, std::memory_order_relaxed);
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t done = read(m_event, &count, sizeof count);
}

void PacketSocket::interrupt() {
    m_interrupted.store(true, std::memory_order_release);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t done = write(m_event, &one, sizeof one);
}

std::span<const std::uint8_t> PacketSocket::receive(Clock::time_point deadline) {
    const auto start = Clock::now();
    if (start >= deadline) {
        return take();
    }
    const bool spins = m_spin.count() > 0 && m_spinChoice.next();
    std::span<std::uint8_t> frame;
    if (!spins || !spin(std::min(deadline, start + m_spin), frame)) {
        sleep(deadline);
        frame = take();
    }
    if (m_spin.count() > 0) {
        m_spinChoice.took(spins, Clock::now() - start);
    }
    return frame;
}

// True when the wait is over.
bool PacketSocket::spin(Clock::time_point end, std::span<std::uint8_t>& frame) {
    do {
        frame = take();
        if (!frame.empty()) {
            return true;
        }
        if (m_interrupted.load(std::memory_order_relaxed)) {
            forgetInterrupt();
            return true;
        }
    } while (Clock::now() < end);
    return false;
}

// Until something comes, somebody interrupts, or the time is over.
void PacketSocket::sleep(Clock::time_point deadline) {
    const timespec time = until(alive() ? deadline : std::min(deadline, Clock::now() + kJoinInterval));
    pollfd waiting[] = {{m_socket, POLLIN, 0}, {m_event, POLLIN, 0}};
    if (ppoll(waiting, std::size(waiting), &time, nullptr) > 0 && waiting[1].revents != 0) {
        forgetInterrupt();
    }
}

void PacketSocket::setFilter(const Filter& filter) {
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

void PacketSocket::setStation(const Mac& mac) {
    const std::lock_guard lock(m_mutex);
    m_station = mac;
    const InterfaceState now = state();
    if (now.error == 0 && now.index == m_index) {
        applyPromiscuous(now, false);
    }
}

bool PacketSocket::carrier() {
    const std::lock_guard lock(m_mutex);
    const auto now = Clock::now();
    if (now >= m_carrierUntil) {
        const InterfaceState state = queryInterface(m_name, m_socket);
        if (!m_on || state.index != m_index) {
            join();
        }
        m_carrier = state.error == 0 && state.carrier;
        m_carrierUntil = now + kCarrierKept;
    }
    return m_carrier;
}

PacketStatistics PacketSocket::statistics() {
    tpacket_stats kernel{}; // since the last look
    socklen_t size = sizeof kernel;
    if (getsockopt(m_socket, SOL_PACKET, PACKET_STATISTICS, &kernel, &size) == 0) {
        m_overrun.fetch_add(kernel.tp_drops, std::memory_order_relaxed);
    }
    return {m_sent, m_received, m_overrun + m_notSent, m_overrun};
}

} // namespace netif
