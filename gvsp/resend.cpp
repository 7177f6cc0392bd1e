#include "gvsp/resend.h"

#include "protocol/gvsp.h"

namespace gvsp {

namespace resend = gvcp::packet_resend;

ResendMessage::ResendMessage(const ResendWish& wish, std::uint16_t requestId, std::uint16_t channel) {
    const std::size_t size = wish.extendedIds ? resend::kExtendedSize : resend::kSize;
    m_size = gvcp::kPayload + size;
    put(gvcp::kKey, gvcp::kCommandKey, 1);
    put(wish.extendedIds ? gvcp::kFlagExtendedIds : 0, gvcp::kCommandFlags, 1);
    put(static_cast<std::uint16_t>(gvcp::Command::PacketResendCmd), gvcp::kCommandCode, 2);
    put(size, gvcp::kLength, 2);
    put(requestId, gvcp::kRequestId, 2);

    put(channel, gvcp::kPayload + resend::kChannel, 2);
    put(wish.first, gvcp::kPayload + resend::kFirst, 4);
    put(wish.last, gvcp::kPayload + resend::kLast, 4);
    if (wish.extendedIds) {
        put(wish.block, gvcp::kPayload + resend::kExtendedBlock, 8);
    } else {
        put(wish.block, gvcp::kPayload + resend::kBlock, 2);
    }
}

void ResendMessage::put(std::uint64_t value, std::size_t offset, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        m_bytes[offset + size - 1 - i] = static_cast<std::uint8_t>(value >> 8 * i);
    }
}

} // namespace gvsp
