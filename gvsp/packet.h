// One packet of a stream as it lies in its datagram.
#pragma once

#include "protocol/gvsp.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace gvsp {

inline std::uint16_t big16(const std::uint8_t* at) {
    return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

inline std::uint32_t big32(const std::uint8_t* at) {
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

// In one expression, of which compilers make one load.
inline std::uint64_t big64(const std::uint8_t* at) {
    return std::uint64_t{at[0]} << 56 | std::uint64_t{at[1]} << 48 | std::uint64_t{at[2]} << 40 |
           std::uint64_t{at[3]} << 32 | std::uint64_t{at[4]} << 24 | std::uint64_t{at[5]} << 16 |
           std::uint64_t{at[6]} << 8 | at[7];
}

struct Packet {
    std::uint16_t status = 0;
    std::uint16_t flags = 0; // with extended ids
    std::uint8_t format = 0; // as it lies there, with the bit of extended ids
    std::uint32_t id = 0;    // within the block
    std::uint64_t block = 0;
    std::span<const std::uint8_t> content; // behind the header

    bool extended() const { return (format & kExtendedIds) != 0; }
    Format kind() const { return static_cast<Format>(format & ~kExtendedIds); }
    bool isError() const { return (status & 0x8000) != 0; }
    bool saysResent() const {
        return status == static_cast<std::uint16_t>(Status::Resent) || (flags & kFlagResent) != 0;
    }
};

// False when the datagram is shorter than its header.
inline bool read(std::span<const std::uint8_t> datagram, Packet& out) {
    const std::uint8_t* bytes = datagram.data();
    if (datagram.size() < kHeader) {
        return false;
    }
    out.status = big16(bytes + kStatus);
    out.format = bytes[kFormat];
    if ((out.format & kExtendedIds) == 0) {
        out.block = big16(bytes + kBlockId);
        out.id = big32(bytes + kFormat) & kLastPacketId;
        out.content = datagram.subspan(kHeader);
        return true;
    }
    if (datagram.size() < kExtendedHeader) {
        return false;
    }
    out.flags = big16(bytes + kFlags);
    out.block = big64(bytes + kExtendedBlockId);
    out.id = big32(bytes + kExtendedPacketId);
    out.content = datagram.subspan(kExtendedHeader);
    return true;
}

} // namespace gvsp
