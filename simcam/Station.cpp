#include "simcam/Station.h"

#include "protocol/net.h"
#include "simcam/limits.h"

namespace simcam {

namespace {

constexpr std::uint8_t kVersion4 = 4;
constexpr std::size_t kWord = 4; // unit of the IPv4 header length
constexpr std::uint16_t kDontFragment = 0x4000;
constexpr std::uint16_t kFragmentBits = 0x3FFF; // more fragments, and the offset
constexpr std::uint8_t kTimeToLive = 64;
constexpr std::uint16_t kHardwareEthernet = 1;
constexpr std::uint16_t kNoChecksum = 0;

// The ones' complement sum of RFC 1071 over big-endian words; an odd last byte counts as a high one.
class InternetChecksum {
public:
    InternetChecksum& add(ByteView data) {
        for (std::size_t i = 0; i < data.size(); ++i) {
            m_sum += i % 2 == 0 ? static_cast<std::uint32_t>(data[i]) << 8 : data[i];
        }
        return *this;
    }
    InternetChecksum& addWord(std::uint32_t value) {
        m_sum += (value >> 16) + (value & 0xFFFF);
        return *this;
    }
    std::uint16_t value() const {
        std::uint64_t sum = m_sum;
        while (sum > 0xFFFF) {
            sum = (sum >> 16) + (sum & 0xFFFF);
        }
        return static_cast<std::uint16_t>(~sum);
    }

private:
    std::uint64_t m_sum = 0;
};

std::uint16_t udpChecksum(std::uint32_t from, std::uint32_t to, ByteView udp) {
    InternetChecksum sum;
    sum.addWord(from).addWord(to).addWord(net::kIpProtocolUdp);
    return sum.addWord(static_cast<std::uint32_t>(udp.size())).add(udp).value();
}

// The datagram in an IP packet's payload, when its length and its checksum are right.
std::optional<Datagram> readUdp(ByteView content, const Peer& from, std::uint32_t toIp) {
    Reader udp(content);
    Datagram datagram;
    datagram.from = from;
    datagram.from.port = udp.u16();
    datagram.toPort = udp.u16();
    const std::size_t length = udp.u16();
    const std::uint16_t checksum = udp.u16();
    if (!udp.ok() || length < net::kUdpHeader || length > content.size()) {
        return std::nullopt;
    }
    const ByteView whole = content.first(length);
    if (checksum != kNoChecksum && udpChecksum(from.ip, toIp, whole) != 0) {
        return std::nullopt;
    }
    datagram.payload = whole.subspan(net::kUdpHeader);
    return datagram;
}

Bytes padded(Writer& frame) {
    if (frame.size() < net::kMinFrame) {
        frame.zeros(net::kMinFrame - frame.size());
    }
    return frame.take();
}

} // namespace

Received Station::receive(ByteView frame) {
    Reader reader(frame);
    const Mac to = reader.u48();
    const Mac from = reader.u48();
    const std::uint16_t type = reader.u16();
    if (!reader.ok() || frame.size() > kMaxFrame || (to != m_mac && to != kBroadcastMac)) {
        return {};
    }
    if (type == net::kEtherTypeArp) {
        return receiveArp(reader);
    }
    Received received;
    if (type == net::kEtherTypeIpv4) {
        received.datagram = receiveIp(frame.subspan(net::kEthernetHeader), from, to == kBroadcastMac);
    }
    return received;
}

Received Station::receiveArp(Reader reader) {
    const bool ethernet = reader.u16() == kHardwareEthernet;
    const bool ipv4 = reader.u16() == net::kEtherTypeIpv4;
    const bool sizes = reader.u8() == net::kMacSize && reader.u8() == net::kIpSize;
    const std::uint16_t operation = reader.u16();
    const Mac senderMac = reader.u48();
    const std::uint32_t senderIp = reader.u32();
    reader.skip(net::kMacSize);
    const std::uint32_t targetIp = reader.u32();
    Received received;
    if (!reader.ok() || !ethernet || !ipv4 || !sizes) {
        return received;
    }
    received.arp = ArpMessage{operation == net::kArpRequest, {senderMac, senderIp, 0}, targetIp};
    if (targetIp != m_ip.address || m_ip.address == 0) {
        return received;
    }
    learn(senderIp, senderMac);
    if (operation == net::kArpRequest) {
        const Mac asker = m_replies == ArpReplies::ToAll ? kBroadcastMac : senderMac;
        received.answer = arp(net::kArpReply, asker, m_ip.address, senderMac, senderIp);
    }
    return received;
}

std::optional<Datagram> Station::receiveIp(ByteView packet, Mac from, bool broadcastFrame) {
    Reader ip(packet);
    const std::uint8_t versionAndLength = ip.u8();
    const std::size_t headerLength = (versionAndLength & 0x0Fu) * kWord;
    ip.skip(1);
    const std::size_t totalLength = ip.u16();
    ip.skip(2);
    const std::uint16_t fragment = ip.u16();
    ip.skip(1);
    const std::uint8_t protocol = ip.u8();
    ip.skip(2);
    const Peer sender{from, ip.u32(), 0};
    const std::uint32_t to = ip.u32();
    const bool header = ip.ok() && versionAndLength >> 4 == kVersion4 && headerLength >= net::kIpHeader &&
                        headerLength <= totalLength && totalLength <= packet.size();
    if (!header || InternetChecksum().add(packet.first(headerLength)).value() != 0) {
        return std::nullopt;
    }
    const bool broadcast = to == kBroadcastIp || to == (m_ip.address | ~m_ip.mask);
    const bool forUs = (to == m_ip.address && to != 0) || (broadcast && broadcastFrame);
    if (!forUs || protocol != net::kIpProtocolUdp || (fragment & kFragmentBits) != 0) {
        return std::nullopt;
    }
    auto datagram = readUdp(packet.subspan(headerLength, totalLength - headerLength), sender, to);
    if (datagram) {
        datagram->broadcast = broadcast;
        learn(sender.ip, from);
    }
    return datagram;
}

Bytes Station::datagramHead(
    const Peer& to, std::uint16_t fromPort, std::size_t size, bool dontFragment) const {
    Writer frame;
    frame.u48(to.mac).u48(m_mac).u16(net::kEtherTypeIpv4);
    frame.u8(kVersion4 << 4 | net::kIpHeader / kWord).u8(0);
    frame.u16(static_cast<std::uint16_t>(net::kIpHeader + net::kUdpHeader + size));
    frame.u16(0).u16(dontFragment ? kDontFragment : 0).u8(kTimeToLive).u8(net::kIpProtocolUdp);
    frame.u16(0).u32(m_ip.address).u32(to.ip);
    const ByteView ip = frame.view().subspan(net::kEthernetHeader);
    frame.patchU16(net::kIpChecksum, InternetChecksum().add(ip).value());
    frame.u16(fromPort).u16(to.port).u16(static_cast<std::uint16_t>(net::kUdpHeader + size));
    frame.u16(kNoChecksum);
    return frame.take();
}

Bytes Station::datagram(const Peer& to, std::uint16_t fromPort, ByteView payload) const {
    Writer frame;
    frame.bytes(datagramHead(to, fromPort, payload.size(), true)).bytes(payload);
    const ByteView udp = frame.view().subspan(net::kEthernetHeader + net::kIpHeader);
    const std::uint16_t checksum = udpChecksum(m_ip.address, to.ip, udp);
    const bool none = checksum == kNoChecksum; // a sent 0 would mean "none"
    frame.patchU16(net::kUdpChecksum, none ? 0xFFFF : checksum);
    return padded(frame);
}

Bytes Station::arp(
    std::uint16_t operation, Mac to, std::uint32_t senderIp, Mac targetMac, std::uint32_t targetIp) const {
    Writer frame;
    frame.u48(to).u48(m_mac).u16(net::kEtherTypeArp);
    frame.u16(kHardwareEthernet).u16(net::kEtherTypeIpv4).u8(net::kMacSize).u8(net::kIpSize).u16(operation);
    frame.u48(m_mac).u32(senderIp).u48(targetMac).u32(targetIp);
    return padded(frame);
}

Bytes Station::arpRequest(std::uint32_t ip) const {
    return arp(net::kArpRequest, kBroadcastMac, m_ip.address, 0, ip);
}

Bytes Station::arpProbe(std::uint32_t ip) const {
    return arp(net::kArpRequest, kBroadcastMac, 0, 0, ip);
}

Bytes Station::arpAnnouncement() const {
    return arpRequest(m_ip.address);
}

std::optional<Mac> Station::neighbour(std::uint32_t ip) const {
    const auto found = m_neighbours.find(ip);
    return found == m_neighbours.end() ? std::nullopt : std::optional(found->second);
}

void Station::learn(std::uint32_t ip, Mac mac) {
    const bool isAddress = ip != 0 && (mac >> 40 & 1) == 0; // neither a probe nor a group's
    const bool room = m_neighbours.size() < kArpEntries || m_neighbours.contains(ip);
    if (!isAddress || (!room && ip != m_awaited)) {
        return;
    }
    if (!room) {
        m_neighbours.erase(m_neighbours.begin());
    }
    m_neighbours[ip] = mac;
}

} // namespace simcam
