#include "softboard/resend_command.h"

#include "gvsp/resend.h"
#include "protocol/internet_checksum.h"
#include "protocol/net.h"

#include <algorithm>

namespace softboard {

namespace {

constexpr std::uint16_t kDontFragment = 0x4000;
constexpr std::uint8_t kTimeToLive = 128;
constexpr std::uint8_t kIpv4WithoutOptions = 0x45;
constexpr std::size_t kCommand = net::kUdpPayload;

using Frame = std::array<std::uint8_t, kResendFrame>;

template<unsigned bytes> void put(Frame& frame, std::size_t at, std::uint64_t value) {
    for (unsigned i = 0; i < bytes; ++i) {
        frame[at + i] = static_cast<std::uint8_t>(value >> (8 * (bytes - 1 - i)));
    }
}

template<class Address> void put(Frame& frame, std::size_t at, const Address& address) {
    std::copy(address.begin(), address.end(), frame.begin() + static_cast<std::ptrdiff_t>(at));
}

// Checksums are zero still.
void putHeaders(Frame& frame, const ResendRoute& route, std::size_t udpLength) {
    put(frame, net::kDestinationMac, route.cameraMac);
    put(frame, net::kSourceMac, route.hostMac);
    put<2>(frame, net::kEtherType, net::kEtherTypeIpv4);
    frame[net::kIpVersion] = kIpv4WithoutOptions;
    put<2>(frame, net::kIpTotalLength, net::kIpHeader + udpLength);
    put<2>(frame, net::kIpFragment, kDontFragment);
    frame[net::kIpTimeToLive] = kTimeToLive;
    frame[net::kIpProtocol] = net::kIpProtocolUdp;
    put(frame, net::kSourceIp, route.hostIp);
    put(frame, net::kDestinationIp, route.cameraIp);
    put<2>(frame, net::kUdpSourcePort, route.udpPort);
    put<2>(frame, net::kUdpDestinationPort, gvcp::kPort);
    put<2>(frame, net::kUdpLength, udpLength);
}

void putChecksums(Frame& frame, std::uint16_t udpLength) {
    const std::uint16_t udp = net::InternetChecksum()
                                  .add(&frame[net::kSourceIp], std::size_t{2} * net::kIpSize)
                                  .add(net::kIpProtocolUdp)
                                  .add(udpLength)
                                  .add(&frame[net::kUdpSourcePort], udpLength)
                                  .value();
    put<2>(frame, net::kUdpChecksum, udp != 0 ? udp : 0xFFFF); // 0 says that there is none
    put<2>(
        frame, net::kIpChecksum,
        net::InternetChecksum().add(&frame[net::kIpVersion], net::kIpHeader).value());
}

} // namespace

std::size_t
buildResend(const ResendRoute& route, const gvsp::ResendWish& wish, std::uint16_t requestId, Frame& frame) {
    const gvsp::ResendMessage message(wish, requestId);
    const auto udpLength = static_cast<std::uint16_t>(net::kUdpHeader + message.bytes().size());
    frame = {};
    putHeaders(frame, route, udpLength);
    put(frame, kCommand, message.bytes());
    putChecksums(frame, udpLength);
    return kCommand + message.bytes().size();
}

} // namespace softboard
