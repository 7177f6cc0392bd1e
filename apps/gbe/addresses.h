// The addresses of ports and cameras as gbe shows and reads them.
#pragma once

#include "liomol/gige.h"
#include "protocol/addresses.h"

#include <optional>
#include <string>

namespace gbe {

using net::Ipv4;
using net::Mac;

// "255.255.0.0" or "16".
std::optional<Ipv4> parseMask(const std::string& text);

// A port's own addresses.
struct PortAddress {
    Mac mac;
    Ipv4 ip;
    Ipv4 mask;

    bool reaches(const Ipv4& address) const { return net::sameSubnet(ip, address, mask); }
    // "169.254.7.42/16"
    std::string text() const;
};

// Throws Failure.
PortAddress portAddress(BoardHandle* board, unsigned port);

// A camera's address for a person: with a mark when the port cannot reach it.
std::string addressText(const Ipv4& ip, const PortAddress& port);

} // namespace gbe
