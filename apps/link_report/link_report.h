// What a port of a board is when it is a network interface of Linux.
//
// Only the board in software knows; with the hardware's own library no port is an interface.
#pragma once

#include "protocol/addresses.h"

#include <optional>
#include <string>

namespace link_report {

struct LinkReport {
    std::string interface;
    int error = 0; // errno value of what keeps frames from passing: EPERM, EACCES, ENODEV, ENETDOWN, ...
    std::string message; // what it means, in one sentence
    bool up = false;
    bool carrier = false;
    int mtu = 0;
    net::Mac mac; // none when nobody knows it
    net::Ipv4 ip; // of the computer on it; none without
};

// Whether what keeps frames from passing is a right: the program's, its user's, or one that it is refused.
bool isRightMissing(const LinkReport& report);

// Whether the boards are made in software, so that looking at their links costs nothing.
bool isSoftware();

// Nothing when the port is no interface. Any thread; the board need not be open.
std::optional<LinkReport> ofPort(int board, unsigned port);

} // namespace link_report
