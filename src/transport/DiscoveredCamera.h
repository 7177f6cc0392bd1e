// What is kept of a camera that answered a discovery.
#pragma once

#include "protocol/gvcp.h"

#include <array>
#include <cstddef>
#include <cstdint>

// The payload of a discovery acknowledgement, as it came; gvcp::discovery has the offsets of its fields.
struct DiscoveryAckData {
    std::array<std::uint8_t, gvcp::discovery::kSize> bytes;
};

// One record of a port's discovery table. Every byte is copied unchanged from the acknowledgement: addresses
// are in network order, texts are padded as the camera padded them and end with a zero only if the camera put
// one.
struct DiscoveredCamera {
    std::uint8_t mac[6];
    std::uint8_t ip[4];
    char manufacturerName[32];
    char modelName[32];
    char deviceVersion[32];
    char manufacturerInfo[48];
    char serialNumber[16];
    char userDefinedName[16];
};

// Readers take the record as a run of bytes: the user-defined name is known to lie at byte 170.
static_assert(sizeof(DiscoveredCamera) == 186 && offsetof(DiscoveredCamera, userDefinedName) == 170);
