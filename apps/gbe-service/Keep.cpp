#include "Keep.h"

#include "netif/PacketSocket.h"
#include "protocol/bootstrap.h"
#include "protocol/gvcp.h"
#include "protocol/internet_checksum.h"
#include "protocol/kept_control.h"

#include <algorithm>
#include <utility>

namespace gbe_service {
namespace {

constexpr std::uint16_t kDontFragment = 0x4000;
constexpr std::uint8_t kTimeToLive = 128;
constexpr std::uint8_t kIpv4WithoutOptions = 0x45;
constexpr std::uint16_t kMessage = gvcp::kHeader + sizeof(bootstrap::Address);
constexpr std::uint16_t kUdpLength = net::kUdpHeader + kMessage;

// The UDP ports from which programs send commands (src/transport/Port.h, src/board/host_locks.h).
constexpr unsigned kFirstPort = 3015;
constexpr unsigned kPortCount = 256;

template<unsigned bytes> void put(KeepFrame& frame, std::size_t at, std::uint64_t value) {
    for (unsigned i = 0; i < bytes; ++i) {
        frame[at + i] = static_cast<std::uint8_t>(value >> (8 * (bytes - 1 - i)));
    }
}

template<class Address> void put(KeepFrame& frame, std::size_t at, const Address& address) {
    std::copy(address.begin(), address.end(), frame.begin() + static_cast<std::ptrdiff_t>(at));
}

// Checksums are zero still.
void putHeaders(KeepFrame& frame, const KeepRoute& route) {
    put(frame, net::kDestinationMac, route.cameraMac);
    put(frame, net::kSourceMac, route.hostMac);
    put<2>(frame, net::kEtherType, net::kEtherTypeIpv4);
    frame[net::kIpVersion] = kIpv4WithoutOptions;
    put<2>(frame, net::kIpTotalLength, net::kIpHeader + kUdpLength);
    put<2>(frame, net::kIpFragment, kDontFragment);
    frame[net::kIpTimeToLive] = kTimeToLive;
    frame[net::kIpProtocol] = net::kIpProtocolUdp;
    put(frame, net::kSourceIp, route.hostIp);
    put(frame, net::kDestinationIp, route.cameraIp);
    put<2>(frame, net::kUdpSourcePort, route.udpPort);
    put<2>(frame, net::kUdpDestinationPort, gvcp::kPort);
    put<2>(frame, net::kUdpLength, kUdpLength);
}

void putChecksums(KeepFrame& frame) {
    const std::uint16_t udp = net::InternetChecksum()
                                  .add(&frame[net::kSourceIp], std::size_t{2} * net::kIpSize)
                                  .add(net::kIpProtocolUdp)
                                  .add(kUdpLength)
                                  .add(&frame[net::kUdpSourcePort], kUdpLength)
                                  .value();
    put<2>(frame, net::kUdpChecksum, udp != 0 ? udp : 0xFFFF); // 0 says that there is none
    put<2>(
        frame, net::kIpChecksum,
        net::InternetChecksum().add(&frame[net::kIpVersion], net::kIpHeader).value());
}

} // namespace

bool StopWatch::isDue(bool stopped, Time now) {
    if (stopped && !std::exchange(m_stopped, stopped)) {
        m_since = now;
    }
    m_stopped = stopped;
    return stopped && now - m_since < m_longest;
}

KeepFrame buildKeepFrame(const KeepRoute& route, std::uint16_t requestId) {
    constexpr std::size_t kCommand = net::kUdpPayload;
    KeepFrame frame{};
    putHeaders(frame, route);
    frame[kCommand + gvcp::kCommandKey] = gvcp::kKey;
    frame[kCommand + gvcp::kCommandFlags] = gvcp::kFlagAckRequired;
    put<2>(frame, kCommand + gvcp::kCommandCode, static_cast<unsigned>(gvcp::Command::ReadRegCmd));
    put<2>(frame, kCommand + gvcp::kLength, sizeof(bootstrap::Address));
    put<2>(frame, kCommand + gvcp::kRequestId, requestId);
    put<4>(frame, kCommand + gvcp::kPayload, bootstrap::kControlChannelPrivilege);
    putChecksums(frame);
    return frame;
}

std::string whyNoKeep(const KeepRequest& request) {
    if (!request.camera.isStation() || !request.cameraIp.isStation() || !request.ip.isStation()) {
        return "not the address of a station";
    }
    if (request.udpPort < kFirstPort || request.udpPort - kFirstPort >= kPortCount) {
        return "commands do not come from this UDP port";
    }
    return request.seconds < 1 || request.seconds > kept_control::kLongestStop ? "not 1 to 3600 seconds" : "";
}

std::shared_ptr<Keep> Keep::begin(
    const Peer& peer, const KeepRequest& request, const net::Mac& hostMac, const std::string& interface,
    std::string& error) {
    std::shared_ptr<Keep> keep(new Keep(peer, request, hostMac));
    netif::PacketSocket::Options silent;
    silent.filter = netif::kNothing;
    keep->m_socket = netif::PacketSocket::create(interface, silent, error);
    if (keep->m_socket && !peer.reaches(keep->m_socket->state().index)) {
        error = "this user has no socket on network interface " + interface;
        return nullptr;
    }
    return keep->m_socket ? keep : nullptr;
}

Keep::Keep(const Peer& peer, const KeepRequest& request, const net::Mac& hostMac)
    : m_peer(peer), m_watch(std::chrono::seconds(request.seconds)) {
    const KeepRoute route{
        hostMac, request.camera, request.ip, request.cameraIp, static_cast<std::uint16_t>(request.udpPort)};
    m_frames = {
        buildKeepFrame(route, kept_control::kRequestIds[0]),
        buildKeepFrame(route, kept_control::kRequestIds[1])};
}

Keep::~Keep() = default;

bool Keep::look() {
    const auto stat = m_peer.look();
    if (stat && m_watch.isDue(stat->isStopped(), StopWatch::Time::clock::now())) {
        const KeepFrame& frame = m_frames[m_next++ % m_frames.size()];
        m_socket->send(frame.data(), frame.size());
    }
    return stat.has_value();
}

} // namespace gbe_service
