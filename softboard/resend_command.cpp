#include "softboard/resend_command.h"

#include "protocol/internet_checksum.h"
#include "protocol/net.h"

#include <algorithm>

namespace softboard {

namespace {

constexpr std::uint16_t kDontFragment = 0x4000;
constexpr std::uint8_t kTimeToLive = 128;
constexpr std::uint8_t kIpv4WithoutOptions = 0x45;
constexpr std::uint8_t kNoAck = 0; // what comes is the packets
constexpr std::size_t kCommand = net::kUdpPayload;
constexpr std::size_t kData = kCommand + gvcp::kHeader;

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
    namespace resend = gvcp::packet_resend;
    const std::size_t size = wish.extendedIds ? resend::kExtendedSize : resend::kSize;
    const auto udpLength = static_cast<std::uint16_t>(net::kUdpHeader + gvcp::kHeader + size);
    frame = {};
    putHeaders(frame, route, udpLength);
    frame[kCommand + gvcp::kCommandKey] = gvcp::kKey;
    frame[kCommand + gvcp::kCommandFlags] = wish.extendedIds ? gvcp::kFlagExtendedIds : kNoAck;
    put<2>(frame, kCommand + gvcp::kCommandCode, static_cast<std::uint16_t>(gvcp::Command::PacketResendCmd));
    put<2>(frame, kCommand + gvcp::kLength, size);
    put<2>(frame, kCommand + gvcp::kRequestId, requestId);
    put<4>(frame, kData + resend::kFirst, wish.first);
    put<4>(frame, kData + resend::kLast, wish.last);
    if (wish.extendedIds) {
        put<8>(frame, kData + resend::kExtendedBlock, wish.block);
    } else {
        put<2>(frame, kData + resend::kBlock, wish.block);
    }
    putChecksums(frame, udpLength);
    return kData + size;
}

} // namespace softboard
