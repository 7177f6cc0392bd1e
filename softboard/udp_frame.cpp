#include "softboard/udp_frame.h"

#include "protocol/internet_checksum.h"
#include "protocol/net.h"

#include <algorithm>

namespace softboard {

namespace {

// Offsets in the UDP header.
constexpr std::size_t kDestination = net::kUdpDestinationPort - net::kUdpSourcePort;
constexpr std::size_t kLength = net::kUdpLength - net::kUdpSourcePort;
constexpr std::size_t kChecksum = net::kUdpChecksum - net::kUdpSourcePort;

bool rightChecksum(const std::uint8_t* frame, const std::uint8_t* udp, std::uint16_t length) {
    return big16(udp + kChecksum) == 0 || net::InternetChecksum()
                                                  .add(frame + net::kSourceIp, std::size_t{2} * net::kIpSize)
                                                  .add(net::kIpProtocolUdp)
                                                  .add(length)
                                                  .add(udp, length)
                                                  .value() == 0;
}

} // namespace

std::size_t udpHeader(const std::uint8_t* frame, std::size_t size) {
    constexpr std::uint16_t kFragmentBits = 0x3FFF; // more fragments, and the offset
    if (size < net::kUdpPayload || big16(frame + net::kEtherType) != net::kEtherTypeIpv4 ||
        frame[net::kIpVersion] >> 4 != 4 || frame[net::kIpProtocol] != net::kIpProtocolUdp ||
        (big16(frame + net::kIpFragment) & kFragmentBits) != 0) {
        return 0;
    }
    const std::size_t header = net::kEthernetHeader + std::size_t{4} * (frame[net::kIpVersion] & 0x0FU);
    return header >= net::kUdpSourcePort && header + net::kUdpHeader <= size ? header : 0;
}

std::optional<std::span<const std::uint8_t>>
streamPacket(const StreamAddress& stream, const std::uint8_t* frame, std::size_t size, bool verified) {
    const std::size_t udp = udpHeader(frame, size);
    if (udp == 0 || big16(frame + udp + kDestination) != stream.udpPort ||
        !std::equal(stream.camera.begin(), stream.camera.end(), frame + net::kSourceIp)) {
        return std::nullopt;
    }
    const std::uint16_t length = big16(frame + udp + kLength);
    if (length < net::kUdpHeader || length > size - udp ||
        (!verified && !rightChecksum(frame, frame + udp, length))) {
        return std::nullopt;
    }
    return std::span(frame + udp + net::kUdpHeader, length - net::kUdpHeader);
}

} // namespace softboard
