#include "netif/CaptureSocket.h"

#include "netif/checksum.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <linux/if_packet.h>
#include <sys/socket.h>

namespace netif {
namespace {

constexpr std::size_t kLargestFrame = 65536;
constexpr int kCaptureBuffer = 64 << 20; // asked for: a stream fills it in half a second
constexpr std::uint64_t kSecond = 1'000'000'000;

std::uint64_t nanoseconds(const timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * kSecond + static_cast<std::uint64_t>(time.tv_nsec);
}

std::uint64_t now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return nanoseconds(time);
}

// What the kernel tells about a frame beside its bytes.
struct Told {
    std::uint64_t time = 0;
    bool checksumOpen = false;
};

Told toldOf(msghdr& message) {
    Told told;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMPNS &&
            part->cmsg_len >= CMSG_LEN(sizeof(timespec))) {
            timespec time{};
            std::memcpy(&time, CMSG_DATA(part), sizeof time);
            told.time = nanoseconds(time);
        } else if (
            part->cmsg_level == SOL_PACKET && part->cmsg_type == PACKET_AUXDATA &&
            part->cmsg_len >= CMSG_LEN(sizeof(tpacket_auxdata))) {
            tpacket_auxdata data{};
            std::memcpy(&data, CMSG_DATA(part), sizeof data);
            told.checksumOpen = (data.tp_status & TP_STATUS_CSUMNOTREADY) != 0;
        }
    }
    return told;
}

} // namespace

std::unique_ptr<CaptureSocket>
CaptureSocket::create(const std::string& interface, const Filter& filter, std::string& error, int& code) {
    auto socket = InterfaceSocket::create(interface, true, false, error, code);
    if (!socket) {
        return nullptr;
    }
    std::unique_ptr<CaptureSocket> made(new CaptureSocket(std::move(socket)));
    made->m_socket->setFilter(filter);
    made->m_socket->join();
    return made;
}

CaptureSocket::CaptureSocket(std::unique_ptr<InterfaceSocket> socket)
    : m_socket(std::move(socket)), m_buffer(kLargestFrame) {
    const int on = 1;
    const int off = 0;
    setsockopt(m_socket->file(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &off, sizeof off);
    setsockopt(m_socket->file(), SOL_PACKET, PACKET_AUXDATA, &on, sizeof on);
    setsockopt(m_socket->file(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    if (setsockopt(m_socket->file(), SOL_SOCKET, SO_RCVBUFFORCE, &kCaptureBuffer, sizeof kCaptureBuffer) !=
        0) {
        setsockopt(m_socket->file(), SOL_SOCKET, SO_RCVBUF, &kCaptureBuffer, sizeof kCaptureBuffer);
    }
}

// A frame that is here already.
std::optional<CaptureSocket::Frame> CaptureSocket::take() {
    alignas(cmsghdr) std::uint8_t
        control[CMSG_SPACE(sizeof(tpacket_auxdata)) + CMSG_SPACE(sizeof(timespec)) + CMSG_SPACE(16)];
    sockaddr_ll from{};
    iovec place{m_buffer.data(), m_buffer.size()};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(m_socket->file(), &message, MSG_DONTWAIT);
    if (size <= 0) {
        if (size < 0 && InterfaceSocket::meansAway(errno)) {
            m_socket->join();
        }
        return std::nullopt;
    }
    const Told told = toldOf(message);
    if (told.checksumOpen) {
        fillTransportChecksum(m_buffer.data(), static_cast<std::size_t>(size));
    }
    return Frame{
        {m_buffer.data(), static_cast<std::size_t>(size)},
        told.time != 0 ? told.time : now(),
        from.sll_pkttype == PACKET_OUTGOING};
}

std::optional<CaptureSocket::Frame> CaptureSocket::next(Clock::time_point deadline) {
    if (auto frame = take()) {
        return frame;
    }
    const auto latest =
        m_socket->alive() ? deadline : std::min(deadline, Clock::now() + InterfaceSocket::kJoinInterval);
    m_sleeper.sleep(m_socket->file(), latest);
    return take();
}

std::uint64_t CaptureSocket::lost() {
    tpacket_stats kernel{}; // since the last look
    socklen_t size = sizeof kernel;
    if (getsockopt(m_socket->file(), SOL_PACKET, PACKET_STATISTICS, &kernel, &size) == 0) {
        m_lost += kernel.tp_drops;
    }
    return m_lost;
}

} // namespace netif
