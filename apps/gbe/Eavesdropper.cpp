#include "Eavesdropper.h"

#include "netif/PacketSocket.h"
#include "netif/filter.h"
#include "protocol/gvcp.h"
#include "protocol/net.h"

#include <optional>

namespace gbe {
namespace {

using Frame = std::span<const std::uint8_t>;

unsigned big16(Frame frame, std::size_t offset) {
    return static_cast<unsigned>(frame[offset] << 8 | frame[offset + 1]);
}

// Cameras send no IP options: a frame that has some is passed over.
std::optional<Heard> hear(Frame frame) {
    constexpr std::uint8_t kNoOptions = 0x45;
    Heard heard;
    if (frame.size() < net::kUdpPayload + gvcp::kHeader) {
        return std::nullopt;
    }
    heard.from = Mac::at(frame.data() + net::kSourceMac);
    heard.to = Mac::at(frame.data() + net::kDestinationMac);
    if (big16(frame, net::kEtherType) == net::kEtherTypeArp) {
        heard.kind = Heard::Kind::ArpRequest;
        heard.fromIp = Ipv4::at(frame.data() + net::kArpSenderIp);
        heard.toIp = Ipv4::at(frame.data() + net::kArpTargetIp);
        const bool request = big16(frame, net::kArpOperation) == net::kArpRequest;
        return request && heard.fromIp != heard.toIp ? std::optional(heard) : std::nullopt;
    }
    heard.fromIp = Ipv4::at(frame.data() + net::kSourceIp);
    heard.toIp = Ipv4::at(frame.data() + net::kDestinationIp);
    heard.toPort = big16(frame, net::kUdpDestinationPort);
    heard.code = big16(frame, net::kUdpPayload + gvcp::kAckCode);
    return frame[net::kIpVersion] == kNoOptions ? std::optional(heard) : std::nullopt;
}

} // namespace

std::unique_ptr<Eavesdropper> Eavesdropper::open(const std::string& interface) {
    netif::PacketSocket::Options options;
    options.traffic = netif::Traffic{netif::Traffic::Kind::Acknowledgements};
    options.promiscuous = true;
    std::string error;
    auto socket = netif::PacketSocket::create(interface, options, error);
    return socket ? std::unique_ptr<Eavesdropper>(new Eavesdropper(std::move(socket))) : nullptr;
}

Eavesdropper::Eavesdropper(std::unique_ptr<netif::PacketSocket> socket) : m_socket(std::move(socket)) {}

Eavesdropper::~Eavesdropper() = default;

std::vector<Heard> Eavesdropper::take() {
    constexpr std::size_t kMost = 4096; // on a wire that never falls silent
    std::vector<Heard> all;
    for (std::size_t i = 0; i < kMost; ++i) {
        const Frame frame = m_socket->receive({});
        if (frame.empty()) {
            break;
        }
        if (const auto heard = hear(frame)) {
            all.push_back(*heard);
        }
    }
    return all;
}

} // namespace gbe
