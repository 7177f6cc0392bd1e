// The frames of the control channel: a raw Ethernet frame buffer, and what builds GVCP commands in it and
// reads acknowledgements out of it. Pure functions of their arguments; any thread may call them.
//
// The builders clear the buffer, so that what lies beyond a command is zero and short frames can be padded by
// just sending more of it.
#pragma once

#include "protocol/addresses.h"
#include "protocol/gvcp.h"
#include "protocol/net.h"
#include "transport/AckWait.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

using MacBytes = net::Mac;
using IpBytes = net::Ipv4;

// A raw Ethernet frame: no preamble, no frame check sequence.
struct UDPPacket {
    static constexpr std::size_t kSize = 2098;

    std::array<std::uint8_t, kSize> bytes;

    void clear() { bytes.fill(0); }
    std::uint8_t* at(std::size_t offset) { return bytes.data() + offset; }
    const std::uint8_t* at(std::size_t offset) const { return bytes.data() + offset; }
};

// The UDP checksum of `length` bytes of UDP header and data between two addresses (4 bytes each). For an odd
// length one zero byte is written behind the data, where there must be room for it. A result of 0 stays 0.
std::uint16_t udp_sum_calc(
    unsigned short length, const unsigned char* sourceIp, const unsigned char* destinationIp,
    unsigned char* data);

namespace frame {

inline constexpr std::size_t kGvcp = net::kUdpPayload;
inline constexpr std::size_t kPayload = kGvcp + gvcp::kPayload;
inline constexpr std::size_t kRequestId = kGvcp + gvcp::kRequestId;
inline constexpr std::size_t kMemoryData =
    kPayload + 4; // of write-memory commands and read-memory acknowledgements

// Read-memory commands are padded to another minimum than all others.
inline constexpr unsigned kMinimum = net::kMinFrame;
inline constexpr unsigned kReadMemoryMinimum = 64;

// Big-endian fields at offsets that are known to lie inside the buffer.
template<std::size_t Offset> std::uint16_t get16(const UDPPacket& packet) {
    static_assert(Offset + 2 <= UDPPacket::kSize);
    return static_cast<std::uint16_t>((packet.bytes[Offset] << 8) | packet.bytes[Offset + 1]);
}

template<std::size_t Offset> std::uint32_t get32(const UDPPacket& packet) {
    return (std::uint32_t{get16<Offset>(packet)} << 16) | get16<Offset + 2>(packet);
}

template<std::size_t Offset> void put16(UDPPacket& packet, std::uint16_t value) {
    static_assert(Offset + 2 <= UDPPacket::kSize);
    packet.bytes[Offset] = static_cast<std::uint8_t>(value >> 8);
    packet.bytes[Offset + 1] = static_cast<std::uint8_t>(value);
}

template<std::size_t Offset> void put32(UDPPacket& packet, std::uint32_t value) {
    put16<Offset>(packet, static_cast<std::uint16_t>(value >> 16));
    put16<Offset + 2>(packet, static_cast<std::uint16_t>(value));
}

constexpr unsigned padded(unsigned length, unsigned minimum = kMinimum) {
    return length < minimum ? minimum : length;
}

// Who sends a frame to whom.
struct Route {
    MacBytes sourceMac;
    MacBytes destinationMac;
    IpBytes sourceIp;
    IpBytes destinationIp;
    std::uint16_t sourcePort;
    std::uint16_t destinationPort;
};

// What a FORCEIP command gives to the device that bears a MAC address. An address of zeros lets the device
// configure itself anew.
struct ForcedAddress {
    MacBytes mac;
    IpBytes ip;
    IpBytes mask;
    IpBytes gateway;
};

// The commands. Each gives the true length of the frame, except that a discovery is as long as the shortest
// Ethernet frame already. Frames that write carry no UDP checksum (0), deliberately; the others a computed
// one.
unsigned short discovery(UDPPacket& packet, const Route& route, std::uint16_t id, bool broadcastAnswer);
// For everybody, like a discovery: the device may not be reachable at its own address.
unsigned short forceIp(UDPPacket& packet, const Route& route, std::uint16_t id, const ForcedAddress& address);
unsigned short readRegister(UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address);
// `addresses` are gvcp::kMaxRegisters at most; the caller sees to it.
unsigned short readRegisters(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::span<const std::uint32_t> addresses);
unsigned short writeRegister(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address, std::uint32_t value);
unsigned short readMemory(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address, std::uint16_t count);
// `count` is at most what the buffer holds; callers stay within gvcp::kMaxMemoryBlock.
unsigned short writeMemory(
    UDPPacket& packet, const Route& route, std::uint16_t id, std::uint32_t address, const std::uint8_t* data,
    std::size_t count);

// Headers of Ethernet, IPv4 (with its checksum) and UDP (without) in front of a GVCP message of `gvcpLength`
// bytes, its own 8-byte header included. Touches nothing else.
void udpHeader(UDPPacket& packet, const Route& route, std::uint16_t gvcpLength);
// The UDP checksum of such a frame. A length beyond the buffer counts as the buffer's.
void udpChecksum(UDPPacket& packet, std::uint16_t gvcpLength);

bool isArp(const UDPPacket& packet);
// A request for the MAC address of an IPv4 address, from one station.
bool isArpRequest(const UDPPacket& packet);
bool isFromDhcpClient(const UDPPacket& packet);

// What a received frame is to this host.
enum class Kind {
    Arp,     // an ARP frame
    Answer,  // a UDP frame that may be an acknowledgement
    Ignored, // anything else
};
Kind classify(const UDPPacket& packet);

// Turns an ARP request into the reply to it.
void arpReply(UDPPacket& packet, const MacBytes& mac, const IpBytes& ip);

// Of `received` bytes, those that belong to the IP packet: Ethernet pads short frames, and padding must not
// pass for an answer. A total length that makes no sense is not believed.
std::size_t contentLength(const UDPPacket& packet, std::size_t received);

// Whether the checksums of a frame with `size` bytes of content (see contentLength) are right. One of 0 was
// not computed: it says nothing, deliberately also in the IP header, where that is no standard.
bool isSound(const UDPPacket& packet, std::size_t size);

// What an acknowledgement of `size` bytes of content, which holds a GVCP header, is to a waiting command.
AckFacts ackFacts(const UDPPacket& packet, std::size_t size);

// Whether an acknowledgement comes from where `command` went to; an answer to what went to everybody, or to
// nobody, may come from anywhere.
bool isFromTarget(const UDPPacket& ack, const UDPPacket& command);

inline bool isPending(const UDPPacket& packet) {
    return static_cast<gvcp::Command>(get16<kGvcp + gvcp::kAckCode>(packet)) == gvcp::Command::PendingAck;
}

// The status of an acknowledgement.
inline std::uint16_t ackStatus(const UDPPacket& packet) {
    return get16<kGvcp + gvcp::kAckStatus>(packet);
}

// The two bytes of the request id exactly as they stand, in no byte order: an acknowledgement belongs to a
// command when these are equal.
std::uint16_t rawRequestId(const UDPPacket& packet);

// The length field of an acknowledgement, taken as if it were little-endian, deliberately: with the lengths
// that occur it then exceeds every buffer and every frame, and never decides anything.
int announcedLength(const UDPPacket& packet);

// The values that a read-register acknowledgement of `size` bytes of content carries: how many, and each of
// them.
std::size_t registerCount(const UDPPacket& ack, std::size_t size);
std::uint32_t registerValue(const UDPPacket& ack, std::size_t index);

// Copies the data of a read-memory acknowledgement of `size` bytes into `buffer`. The result is `capacity`,
// or -1 when the acknowledgement does not hold (or announce) that much; nothing is copied then.
int copyMemory(const UDPPacket& packet, std::size_t size, char* buffer, std::size_t capacity);

} // namespace frame
