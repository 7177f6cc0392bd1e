// What a port of a board is when it is a network interface of Linux.
//
// Only the board in software knows; with the hardware's own library no port is an interface.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace link_report {

struct LinkReport {
    std::string interface;
    int error = 0; // errno value of what keeps frames from passing: EPERM, ENODEV, ENETDOWN, ENOLINK, ...
    std::string message; // what it means, in one sentence
    bool up = false;
    bool carrier = false;
    int mtu = 0;
    std::array<unsigned char, 6> mac{}; // zeros when nobody knows it
    unsigned ip = 0;                    // of the computer on it, 0 without; first octet in the lowest byte
};

// Nothing when the port is no interface. Any thread; the board need not be open.
std::optional<LinkReport> ofPort(int board, unsigned port);

} // namespace link_report
