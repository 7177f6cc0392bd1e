// Field offsets and numbers of the frames that carry GVCP: Ethernet II, IPv4 (RFC 791), UDP (RFC 768) and
// ARP (RFC 826). Offsets count from the first byte of the Ethernet destination address; no preamble and no
// frame check sequence is ever seen here. All fields of more than one byte are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace net {

inline constexpr std::size_t kMacSize = 6;
inline constexpr std::size_t kIpSize = 4;
inline constexpr std::size_t kMinFrame = 60; // the Ethernet minimum without the frame check sequence

inline constexpr std::uint16_t kEtherTypeIpv4 = 0x0800;
inline constexpr std::uint16_t kEtherTypeArp = 0x0806;
inline constexpr std::uint8_t kIpProtocolUdp = 17;

inline constexpr std::size_t kEthernetHeader = 14;
inline constexpr std::size_t kIpHeader = 20; // without options
inline constexpr std::size_t kUdpHeader = 8;

// Ethernet II
inline constexpr std::size_t kDestinationMac = 0;
inline constexpr std::size_t kSourceMac = 6;
inline constexpr std::size_t kEtherType = 12;

// IPv4 without options
inline constexpr std::size_t kIpVersion = 14;
inline constexpr std::size_t kIpTotalLength = 16;
inline constexpr std::size_t kIpIdentification = 18;
inline constexpr std::size_t kIpFragment = 20;
inline constexpr std::size_t kIpTimeToLive = 22;
inline constexpr std::size_t kIpProtocol = 23;
inline constexpr std::size_t kIpChecksum = 24;
inline constexpr std::size_t kSourceIp = 26;
inline constexpr std::size_t kDestinationIp = 30;

// UDP after an IPv4 header without options
inline constexpr std::size_t kUdpSourcePort = 34;
inline constexpr std::size_t kUdpDestinationPort = 36;
inline constexpr std::size_t kUdpLength = 38;
inline constexpr std::size_t kUdpChecksum = 40;
inline constexpr std::size_t kUdpPayload = 42;

// ARP for IPv4 over Ethernet
inline constexpr std::size_t kArpHardware = 14;       // 2 bytes: 1 for Ethernet
inline constexpr std::size_t kArpProtocol = 16;       // 2 bytes: an EtherType
inline constexpr std::size_t kArpAddressLengths = 18; // 2 bytes: of a MAC and of an IP address
inline constexpr std::size_t kArpOperation = 20;
inline constexpr std::size_t kArpSenderMac = 22;
inline constexpr std::size_t kArpSenderIp = 28;
inline constexpr std::size_t kArpTargetMac = 32;
inline constexpr std::size_t kArpTargetIp = 38;
inline constexpr std::size_t kArpEnd = 42;
inline constexpr std::uint16_t kArpEthernet = 1;
inline constexpr std::uint16_t kArpIpv4Lengths = 0x0604;
inline constexpr std::uint16_t kArpRequest = 1;
inline constexpr std::uint16_t kArpReply = 2;

} // namespace net
