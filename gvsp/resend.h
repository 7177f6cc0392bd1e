// The message that asks a camera for packets again. It has no acknowledgement: what comes is the packets, or
// packets with a status that says why not.
#pragma once

#include "gvsp/Receiver.h"
#include "protocol/gvcp.h"

#include <array>
#include <cstdint>
#include <span>

namespace gvsp {

class ResendMessage {
public:
    // `requestId` is any but 0; `channel` counts from 0.
    ResendMessage(const ResendWish& wish, std::uint16_t requestId, std::uint16_t channel = 0);

    // A whole GVCP message with its header, for the camera's port 3956; valid as long as this object.
    std::span<const std::uint8_t> bytes() const { return std::span(m_bytes).first(m_size); }

private:
    void put(std::uint64_t value, std::size_t offset, std::size_t size);

    std::array<std::uint8_t, gvcp::kPayload + gvcp::packet_resend::kExtendedSize> m_bytes{};
    std::size_t m_size;
};

} // namespace gvsp
