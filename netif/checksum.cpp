#include "netif/checksum.h"

#include "protocol/internet_checksum.h"
#include "protocol/net.h"

namespace netif {

namespace {

constexpr std::uint8_t kIpProtocolTcp = 6;
constexpr std::size_t kTcpChecksum = 16; // within the TCP header
constexpr std::size_t kTcpHeader = 20;
constexpr std::size_t kUdpChecksum = net::kUdpChecksum - net::kUdpSourcePort;

std::uint32_t big16(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0] << 8 | bytes[1]);
}

} // namespace

void fillTransportChecksum(std::uint8_t* frame, std::size_t size) {
    if (size < net::kEthernetHeader + net::kIpHeader ||
        big16(frame + net::kEtherType) != net::kEtherTypeIpv4) {
        return;
    }
    const std::size_t ipHeader = std::size_t{4} * (frame[net::kIpVersion] & 0x0FU);
    const std::size_t total = big16(frame + net::kIpTotalLength);
    const std::uint8_t protocol = frame[net::kIpProtocol];
    const bool udp = protocol == net::kIpProtocolUdp;
    const std::size_t header = udp ? net::kUdpHeader : kTcpHeader;
    if ((!udp && protocol != kIpProtocolTcp) || ipHeader < net::kIpHeader || total < ipHeader + header ||
        total > size - net::kEthernetHeader) {
        return;
    }
    const std::size_t length = total - ipHeader;
    std::uint8_t* const segment = frame + net::kEthernetHeader + ipHeader;
    std::uint8_t* const place = segment + (udp ? kUdpChecksum : kTcpChecksum);
    place[0] = place[1] = 0;
    std::uint16_t checksum = net::InternetChecksum()
                                 .add(frame + net::kSourceIp, std::size_t{2} * net::kIpSize)
                                 .add(protocol)
                                 .add(static_cast<std::uint16_t>(length))
                                 .add(segment, length)
                                 .value();
    if (udp && checksum == 0) {
        checksum = 0xFFFF; // 0 says that there is none
    }
    place[0] = static_cast<std::uint8_t>(checksum >> 8);
    place[1] = static_cast<std::uint8_t>(checksum);
}

} // namespace netif
