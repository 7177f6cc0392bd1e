// Transport checksums that the sending host left to its network card.
#pragma once

#include <cstddef>
#include <cstdint>

namespace netif {

// Computes the UDP or TCP checksum of an IPv4 frame (without a VLAN tag) and stores it. A frame that is
// neither, or too short for what it claims, stays as it is.
void fillTransportChecksum(std::uint8_t* frame, std::size_t size);

} // namespace netif
