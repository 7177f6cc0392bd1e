// IPv4 and MAC addresses as texts and numbers, and which of them reach each other.
//
// An address is a number as the C interface has it: the first octet in the lowest byte.
#pragma once

#include "liomol/gige.h"

#include <array>
#include <optional>
#include <string>

namespace gbe {

using Mac = std::array<unsigned char, 6>;

std::string macText(const unsigned char* mac);
std::optional<Mac> parseMac(const std::string& text);
std::string ipText(unsigned ip);
std::optional<unsigned> parseIp(const std::string& text);
// "255.255.0.0" or "16".
std::optional<unsigned> parseMask(const std::string& text);

// The same address with its first octet on top, or back: for arithmetic.
constexpr unsigned swapOctets(unsigned ip) {
    return ip << 24 | (ip & 0xFF00) << 8 | (ip >> 8 & 0xFF00) | ip >> 24;
}

inline bool sameSubnet(unsigned one, unsigned other, unsigned mask) {
    return ((one ^ other) & mask) == 0;
}

// A port's own addresses.
struct PortAddress {
    Mac mac{};
    unsigned ip = 0;
    unsigned mask = 0;

    bool reaches(unsigned address) const { return sameSubnet(ip, address, mask); }
    // "169.254.7.42/16"
    std::string text() const;
};

// Throws Failure.
PortAddress portAddress(BoardHandle* board, unsigned port);

// A camera's address for a person: with a mark when the port cannot reach it.
std::string addressText(unsigned ip, const PortAddress& port);

} // namespace gbe
