#include "transport/gvcp_frame.h"

#include "protocol/internet_checksum.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint16_t kDontFragment = 0x4000;
constexpr std::uint16_t kFragmentBits = 0x3FFF; // more follow, and where a fragment belongs
constexpr std::uint8_t kTimeToLive = 128;
constexpr std::uint8_t kIpv4WithoutOptions = 0x45;

constexpr std::uint16_t kDhcpServer = 67;
constexpr std::uint16_t kDhcpClient = 68;
constexpr std::uint16_t kDhcpServerSwapped = 17152; // 67 in the other byte order is ignored as well

// A command without payload and UDP checksum; `payload` is the bytes that follow the GVCP header.
void command(
    UDPPacket& packet, const frame::Route& route, gvcp::Command code, std::uint8_t flags, std::uint16_t id,
    std::size_t payload) {
    packet.clear();
    frame::udpHeader(packet, route, static_cast<std::uint16_t>(gvcp::kHeader + payload));
    packet.bytes[frame::kGvcp + gvcp::kCommandKey] = gvcp::kKey;
    packet.bytes[frame::kGvcp + gvcp::kCommandFlags] = flags;
    frame::put16<frame::kGvcp + gvcp::kCommandCode>(packet, static_cast<std::uint16_t>(code));
    frame::put16<frame::kGvcp + gvcp::kLength>(packet, static_cast<std::uint16_t>(payload));
    frame::put16<frame::kRequestId>(packet, id);
}

} // namespace

std::uint16_t udp_sum_calc(
    unsigned short length, const unsigned char* sourceIp, const unsigned char* destinationIp,
    unsigned char* data) {
    const std::size_t odd = length % 2;
    if (odd != 0) {
        data[length] = 0;
    }
    return net::InternetChecksum()
        .add(sourceIp, net::kIpSize)
        .add(destinationIp, net::kIpSize)
        .add(net::kIpProtocolUdp)
        .add(length)
        .add(data, length + odd)
        .value();
}

namespace frame {

void udpHeader(UDPPacket& packet, const Route& route, std::uint16_t gvcpLength) {
    std::copy(route.destinationMac.begin(), route.destinationMac.end(), packet.at(net::kDestinationMac));
    std::copy(route.sourceMac.begin(), route.sourceMac.end(), packet.at(net::kSourceMac));
    put16<net::kEtherType>(packet, net::kEtherTypeIpv4);

    packet.bytes[net::kIpVersion] = kIpv4WithoutOptions;
    packet.bytes[net::kIpVersion + 1] = 0;
    put16<net::kIpTotalLength>(
        packet, static_cast<std::uint16_t>(gvcpLength + net::kIpHeader + net::kUdpHeader));
    put16<net::kIpIdentification>(packet, 0);
    put16<net::kIpFragment>(packet, kDontFragment);
    packet.bytes[net::kIpTimeToLive] = kTimeToLive;
    packet.bytes[net::kIpProtocol] = net::kIpProtocolUdp;
    put16<net::kIpChecksum>(packet, 0);
    std::copy(route.sourceIp.begin(), route.sourceIp.end(), packet.at(net::kSourceIp));
    std::copy(route.destinationIp.begin(), route.destinationIp.end(), packet.at(net::kDestinationIp));
    put16<net::kIpChecksum>(
        packet, net::InternetChecksum().add(packet.at(net::kIpVersion), net::kIpHeader).value());

    put16<net::kUdpSourcePort>(packet, route.sourcePort);
    put16<net::kUdpDestinationPort>(packet, route.destinationPort);
    put16<net::kUdpLength>(packet, static_cast<std::uint16_t>(gvcpLength + net::kUdpHeader));
    put16<net::kUdpChecksum>(packet, 0);
}

void udpChecksum(UDPPacket& packet, std::uint16_t gvcpLength) {
    constexpr std::size_t kRoom = UDPPacket::kSize - net::kUdpSourcePort;
    static_assert(kRoom % 2 == 0, "an odd length that fits leaves room for its zero byte");
    const std::size_t length = std::min<std::size_t>(gvcpLength + net::kUdpHeader, kRoom);
    put16<net::kUdpChecksum>(packet, 0);
    put16<net::kUdpChecksum>(
        packet, udp_sum_calc(
                    static_cast<unsigned short>(length), packet.at(net::kSourceIp),
                    packet.at(net::kDestinationIp), packet.at(net::kUdpSourcePort)));
}

unsigned short discovery(UDPPacket& packet, const Route& route, std::uint16_t id, bool broadcastAnswer) {
    const unsigned flags = gvcp::kFlagAckRequired | (broadcastAnswer ? gvcp::kFlagBroadcastAck : 0U);
    command(packet, route, gvcp::Command::DiscoveryCmd, static_cast<std::uint8_t>(flags), id, 0);
    udpChecksum(packet, gvcp::kHeader);
    return net::kMinFrame;
}

unsigned short
forceIp(UDPPacket& packet, const Route& route, std::uint16_t id, const ForcedAddress& address) {
    constexpr std::size_t kSize = gvcp::force_ip::kSize;
    command(
        packet, route, gvcp::Command::ForceIpCmd, gvcp::kFlagAckRequired | gvcp::kFlagBroadcastAck, id,
        kSize);
    const auto put = [&](std::size_t offset, const auto& bytes) {
        std::copy(bytes.begin(), bytes.end(), packet.at(kPayload + offset));
    };
    put(gvcp::force_ip::kMac, address.mac);
    put(gvcp::force_ip::kIp, address.ip);
    put(gvcp::force_ip::kSubnetMask, address.mask);
    put(gvcp::force_ip::kGateway, address.gateway);
    udpChecksum(packet, gvcp::kHeader + kSize);
    return kPayload + kSize;
}

unsigned short readRegister(UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address) {
    return readRegisters(packet, route, id, {&address, 1});
}

unsigned short readRegisters(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::span<const std::uint32_t> addresses) {
    static_assert(kPayload + gvcp::kMaxPayload <= UDPPacket::kSize);
    const std::size_t payload = 4 * addresses.size();
    command(packet, route, gvcp::Command::ReadRegCmd, gvcp::kFlagAckRequired, id, payload);
    std::uint8_t* to = packet.at(kPayload);
    for (const std::uint32_t address : addresses) {
        for (const int shift : {24, 16, 8, 0}) {
            *to++ = static_cast<std::uint8_t>(address >> shift);
        }
    }
    udpChecksum(packet, static_cast<std::uint16_t>(gvcp::kHeader + payload));
    return static_cast<unsigned short>(kPayload + payload);
}

std::size_t registerCount(const UDPPacket& ack, std::size_t size) {
    const std::size_t held = size > kPayload ? size - kPayload : 0;
    return std::min<std::size_t>(get16<kGvcp + gvcp::kLength>(ack), held) / 4;
}

std::uint32_t registerValue(const UDPPacket& ack, std::size_t index) {
    std::uint32_t value = 0;
    for (std::size_t byte = 0; byte < 4; ++byte) {
        value = value << 8 | ack.bytes[kPayload + 4 * index + byte];
    }
    return value;
}

unsigned short writeRegister(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address, std::uint32_t value) {
    command(packet, route, gvcp::Command::WriteRegCmd, gvcp::kFlagAckRequired, id, 8);
    put32<kPayload>(packet, address);
    put32<kPayload + 4>(packet, value);
    return kPayload + 8;
}

unsigned short readMemory(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address, std::uint16_t count) {
    command(packet, route, gvcp::Command::ReadMemCmd, gvcp::kFlagAckRequired, id, 8);
    put32<kPayload>(packet, address);
    put16<kPayload + 6>(packet, count);
    udpChecksum(packet, gvcp::kHeader + 8);
    return kPayload + 8;
}

unsigned short writeMemory(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address, const std::uint8_t* data,
    std::size_t count) {
    count = std::min(count, UDPPacket::kSize - kMemoryData);
    command(packet, route, gvcp::Command::WriteMemCmd, gvcp::kFlagAckRequired, id, 4 + count);
    put32<kPayload>(packet, address);
    std::copy_n(data, count, packet.at(kMemoryData));
    return static_cast<unsigned short>(kMemoryData + count);
}

bool isArp(const UDPPacket& packet) {
    return get16<net::kEtherType>(packet) == net::kEtherTypeArp;
}

bool isArpRequest(const UDPPacket& packet) {
    return isArp(packet) && get16<net::kArpHardware>(packet) == net::kArpEthernet &&
           get16<net::kArpProtocol>(packet) == net::kEtherTypeIpv4 &&
           get16<net::kArpAddressLengths>(packet) == net::kArpIpv4Lengths &&
           get16<net::kArpOperation>(packet) == net::kArpRequest;
}

bool isFromDhcpClient(const UDPPacket& packet) {
    return get16<net::kUdpSourcePort>(packet) == kDhcpClient;
}

Kind classify(const UDPPacket& packet) {
    if (isArp(packet)) {
        return Kind::Arp;
    }
    if (get16<net::kEtherType>(packet) != net::kEtherTypeIpv4 ||
        packet.bytes[net::kIpProtocol] != net::kIpProtocolUdp ||
        (get16<net::kIpFragment>(packet) & kFragmentBits) != 0) {
        return Kind::Ignored;
    }
    const std::uint16_t destinationPort = get16<net::kUdpDestinationPort>(packet);
    if (destinationPort == kDhcpServer || destinationPort == kDhcpServerSwapped) {
        return Kind::Ignored;
    }
    const auto code = static_cast<gvcp::Command>(get16<kGvcp + gvcp::kCommandCode>(packet));
    return code == gvcp::Command::DiscoveryCmd ? Kind::Ignored : Kind::Answer; // another host's discovery
}

void arpReply(UDPPacket& packet, const MacBytes& mac, const IpBytes& ip) {
    put16<net::kArpOperation>(packet, net::kArpReply);
    std::copy_n(packet.at(net::kArpSenderMac), net::kMacSize + net::kIpSize, packet.at(net::kArpTargetMac));
    std::copy(mac.begin(), mac.end(), packet.at(net::kArpSenderMac));
    std::copy(ip.begin(), ip.end(), packet.at(net::kArpSenderIp));
    std::copy_n(packet.at(net::kSourceMac), net::kMacSize, packet.at(net::kDestinationMac));
    std::copy(mac.begin(), mac.end(), packet.at(net::kSourceMac));
}

std::size_t contentLength(const UDPPacket& packet, std::size_t received) {
    const std::size_t total = get16<net::kIpTotalLength>(packet);
    if (total < net::kIpHeader + net::kUdpHeader) {
        return received;
    }
    return std::min(received, net::kEthernetHeader + total);
}

bool isSound(const UDPPacket& packet, std::size_t size) {
    constexpr std::size_t kWord = 4;
    const std::size_t header = (packet.bytes[net::kIpVersion] & 0x0FU) * kWord;
    if (get16<net::kIpChecksum>(packet) != 0 &&
        net::InternetChecksum().add(packet.at(net::kIpVersion), header).value() != 0) {
        return false;
    }
    if (get16<net::kUdpChecksum>(packet) == 0) {
        return true;
    }
    const std::size_t udp = get16<net::kUdpLength>(packet);
    if (udp < net::kUdpHeader || udp > size - net::kUdpSourcePort) {
        return false;
    }
    return net::InternetChecksum()
               .add(packet.at(net::kSourceIp), 2 * net::kIpSize)
               .add(net::kIpProtocolUdp)
               .add(static_cast<std::uint16_t>(udp))
               .add(packet.at(net::kUdpSourcePort), udp)
               .value() == 0;
}

AckFacts ackFacts(const UDPPacket& packet, std::size_t size) {
    constexpr std::size_t kTime = kPayload + gvcp::kPendingTime;
    AckFacts facts;
    facts.sound = isSound(packet, size);
    facts.id = rawRequestId(packet);
    facts.pending = isPending(packet);
    if (facts.pending && size >= kTime + sizeof(std::uint16_t)) {
        facts.in = std::chrono::milliseconds(get16<kTime>(packet));
    }
    return facts;
}

bool isFromTarget(const UDPPacket& ack, const UDPPacket& command) {
    constexpr std::uint32_t kEverybody = 0xFFFFFFFF;
    const std::uint32_t target = get32<net::kDestinationIp>(command);
    return target == kEverybody || target == 0 || get32<net::kSourceIp>(ack) == target;
}

std::uint16_t rawRequestId(const UDPPacket& packet) {
    std::uint16_t id = 0;
    std::memcpy(&id, packet.at(kRequestId), sizeof(id));
    return id;
}

int announcedLength(const UDPPacket& packet) {
    const std::uint8_t* length = packet.at(kGvcp + gvcp::kLength);
    return length[0] | (length[1] << 8);
}

int copyMemory(const UDPPacket& packet, std::size_t size, char* buffer, std::size_t capacity) {
    const auto announced = static_cast<std::int64_t>(announcedLength(packet)) - 4;
    const auto held = static_cast<std::int64_t>(size) - static_cast<std::int64_t>(kMemoryData);
    const auto wanted = static_cast<std::int64_t>(capacity);
    if (size > UDPPacket::kSize || wanted > announced || wanted > held) {
        return -1;
    }
    std::copy_n(packet.at(kMemoryData), capacity, buffer);
    return static_cast<int>(capacity);
}

} // namespace frame
