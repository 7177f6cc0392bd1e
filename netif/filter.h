// Filters that the kernel applies to the frames of an interface before a PacketSocket sees them.
#pragma once

#include "netif/interface.h"

#include <cstddef>
#include <cstdint>
#include <linux/filter.h>
#include <vector>

namespace netif {

// A program of the kernel's packet filter; empty lets everything pass.
using Filter = std::vector<sock_filter>;

// Nothing passes.
inline const Filter kNothing{{BPF_RET | BPF_K, 0, 0, 0}};

// Every frame for one of these stations: to its address, or to a group (broadcast included). With more
// stations than kMostStations everything passes.
inline constexpr std::size_t kMostStations = 60;
Filter stationFilter(const std::vector<Mac>& stations);

// The control traffic of a port: the GVCP acknowledgements to its UDP port, and ARP while its address is not
// known. A part that is not known yet lets more pass: all ARP, all that comes from the GVCP port.
struct ControlTraffic {
    Mac mac{};                    // frames to others do not pass, groups do
    Ipv4 address{};               // zeros: not known
    std::uint16_t udpPort = 0;    // 0: not known
    std::uint16_t exceptPort = 0; // UDP to here does not pass; 0: no exception
};
Filter controlFilter(const ControlTraffic& traffic);

// ARP, and all that comes from the GVCP port, whoever it is for.
Filter acknowledgementFilter();

// The packets of one camera's image stream.
struct ImagePackets {
    Ipv4 camera{};
    std::uint16_t udpPort = 0; // that they go to; 0: none
};

// What comes to a station unasked: UDP to one port, which is the image stream (0: none), but not the packets
// that another socket takes; and ARP for its address (zeros: none).
Filter streamFilter(const Mac& mac, const Ipv4& address, std::uint16_t udpPort, const ImagePackets& except);

// A station's image packets; and of those (GVSP) what somebody may wait for: last packets of images, packets
// that are sent again or cannot be, test packets.
Filter imageFilter(const Mac& mac, const ImagePackets& packets);
Filter imageEndFilter(const Mac& mac, const ImagePackets& packets);

} // namespace netif
