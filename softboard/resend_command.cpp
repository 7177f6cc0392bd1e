#include "softboard/resend_command.h"

#include "gvsp/resend.h"

#include <algorithm>

namespace softboard {

std::size_t buildResend(
    const ResendRoute& route, const gvsp::ResendWish& wish, std::uint16_t requestId,
    std::array<std::uint8_t, kResendFrame>& frame) {
    const gvsp::ResendMessage message(wish, requestId);
    const std::size_t size = message.bytes().size();
    frame = {};
    std::copy(message.bytes().begin(), message.bytes().end(), &frame[net::kUdpPayload]);
    net::putCommandHeaders(frame.data(), route, size);
    return net::kUdpPayload + size;
}

} // namespace softboard
