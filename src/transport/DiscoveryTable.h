// The cameras that answered the last discovery on a port. One thread at a time.
#pragma once

#include "transport/DiscoveredCamera.h"

#include <array>

namespace transport {

class DiscoveryTable {
public:
    static constexpr int kMaxCameras = 64; // further ones are dropped

    int count() const { return m_count; }
    // Null for an index outside the table. The record stays what it is until clear() and the next add().
    const DiscoveredCamera* at(int index) const;
    // Null when no camera has this MAC address (6 bytes).
    DiscoveredCamera* find(const unsigned char* mac);
    const DiscoveredCamera* find(const unsigned char* mac) const;

    void clear() { m_count = 0; }
    // The new count, or 0 for a camera known already and for one too many.
    int add(const DiscoveryAckData& ack);

private:
    int m_count = 0;
    std::array<DiscoveredCamera, kMaxCameras> m_records{};
};

} // namespace transport
