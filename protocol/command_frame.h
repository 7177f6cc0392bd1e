// A GVCP command within its Ethernet frame: the headers of IPv4 (RFC 791) and UDP (RFC 768) around it, as a
// host sends it to a camera.
#pragma once

#include "protocol/addresses.h"
#include "protocol/gvcp.h"
#include "protocol/internet_checksum.h"
#include "protocol/net.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace net {

// Where commands come from and go to.
struct CommandRoute {
    Mac hostMac;
    Mac cameraMac;
    Ipv4 hostIp;
    Ipv4 cameraIp;
    std::uint16_t udpPort = 0; // of the host
};

// Big-endian.
template<unsigned bytes> void put(std::uint8_t* at, std::uint64_t value) {
    for (unsigned i = 0; i < bytes; ++i) {
        at[i] = static_cast<std::uint8_t>(value >> (8 * (bytes - 1 - i)));
    }
}

// Writes the headers before a command of `size` bytes, which stands at kUdpPayload of the frame already, and
// both checksums. The frame must be zero before the command.
inline void putCommandHeaders(std::uint8_t* frame, const CommandRoute& route, std::size_t size) {
    constexpr std::uint16_t kDontFragment = 0x4000;
    constexpr std::uint8_t kTimeToLive = 128;
    constexpr std::uint8_t kIpv4WithoutOptions = 0x45;
    const auto udpLength = static_cast<std::uint16_t>(kUdpHeader + size);
    std::copy(route.cameraMac.begin(), route.cameraMac.end(), frame + kDestinationMac);
    std::copy(route.hostMac.begin(), route.hostMac.end(), frame + kSourceMac);
    put<2>(frame + kEtherType, kEtherTypeIpv4);
    frame[kIpVersion] = kIpv4WithoutOptions;
    put<2>(frame + kIpTotalLength, kIpHeader + udpLength);
    put<2>(frame + kIpFragment, kDontFragment);
    frame[kIpTimeToLive] = kTimeToLive;
    frame[kIpProtocol] = kIpProtocolUdp;
    std::copy(route.hostIp.begin(), route.hostIp.end(), frame + kSourceIp);
    std::copy(route.cameraIp.begin(), route.cameraIp.end(), frame + kDestinationIp);
    put<2>(frame + kUdpSourcePort, route.udpPort);
    put<2>(frame + kUdpDestinationPort, gvcp::kPort);
    put<2>(frame + kUdpLength, udpLength);
    const std::uint16_t udp = InternetChecksum()
                                  .add(frame + kSourceIp, std::size_t{2} * kIpSize)
                                  .add(kIpProtocolUdp)
                                  .add(udpLength)
                                  .add(frame + kUdpSourcePort, udpLength)
                                  .value();
    put<2>(frame + kUdpChecksum, udp != 0 ? udp : 0xFFFF); // 0 says that there is none
    put<2>(frame + kIpChecksum, InternetChecksum().add(frame + kIpVersion, kIpHeader).value());
}

} // namespace net
