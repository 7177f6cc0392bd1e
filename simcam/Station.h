// One station on an Ethernet: the part of the camera that knows ARP (RFC 826), IPv4 (RFC 791) and UDP (RFC
// 768). A value machine without I/O: it is handed the frames that arrive and builds those to send. One thread
// at a time.
#pragma once

#include "simcam/bytes.h"

#include <cstdint>
#include <map>
#include <optional>

namespace simcam {

using Mac = std::uint64_t; // the low 48 bits, first byte of the address most significant
inline constexpr Mac kBroadcastMac = 0xFFFFFFFFFFFF;
inline constexpr std::uint32_t kBroadcastIp = 0xFFFFFFFF;

// The other end of a datagram.
struct Peer {
    Mac mac = 0;
    std::uint32_t ip = 0;
    std::uint16_t port = 0;

    bool sameApplication(const Peer& other) const { return ip == other.ip && port == other.port; }
};

// Whether one station can have the address: not this host, not loopback, no group, no broadcast.
constexpr bool isHostAddress(std::uint32_t ip) {
    const std::uint32_t first = ip >> 24;
    return first != 0 && first != 127 && first < 224;
}
// Ones, then zeros.
constexpr bool isSubnetMask(std::uint32_t mask) {
    return (~mask & (~mask + 1)) == 0;
}

struct IpConfiguration {
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;

    bool inSubnet(std::uint32_t ip) const { return ((ip ^ address) & mask) == 0; }
};

// A datagram to this station. The payload lies in the frame that it came in.
struct Datagram {
    Peer from;
    std::uint16_t toPort = 0;
    bool broadcast = false;
    ByteView payload;
};

// An ARP message for whomever, as the choice of an address must know it.
struct ArpMessage {
    bool isRequest = false;
    Peer sender; // without port; its IP is 0 in a probe
    std::uint32_t targetIp = 0;
};

// What a received frame turned out to be: a datagram for this station, or an ARP message, perhaps with this
// frame as its answer, or nothing of interest.
struct Received {
    std::optional<Datagram> datagram;
    std::optional<ArpMessage> arp;
    Bytes answer;
};

// To whom an ARP reply goes: to the asker alone, or to all, which finds conflicts sooner and which link-local
// addresses must do (RFC 3927, section 2.5).
enum class ArpReplies { ToAsker, ToAll };

class Station {
public:
    Station(Mac mac, const IpConfiguration& ip) : m_mac(mac), m_ip(ip) {}

    Mac mac() const { return m_mac; }
    // The address is 0 while the station has none: then it answers no ARP and takes broadcasts only.
    const IpConfiguration& ip() const { return m_ip; }
    void setIp(const IpConfiguration& ip, ArpReplies replies = ArpReplies::ToAsker) {
        m_ip = ip;
        m_replies = replies;
    }
    void forgetNeighbours() { m_neighbours.clear(); }

    // Takes one frame. Whatever is damaged, cut short, fragmented or meant for others gives nothing.
    Received receive(ByteView frame);

    // A UDP frame with both checksums, padded to the Ethernet minimum.
    Bytes datagram(const Peer& to, std::uint16_t fromPort, ByteView payload) const;
    // What stands before a UDP payload of that size; it has no checksum over the payload.
    Bytes datagramHead(const Peer& to, std::uint16_t fromPort, std::size_t size, bool dontFragment) const;
    // A request for the MAC address of `ip`.
    Bytes arpRequest(std::uint32_t ip) const;
    // A question for `ip` that tells nobody of an address of one's own, and the news of having one.
    Bytes arpProbe(std::uint32_t ip) const;
    Bytes arpAnnouncement() const;
    // The neighbour with this address is remembered however many there are.
    void await(std::uint32_t ip) { m_awaited = ip; }
    // The MAC address that `ip` was last seen with.
    std::optional<Mac> neighbour(std::uint32_t ip) const;

private:
    Received receiveArp(Reader frame);
    std::optional<Datagram> receiveIp(ByteView packet, Mac from, bool broadcastFrame);
    Bytes
    arp(std::uint16_t operation, Mac to, std::uint32_t senderIp, Mac targetMac, std::uint32_t targetIp) const;
    void learn(std::uint32_t ip, Mac mac);

    Mac m_mac;
    IpConfiguration m_ip;
    ArpReplies m_replies = ArpReplies::ToAsker;
    std::map<std::uint32_t, Mac> m_neighbours;
    std::uint32_t m_awaited = 0;
};

} // namespace simcam
