// MAC addresses of the ports.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace gbe_service {

using Mac = std::array<unsigned char, 6>;

// Six pairs of hexadecimal digits joined by colons, and nothing else.
std::optional<Mac> parseMac(std::string_view text);
std::string toText(const Mac& mac);

// Whether a station may bear it: not a group address, not all zeros.
bool isStationAddress(const Mac& mac);

// A locally administered address that stays the same for a machine, a board and a port.
Mac localMac(unsigned board, unsigned port);

} // namespace gbe_service
