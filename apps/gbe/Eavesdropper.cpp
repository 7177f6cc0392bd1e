#include "Eavesdropper.h"

#include "netif/PacketSocket.h"
#include "protocol/gvcp.h"
#include "protocol/net.h"

#include <optional>

namespace gbe {
namespace {

// ARP, and UDP from the port of GVCP.
netif::Filter gvcpAndArp() {
    constexpr unsigned kAll = 0xFFFFFFFF;
    return {
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, net::kEtherType),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, net::kEtherTypeArp, 6, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, net::kEtherTypeIpv4, 0, 6),
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, net::kIpProtocol),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, net::kIpProtocolUdp, 0, 4),
        BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, net::kIpVersion),
        BPF_STMT(BPF_LD | BPF_H | BPF_IND, net::kEthernetHeader), // behind the IP header: the source port
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, gvcp::kPort, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, kAll),
        BPF_STMT(BPF_RET | BPF_K, 0),
    };
}

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
    options.filter = gvcpAndArp();
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
