#include "netif/PacketRing.h"

#include "netif/interface.h"
#include "protocol/net.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netif {

namespace {

constexpr std::size_t kVlanTag = 4;
constexpr int kUsualMtu = 1500; // while there is no interface, and at least
constexpr int kLargestMtu = 65535;
constexpr std::size_t kBellFrame = 32; // nobody reads it

// Ethernet's bytes around an interface's MTU.
std::size_t frameOf(int mtu) {
    return net::kEthernetHeader + kVlanTag +
           static_cast<std::size_t>(std::clamp(mtu, kUsualMtu, kLargestMtu));
}

bool isForeign(const tpacket2_hdr& header) {
    return (header.tp_status & TP_STATUS_VLAN_VALID) != 0 && (header.tp_vlan_tci & kVlanNumber) != 0;
}

PacketRing::Checksum checksumOf(unsigned status) {
    return (status & TP_STATUS_CSUMNOTREADY) != 0 ? PacketRing::Checksum::Open
           : (status & TP_STATUS_CSUM_VALID) != 0 ? PacketRing::Checksum::Right
                                                  : PacketRing::Checksum::Unknown;
}

} // namespace

std::unique_ptr<PacketRing> PacketRing::create(const std::string& interface, std::string& error, int& code) {
    auto bell = InterfaceSocket::create(interface, false, true, error, code);
    auto socket = bell ? InterfaceSocket::create(interface, false, true, error, code) : nullptr;
    if (!socket) {
        return nullptr;
    }
    std::unique_ptr<PacketRing> made(new PacketRing(std::move(socket), std::move(bell)));
    if (!made->m_sleeper.good()) {
        code = errno;
        error = "network interface " + interface + ": " + std::strerror(code);
        return nullptr;
    }
    return made;
}

PacketRing::PacketRing(Socket socket, Socket bell)
    : m_socket(std::move(socket)), m_bellSocket(std::move(bell)) {}

bool PacketRing::open(const Options& options, int& code) {
    m_bytes = options.bytes;
    if (!hear(options.traffic, options.bell, code) || !makeRings()) {
        code = code != 0 ? code : errno;
        close();
        return false;
    }
    m_bellSocket->join();
    m_socket->join();
    return true;
}

// The bell first, so that it comes after the socket in what the kernel gives frames to (see wait()).
bool PacketRing::hear(const Traffic& traffic, const Traffic& bell, int& code) {
    code = m_bellSocket->hear(bell);
    code = code == 0 ? m_socket->hear(traffic) : code;
    return code == 0;
}

bool PacketRing::makeRings() {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    m_madeFor = m_socket->exchanges() + m_bellSocket->exchanges();
    return m_bell.make(m_bellSocket->file(), kBellFrame, page) && makeRing(mtu());
}

int PacketRing::mtu() const {
    const InterfaceState state = m_socket->state();
    return state.error == 0 ? state.mtu : kUsualMtu;
}

void PacketRing::close() {
    int ignored = 0;
    statistics(); // of sockets that the next stream may not have
    hear({}, {}, ignored);
    m_ring.drop();
    m_bell.drop();
    m_taken = nullptr;
}

bool PacketRing::makeRing(int mtu) {
    m_taken = nullptr;
    return m_ring.make(m_socket->file(), frameOf(mtu), m_bytes);
}

const PacketRing::Frame* PacketRing::next() {
    for (;;) {
        if (m_taken != nullptr) {
            MappedRing::giveBack(m_taken);
        }
        m_taken = m_ring.next();
        if (m_taken == nullptr) {
            return nullptr;
        }
        if (m_taken->tp_snaplen < m_taken->tp_len) {
            m_overrun.fetch_add(1, std::memory_order_relaxed);
        } else if (!isForeign(*m_taken)) {
            break;
        }
    }
    // Nobody else writes it, and a locked addition would wait until the frame before has been copied.
    m_received.store(m_received.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    m_frame = {
        reinterpret_cast<std::uint8_t*>(m_taken) + m_taken->tp_mac, m_taken->tp_snaplen,
        checksumOf(m_taken->tp_status)};
    return &m_frame;
}

bool PacketRing::wait(Until until, Clock::time_point deadline) {
    // The socket that is bound last gets a frame first: the bell must not ring before its frame is there.
    const bool bellAlive = m_bellSocket->alive();
    if (!m_socket->alive() || !bellAlive) {
        deadline = std::min(deadline, Clock::now() + InterfaceSocket::kJoinInterval);
    }
    InterfaceSocket& waitIn = until == Until::Bell ? *m_bellSocket : *m_socket;
    const short events = m_sleeper.sleep(waitIn.file(), deadline);
    if ((events & POLLERR) == 0) {
        return true;
    }
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(waitIn.file(), SOL_SOCKET, SO_ERROR, &error, &size); // which is then forgotten
    return waitIn.join() && renew();
}

std::size_t PacketRing::takeBells() {
    std::size_t count = 0;
    while (tpacket2_hdr* const rung = m_bell.next()) {
        MappedRing::giveBack(rung);
        ++count;
    }
    return count < m_bell.slots() ? count : kCountless;
}

// Rings for sockets that were exchanged, which an interface that was made anew brings about.
bool PacketRing::renew() {
    return m_madeFor == m_socket->exchanges() + m_bellSocket->exchanges() || makeRings();
}

bool PacketRing::look() {
    const InterfaceState state = m_socket->state();
    if (state.error == 0 && frameOf(state.mtu) > m_ring.frameSize()) {
        makeRing(state.mtu);
    }
    const bool bell = m_bellSocket->follow(state); // in the order of wait()
    const bool carrier = m_socket->follow(state) && bell;
    return renew() && carrier;
}

PacketStatistics PacketRing::statistics() {
    tpacket_stats kernel{}; // since the last look
    socklen_t size = sizeof kernel;
    if (getsockopt(m_socket->file(), SOL_PACKET, PACKET_STATISTICS, &kernel, &size) == 0) {
        m_overrun.fetch_add(kernel.tp_drops, std::memory_order_relaxed);
    }
    return {0, m_received, m_overrun, m_overrun};
}

} // namespace netif
