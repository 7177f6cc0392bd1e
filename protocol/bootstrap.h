// The bootstrap registers of a GigE Vision device (GigE Vision 1.2, chapter 27): addresses and sizes in bytes
// of camera memory. Registers are 4 bytes, big-endian; texts are as long as their size and zero-padded.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bootstrap {

using Address = std::uint32_t;

inline constexpr Address kVersion = 0x0000; // of GigE Vision: major (16 bits), minor (16 bits)
inline constexpr Address kDeviceMode = 0x0004;
inline constexpr Address kMacHigh = 0x0008; // low 16 bits
inline constexpr Address kMacLow = 0x000C;
inline constexpr Address kInterfaceCapability = 0x0010;
inline constexpr Address kInterfaceConfiguration = 0x0014;
inline constexpr Address kCurrentIp = 0x0024;
inline constexpr Address kCurrentSubnetMask = 0x0034;
inline constexpr Address kCurrentGateway = 0x0044;
inline constexpr Address kManufacturerName = 0x0048;
inline constexpr Address kModelName = 0x0068;
inline constexpr Address kDeviceVersion = 0x0088;
inline constexpr Address kManufacturerInfo = 0x00A8;
inline constexpr Address kSerialNumber = 0x00D8;
inline constexpr Address kUserDefinedName = 0x00E8;
inline constexpr Address kFirstUrl = 0x0200;
inline constexpr Address kSecondUrl = 0x0400;
inline constexpr Address kInterfaceCount = 0x0600;
inline constexpr Address kPersistentIp = 0x064C;
inline constexpr Address kPersistentSubnetMask = 0x065C;
inline constexpr Address kPersistentGateway = 0x066C;
inline constexpr Address kLinkSpeed = 0x0670; // Mbit/s
inline constexpr Address kMessageChannelCount = 0x0900;
inline constexpr Address kStreamChannelCount = 0x0904;
inline constexpr Address kActionSignalCount = 0x0908;
inline constexpr Address kStreamCapability = 0x092C;
inline constexpr Address kCapability = 0x0934;
inline constexpr Address kHeartbeatTimeout = 0x0938; // milliseconds
inline constexpr Address kTimestampTickFrequencyHigh = 0x093C;
inline constexpr Address kTimestampTickFrequencyLow = 0x0940;
inline constexpr Address kTimestampControl = 0x0944;
inline constexpr Address kTimestampValueHigh = 0x0948;
inline constexpr Address kTimestampValueLow = 0x094C;
inline constexpr Address kDiscoveryAckDelay = 0x0950;
inline constexpr Address kGvcpConfiguration = 0x0954;
inline constexpr Address kPendingTimeout = 0x0958; // milliseconds
inline constexpr Address kControlSwitchoverKey = 0x095C;
inline constexpr Address kGvspConfiguration = 0x0960;
inline constexpr Address kControlChannelPrivilege = 0x0A00;
inline constexpr Address kPrimaryApplicationPort = 0x0A04;
inline constexpr Address kPrimaryApplicationIp = 0x0A14;
inline constexpr Address kMessageChannelPort = 0x0B00;
inline constexpr Address kMessageChannelDestination = 0x0B10;
inline constexpr Address kStreamChannelPort = 0x0D00;
inline constexpr Address kStreamChannelPacketSize = 0x0D04;
inline constexpr Address kStreamChannelPacketDelay = 0x0D08;
inline constexpr Address kStreamChannelDestination = 0x0D18;
inline constexpr Address kStreamChannelSourcePort = 0x0D1C;
inline constexpr Address kStreamChannelCapability = 0x0D20;
inline constexpr Address kStreamChannelConfiguration = 0x0D24;
inline constexpr Address kManufacturerSpecific = 0xA000; // everything from here on is the device's own

inline constexpr std::size_t kNameSize = 32;
inline constexpr std::size_t kManufacturerInfoSize = 48;
inline constexpr std::size_t kSerialNumberSize = 16;
inline constexpr std::size_t kUserDefinedNameSize = 16;
inline constexpr std::size_t kUrlSize = 512;

// GVCP capability
inline constexpr std::uint32_t kConcatenationBit = 0x1; // a command may read or write several registers
inline constexpr std::uint32_t kPacketResendBit = 0x4;

// GVSP (stream) capability and configuration
inline constexpr std::uint32_t kSourcePortBit = 0x80000000; // the stream channel's source port can be read
inline constexpr std::uint32_t kShortBlockIdsBit =
    0x40000000; // capability: 16-bit block ids, beside 64-bit ones
inline constexpr std::uint32_t kLongBlockIdsBit = 0x40000000; // configuration: 64-bit block ids are on

// Packet size of the stream channel; the low 16 bits count IP, UDP and GVSP headers too
inline constexpr std::uint32_t kFireTestPacketBit = 0x80000000;
inline constexpr std::uint32_t kDoNotFragmentBit = 0x40000000;
inline constexpr std::uint32_t kPixelEndiannessBit = 0x20000000;
inline constexpr std::uint32_t kPacketSizeMask = 0xFFFF;

// Capability and configuration of the stream channel
inline constexpr std::uint32_t kResendDestinationBit = 0x8;
inline constexpr std::uint32_t kExtendedChunkDataBit = 0x1;

// Interface capability and configuration
inline constexpr std::uint32_t kPersistentIpBit = 1;
inline constexpr std::uint32_t kLinkLocalBit = 4; // always on

// Control channel privilege
inline constexpr std::uint32_t kPrivilegeNone = 0;
inline constexpr std::uint32_t kPrivilegeExclusive = 1;
inline constexpr std::uint32_t kPrivilegeControl = 2;
inline constexpr std::uint32_t kPrivilegeSwitchover = 4; // beside the others: who has the key may take over

} // namespace bootstrap
