// PACKETRESEND commands as whole frames.
#pragma once

#include "gvsp/Receiver.h"

#include "protocol/command_frame.h"
#include "protocol/gvcp.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace softboard {

// From the port that receives a stream, by the UDP port of the stream, to the camera that sends it.
using ResendRoute = net::CommandRoute;

inline constexpr std::size_t kResendFrame =
    net::kUdpPayload + gvcp::kHeader + gvcp::packet_resend::kExtendedSize;

// Writes the command into `frame` and returns its size.
std::size_t buildResend(
    const ResendRoute& route, const gvsp::ResendWish& wish, std::uint16_t requestId,
    std::array<std::uint8_t, kResendFrame>& frame);

} // namespace softboard
