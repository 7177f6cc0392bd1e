// GVSP, the GigE Vision stream protocol: what packets of a stream consist of (GigE Vision 1.2, chapters 23 to
// 26; extended ids are those of 2.0). All numbers are big-endian. Pixel format values carry their bits per
// pixel in bits 16 to 23.
//
//   0        2          4        5                8
//   | status | block id | format | packet id      |                                       8 bytes
//
//   0        2       4        5              8                  16             20
//   | status | flags | format | reserved     | block id         | packet id    |        20 bytes, extended
//
// A block is an image with what belongs to it: packet 0 is its leader, the last one its trailer. Block ids
// count from 1; with 16 bits 65535 is followed by 1. Block id 0 marks a test packet.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace gvsp {

inline constexpr std::size_t kHeader = 8;          // of each stream packet, after the UDP header
inline constexpr std::size_t kExtendedHeader = 20; // likewise, with extended ids
inline constexpr std::size_t kPacketOverhead = 36; // IPv4 (20), UDP (8) and GVSP (8) headers
inline constexpr std::size_t kExtendedPacketOverhead = 48;

// Offsets in the header.
inline constexpr std::size_t kStatus = 0;
inline constexpr std::size_t kBlockId = 2; // 16 bits; the flags with extended ids
inline constexpr std::size_t kFlags = 2;
inline constexpr std::size_t kFormat = 4;
inline constexpr std::size_t kPacketId = 5; // 24 bits
inline constexpr std::size_t kExtendedBlockId = 8;
inline constexpr std::size_t kExtendedPacketId = 16;

inline constexpr std::uint8_t kExtendedIds = 0x80; // in the byte of the format
inline constexpr std::uint32_t kLastPacketId = 0xFFFFFF;
inline constexpr std::uint64_t kTestBlock = 0;
inline constexpr std::uint64_t kLastShortBlock = 65535;

enum class Format : std::uint8_t {
    Leader = 1,
    Trailer = 2,
    Payload = 3,
    AllIn = 4,
    H264 = 5,
    MultiZone = 6,
    MultiPart = 7,
    GenDc = 8,
};

enum class Status : std::uint16_t {
    Success = 0,
    Resent = 0x0100,
    PacketUnavailable = 0x800C,
    DataOverrun = 0x800D,
    NotYetAvailable = 0x8010,
    RemovedWithAllBefore = 0x8011,
    Removed = 0x8012,
    TemporarilyUnavailable = 0x8014,
    Overflow = 0x8017, // of a leader or trailer
};

// Of the flags.
inline constexpr std::uint16_t kFlagResent = 0x0001;
inline constexpr std::uint16_t kFlagPreviousBlockDropped = 0x0002;
inline constexpr std::uint16_t kFlagResendRangeError = 0x0004;

enum class PayloadType : std::uint16_t {
    Image = 1,
    Raw = 2,
    File = 3,
    ChunkData = 4,
    ExtendedChunkData = 5,
    Jpeg = 6,
    Jpeg2000 = 7,
    H264 = 8,
    MultiZone = 9,
    MultiPart = 10,
    GenDc = 11,
};
inline constexpr std::uint16_t kWithChunks = 0x4000; // added to a payload type: chunks follow the image

// Leader, offsets behind the header.
inline constexpr std::size_t kLeaderPayloadType = 2; // 16 bits, of every leader and trailer
inline constexpr std::size_t kLeaderTimestamp = 4;   // 64 bits, of every leader
inline constexpr std::size_t kPlainLeader = 12;      // chunk data has no more
inline constexpr std::size_t kRawLeader = 20;        // raw data: and the size, 64 bits
// Of an image.
inline constexpr std::size_t kLeaderPixelFormat = 12;
inline constexpr std::size_t kLeaderWidth = 16;
inline constexpr std::size_t kLeaderHeight = 20;
inline constexpr std::size_t kLeaderOffsetX = 24;
inline constexpr std::size_t kLeaderOffsetY = 28;
inline constexpr std::size_t kLeaderPaddingX = 32; // 16 bits: bytes at the end of each line
inline constexpr std::size_t kLeaderPaddingY = 34; // 16 bits: bytes at the end of the image
inline constexpr std::size_t kImageLeader = 36;

// Trailer, offsets behind the header.
inline constexpr std::size_t kTrailerPayloadType = 2;
inline constexpr std::size_t kPlainTrailer = 4; // raw data has no more
// Of an image, and an image with chunks.
inline constexpr std::size_t kTrailerHeight = 4; // lines that were really sent
inline constexpr std::size_t kImageTrailer = 8;
inline constexpr std::size_t kTrailerChunkLength = 8; // of a trailer with chunks: bytes of payload
inline constexpr std::size_t kTrailerChunkLayout = 12;
inline constexpr std::size_t kChunkTrailer = 16;
// Of chunk data, and of extended chunk data, which goes on with height and layout.
inline constexpr std::size_t kChunkDataTrailerLength = 4; // bytes of payload
inline constexpr std::size_t kChunkDataTrailer = 8;
inline constexpr std::size_t kExtendedChunkTrailerHeight = 8;

// An all-in packet is a whole block: leader, trailer, then payload, each without a header of its own.

// What stands behind the bytes of each chunk: its id and its length, 32 bits each. Chunks are found from the
// end of the payload backwards; the image is the first of them.
inline constexpr std::size_t kChunkId = 0;
inline constexpr std::size_t kChunkLength = 4;
inline constexpr std::size_t kChunkMark = 8;

struct PixelFormat {
    std::string_view name;
    std::uint32_t value;
};

inline constexpr unsigned bitsPerPixel(std::uint32_t format) {
    return (format >> 16) & 0xFF;
}

inline constexpr std::array kPixelFormats{
    PixelFormat{"Mono8", 0x01080001},         PixelFormat{"Mono8Signed", 0x01080002},
    PixelFormat{"Mono10", 0x01100003},        PixelFormat{"Mono10Packed", 0x010C0004},
    PixelFormat{"Mono12", 0x01100005},        PixelFormat{"Mono12Packed", 0x010C0006},
    PixelFormat{"Mono16", 0x01100007},        PixelFormat{"BayerGR8", 0x01080008},
    PixelFormat{"BayerRG8", 0x01080009},      PixelFormat{"BayerGB8", 0x0108000A},
    PixelFormat{"BayerBG8", 0x0108000B},      PixelFormat{"BayerGR10", 0x0110000C},
    PixelFormat{"BayerRG10", 0x0110000D},     PixelFormat{"BayerGB10", 0x0110000E},
    PixelFormat{"BayerBG10", 0x0110000F},     PixelFormat{"BayerGR12", 0x01100010},
    PixelFormat{"BayerRG12", 0x01100011},     PixelFormat{"BayerGB12", 0x01100012},
    PixelFormat{"BayerBG12", 0x01100013},     PixelFormat{"RGB8Packed", 0x02180014},
    PixelFormat{"BGR8Packed", 0x02180015},    PixelFormat{"RGBA8Packed", 0x02200016},
    PixelFormat{"BGRA8Packed", 0x02200017},   PixelFormat{"RGB10Packed", 0x02300018},
    PixelFormat{"BGR10Packed", 0x02300019},   PixelFormat{"RGB12Packed", 0x0230001A},
    PixelFormat{"BGR12Packed", 0x0230001B},   PixelFormat{"RGB10V1Packed", 0x0220001C},
    PixelFormat{"BGR10V2Packed", 0x0220001D}, PixelFormat{"YUV411Packed", 0x020C001E},
    PixelFormat{"YUV422Packed", 0x0210001F},  PixelFormat{"YUV444Packed", 0x02180020},
    PixelFormat{"RGB8Planar", 0x02180021},    PixelFormat{"RGB10Planar", 0x02300022},
    PixelFormat{"RGB12Planar", 0x02300023},   PixelFormat{"RGB16Planar", 0x02300024},
};

} // namespace gvsp
