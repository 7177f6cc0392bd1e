// Ports, their interfaces and the programs that use them, at one moment: asked of the service, of Linux and
// of the figures that programs show. No board is opened and nothing is sent for it.
#pragma once

#include "addresses.h"

#include "liomol/diagnostics.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gbe {

// What Linux counts on an interface, everybody's frames together.
struct InterfaceCounts {
    std::uint64_t receivedFrames = 0;
    std::uint64_t receivedBytes = 0;
    std::uint64_t sentFrames = 0;
    std::uint64_t sentBytes = 0;
    std::uint64_t errors = 0; // of either direction
    std::uint64_t dropped = 0;
};

struct PortState {
    int board = 0;
    unsigned port = 0;
    std::optional<bool> linkUp; // nothing: nobody knows
    Mac mac;
    Ipv4 ip;
    std::string interface; // empty: it is none
    std::optional<InterfaceCounts> counts;
};

struct LinkState {
    std::chrono::steady_clock::time_point time;
    bool serviceAnswers = false;
    std::vector<PortState> ports;         // by board and port
    std::vector<GbeLinkStatistics> links; // likewise, and by program
};

// Of one board, or of all; without this program itself.
LinkState lookAtLinks(std::optional<int> board);

// The same program's figures of the same port in an earlier state; null when there are none.
const GbeLinkStatistics* earlier(const LinkState& state, const GbeLinkStatistics& link);
const PortState* earlier(const LinkState& state, const PortState& port);

} // namespace gbe
