#include "netif/PacketSocket.h"

#include "netif/checksum.h"
#include "netif/interface.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/if_packet.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>

namespace netif {

namespace {

constexpr std::chrono::milliseconds kSendWait{10};
constexpr std::chrono::microseconds kQueuePause{50}; // while a queue below the socket is full
constexpr std::size_t kMessages = 64;                // of one call of the system

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

} // namespace

std::unique_ptr<PacketSocket>
PacketSocket::create(const std::string& interface, Options options, std::string& error, int* code) {
    int dummy = 0;
    auto socket = InterfaceSocket::create(
        interface, options.promiscuous, options.traffic.has_value(), error, code != nullptr ? *code : dummy);
    if (!socket) {
        return nullptr;
    }
    std::unique_ptr<PacketSocket> made(new PacketSocket(std::move(socket), std::move(options)));
    if (!made->m_sleeper.good()) {
        error = "network interface " + interface + ": " + std::strerror(errno);
        return nullptr;
    }
    made->m_socket->join();
    return made;
}

PacketSocket::PacketSocket(std::unique_ptr<InterfaceSocket> socket, Options options)
    : m_socket(std::move(socket)), m_spin(options.spin), m_buffer(kLargestFrame) {
    if (options.traffic) {
        m_socket->hear(*options.traffic);
    } else {
        m_socket->setFilter(options.filter);
    }
}

int PacketSocket::hear(const Traffic& traffic) {
    statistics(); // of a socket that may go now
    const unsigned before = m_socket->exchanges();
    const int code = m_socket->hear(traffic);
    if (m_socket->exchanges() != before) {
        m_sleeper.wake();
    }
    return code;
}

bool PacketSocket::send(const std::uint8_t* frame, std::size_t size) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (::send(m_socket->file(), frame, size, MSG_DONTWAIT) == static_cast<ssize_t>(size)) {
            m_sent.fetch_add(1, std::memory_order_relaxed);
            return true;
        }
        // An interface of this name may be another one by now, or the error one of the past.
        if (!InterfaceSocket::meansAway(errno) || !m_socket->join()) {
            break;
        }
    }
    m_notSent.fetch_add(1, std::memory_order_relaxed);
    return false;
}

// One call of the system; 0 and the reason in `error` when not even the first frame left.
std::size_t PacketSocket::sendSome(std::span<const Parts> frames, int& error) {
    mmsghdr messages[kMessages];
    iovec pieces[kMessages][2];
    const std::size_t count = std::min(frames.size(), kMessages);
    for (std::size_t i = 0; i < count; ++i) {
        messages[i] = {};
        messages[i].msg_hdr.msg_iov = pieces[i];
        messages[i].msg_hdr.msg_iovlen = frames[i][1].empty() ? 1 : 2;
        for (std::size_t part = 0; part < 2; ++part) { // the kernel only reads them
            pieces[i][part] = {const_cast<std::uint8_t*>(frames[i][part].data()), frames[i][part].size()};
        }
    }
    const int sent = sendmmsg(m_socket->file(), messages, static_cast<unsigned>(count), MSG_DONTWAIT);
    error = sent > 0 ? 0 : errno;
    return sent > 0 ? static_cast<std::size_t>(sent) : 0;
}

// Whether to try again: there may be room now.
bool PacketSocket::waitForRoom(int error, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
        return false;
    }
    if (error == EAGAIN) {
        pollfd room{m_socket->file(), POLLOUT, 0};
        poll(&room, 1, static_cast<int>(left));
    } else if (error == ENOBUFS) { // the queue's own limit, which nobody tells of
        std::this_thread::sleep_for(kQueuePause);
    }
    return error == EAGAIN || error == ENOBUFS || error == EINTR;
}

std::size_t PacketSocket::sendMany(std::span<const Parts> frames) {
    std::size_t left = 0;
    auto deadline = Clock::now() + kSendWait;
    for (bool joined = false; !frames.empty();) {
        int error = 0;
        const std::size_t sent = sendSome(frames, error);
        left += sent;
        frames = frames.subspan(sent);
        if (sent > 0) {
            deadline = Clock::now() + kSendWait;
        } else if (error == EMSGSIZE) {
            frames = frames.subspan(1);
            m_notSent.fetch_add(1, std::memory_order_relaxed);
        } else if (InterfaceSocket::meansAway(error) && !joined) {
            joined = true;
            if (!m_socket->join()) {
                break;
            }
        } else if (!waitForRoom(error, deadline)) {
            break;
        }
    }
    m_sent.fetch_add(left, std::memory_order_relaxed);
    m_notSent.fetch_add(frames.size(), std::memory_order_relaxed);
    return left;
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
        const ssize_t size = recvmsg(m_socket->file(), &message, MSG_DONTWAIT);
        if (size < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (InterfaceSocket::meansAway(errno)) {
                m_socket->join();
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
        if (m_sleeper.takeWake()) {
            return true;
        }
    } while (Clock::now() < end);
    return false;
}

void PacketSocket::sleep(Clock::time_point deadline) {
    const auto latest =
        m_socket->alive() ? deadline : std::min(deadline, Clock::now() + InterfaceSocket::kJoinInterval);
    m_sleeper.sleep(m_socket->file(), latest);
}

PacketStatistics PacketSocket::statistics() {
    tpacket_stats kernel{}; // since the last look
    socklen_t size = sizeof kernel;
    if (getsockopt(m_socket->file(), SOL_PACKET, PACKET_STATISTICS, &kernel, &size) == 0) {
        m_overrun.fetch_add(kernel.tp_drops, std::memory_order_relaxed);
    }
    return {m_sent, m_received, m_overrun + m_notSent, m_overrun};
}

} // namespace netif
