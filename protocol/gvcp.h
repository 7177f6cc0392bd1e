// GVCP, the GigE Vision control protocol: numbers and field offsets (GigE Vision 1.2, chapters 14 to 18).
// Offsets count from the first byte of the UDP payload. All fields are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace gvcp {

inline constexpr std::uint16_t kPort = 3956;
inline constexpr std::uint8_t kKey = 0x42;
inline constexpr std::size_t kHeader = 8;
inline constexpr std::size_t kMaxPayload = 540;     // so that the whole IP packet stays within 576 bytes
inline constexpr std::size_t kMaxMemoryBlock = 536; // data bytes of one READMEM or WRITEMEM
inline constexpr std::size_t kMaxRegisters = kMaxPayload / 4; // addresses of one READREG

// Command header
inline constexpr std::size_t kCommandKey = 0;
inline constexpr std::size_t kCommandFlags = 1;
inline constexpr std::size_t kCommandCode = 2;
inline constexpr std::size_t kLength = 4; // of what follows the header, in commands and acknowledgements
inline constexpr std::size_t kRequestId = 6;
inline constexpr std::size_t kPayload = 8;

// Acknowledgement header
inline constexpr std::size_t kAckStatus = 0;
inline constexpr std::size_t kAckCode = 2;
inline constexpr std::size_t kAckId = 6;

// PENDING_ACK: offset within its payload
inline constexpr std::size_t kPendingTime = 2; // milliseconds until the answer (2 bytes)

inline constexpr std::uint8_t kFlagAckRequired = 0x01;
inline constexpr std::uint8_t kFlagBroadcastAck = 0x10; // DISCOVERY and FORCEIP: the answer may be broadcast

enum class Command : std::uint16_t {
    DiscoveryCmd = 0x0002,
    DiscoveryAck = 0x0003,
    ForceIpCmd = 0x0004,
    ForceIpAck = 0x0005,
    PacketResendCmd = 0x0040,
    ReadRegCmd = 0x0080,
    ReadRegAck = 0x0081,
    WriteRegCmd = 0x0082,
    WriteRegAck = 0x0083,
    ReadMemCmd = 0x0084,
    ReadMemAck = 0x0085,
    WriteMemCmd = 0x0086,
    WriteMemAck = 0x0087,
    PendingAck = 0x0089,
    EventCmd = 0x00C0,
    EventAck = 0x00C1,
};

enum class Status : std::uint16_t {
    Success = 0x0000,
    PacketResend = 0x0100,
    NotImplemented = 0x8001,
    InvalidParameter = 0x8002,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    BadAlignment = 0x8005,
    AccessDenied = 0x8006,
    Busy = 0x8007,
    LocalProblem = 0x8008,
    MessageMismatch = 0x8009,
    InvalidProtocol = 0x800A,
    NoMessage = 0x800B,
    PacketUnavailable = 0x800C,
    DataOverrun = 0x800D,
    InvalidHeader = 0x800E,
    WrongConfiguration = 0x800F,
    Error = 0x8FFF,
};

// DISCOVERY acknowledgement: offsets within its payload
namespace discovery {
inline constexpr std::size_t kSpecVersion = 0; // major (2), minor (2)
inline constexpr std::size_t kDeviceMode = 4;
inline constexpr std::size_t kMac = 10; // high 2 bytes, low 4 bytes
inline constexpr std::size_t kIpOptions = 16;
inline constexpr std::size_t kIpCurrentOptions = 20;
inline constexpr std::size_t kIp = 36;
inline constexpr std::size_t kSubnetMask = 52;
inline constexpr std::size_t kGateway = 68;
inline constexpr std::size_t kManufacturerName = 72;
inline constexpr std::size_t kModelName = 104;
inline constexpr std::size_t kDeviceVersion = 136;
inline constexpr std::size_t kManufacturerInfo = 168;
inline constexpr std::size_t kSerialNumber = 216;
inline constexpr std::size_t kUserDefinedName = 232;
inline constexpr std::size_t kSize = 248;
} // namespace discovery

// FORCEIP command: offsets within its payload; all else in it is reserved
namespace force_ip {
inline constexpr std::size_t kMac = 2; // high 2 bytes, low 4 bytes
inline constexpr std::size_t kIp = 20; // 0: the device is to configure itself
inline constexpr std::size_t kSubnetMask = 36;
inline constexpr std::size_t kGateway = 52;
inline constexpr std::size_t kSize = 56;
} // namespace force_ip

// PACKETRESEND command, which has no acknowledgement: offsets within its payload. The flag says which form it
// has; block ids and packet ids are those of the stream.
inline constexpr std::uint8_t kFlagExtendedIds = 0x10;
namespace packet_resend {
inline constexpr std::size_t kChannel = 0; // 2 bytes
inline constexpr std::size_t kBlock = 2;   // 2 bytes; reserved with extended ids
inline constexpr std::size_t kFirst = 4;   // 4 bytes, of which 3 count without extended ids
inline constexpr std::size_t kLast = 8;    // likewise
inline constexpr std::size_t kSize = 12;
inline constexpr std::size_t kExtendedBlock = 12; // 8 bytes, with extended ids only
inline constexpr std::size_t kExtendedSize = 20;
} // namespace packet_resend

} // namespace gvcp
