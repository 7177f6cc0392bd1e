#include "Keep.h"

#include "netif/PacketSocket.h"
#include "protocol/bootstrap.h"
#include "protocol/gvcp.h"
#include "protocol/kept_control.h"

#include <utility>

namespace gbe_service {
namespace {

// The UDP ports from which programs send commands (src/transport/Port.h, src/board/host_locks.h).
constexpr unsigned kFirstPort = 3015;
constexpr unsigned kPortCount = 256;

} // namespace

bool StopWatch::isDue(bool stopped, std::uint64_t ran, Time now) {
    const bool wasStopped = std::exchange(m_stopped, stopped);
    const bool hasRun = std::exchange(m_ran, ran) != ran;
    if (stopped && (!wasStopped || hasRun)) {
        m_since = now;
    }
    return stopped && now - m_since < m_longest;
}

KeepFrame buildKeepFrame(const KeepRoute& route, std::uint16_t requestId) {
    KeepFrame frame{};
    std::uint8_t* const command = &frame[net::kUdpPayload];
    command[gvcp::kCommandKey] = gvcp::kKey;
    command[gvcp::kCommandFlags] = gvcp::kFlagAckRequired;
    net::put<2>(command + gvcp::kCommandCode, static_cast<unsigned>(gvcp::Command::ReadRegCmd));
    net::put<2>(command + gvcp::kLength, sizeof(bootstrap::Address));
    net::put<2>(command + gvcp::kRequestId, requestId);
    net::put<4>(command + gvcp::kPayload, bootstrap::kControlChannelPrivilege);
    net::putCommandHeaders(frame.data(), route, gvcp::kHeader + sizeof(bootstrap::Address));
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
    if (stat && m_watch.isDue(stat->isStopped(), stat->ran, StopWatch::Time::clock::now())) {
        const KeepFrame& frame = m_frames[m_next++ % m_frames.size()];
        m_socket->send(frame.data(), frame.size());
    }
    return stat.has_value();
}

} // namespace gbe_service
