// UDP datagrams within Ethernet frames, and which of them are an image stream's.
#pragma once

#include "protocol/addresses.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace softboard {

inline std::uint16_t big16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

// Where a stream comes from and where it goes to: packets of one camera to one UDP port.
struct StreamAddress {
    net::Ipv4 camera;
    std::uint16_t udpPort = 0;
};

// Offset of the UDP header of an unfragmented IPv4 datagram; 0 when the frame is none.
std::size_t udpHeader(const std::uint8_t* frame, std::size_t size);

// The data of a stream's packet; nothing when the frame is none, is shorter than its headers say, or has a
// checksum that is wrong. A checksum of 0 is none.
std::optional<std::span<const std::uint8_t>>
streamPacket(const StreamAddress& stream, const std::uint8_t* frame, std::size_t size, bool verified);

} // namespace softboard
