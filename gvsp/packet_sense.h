// What a packet by itself makes sense as.
#pragma once

#include "gvsp/packet.h"

#include <cstdint>

namespace gvsp {

// Whether a block may begin with it.
bool canBegin(const Packet& packet);

// Whole ones. That a camera lost data it says in a trailer, which is one all the same.
bool isLeaderOrTrailer(const Packet& packet);

// Whether an error status means that the camera will never send the packet.
bool saysGone(std::uint16_t status);

} // namespace gvsp
