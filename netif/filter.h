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

// All that a listener wants to know of a port, both ways: ARP and GVCP that come from its address, go to it,
// or go to a group; with `all` every UDP packet, image streams included. Without an address (zeros)
// everybody's.
Filter captureFilter(const Mac& mac, bool all);

// The packets of one camera's image stream.
struct ImagePackets {
    Ipv4 camera{};
    std::uint16_t udpPort = 0; // that they go to; 0: none
    std::uint16_t every = 0;   // so-many-th somebody may wait for as well: a power of two; 0: none

    friend bool operator==(const ImagePackets&, const ImagePackets&) = default;
};

// What comes to a station unasked: UDP to one port, which is the image stream (0: none), but not the packets
// that another socket takes; and ARP for its address (zeros: none).
Filter streamFilter(const Mac& mac, const Ipv4& address, std::uint16_t udpPort, const ImagePackets& except);

// A station's image packets; and of those (GVSP) what somebody may wait for: last packets of images, packets
// that are sent again or cannot be, test packets, and of the data packets those whose id is a multiple of
// `every`.
Filter imageFilter(const Mac& mac, const ImagePackets& packets);
Filter imageEndFilter(const Mac& mac, const ImagePackets& packets);

// One of the filters above that a port needs, in numbers: who has no right to make filters asks for them by
// this (lending.h). What a kind does not need is zeros.
struct Traffic {
    enum class Kind : std::uint32_t { Nothing, Control, Unasked, Images, ImageEnds, Acknowledgements };

    Kind kind = Kind::Nothing;
    Mac mac{};
    Ipv4 address{};
    std::uint16_t udpPort = 0;
    std::uint16_t exceptPort = 0;
    ImagePackets packets{}; // of an image stream; of Unasked: those that another socket takes

    friend bool operator==(const Traffic&, const Traffic&) = default;
};
Filter makeFilter(const Traffic& traffic);

// The filter, and before it two bars: frames of other interfaces than that of this index do not pass, nor do
// IPv4 packets to these addresses (as many as kMostBarred; with more nothing passes).
inline constexpr std::size_t kMostBarred = 100;
Filter barred(const Filter& filter, int index, const std::vector<Ipv4>& addresses);

} // namespace netif
