// Speaking to a camera that is not a port's current one.
#pragma once

#include "transport/GigeCamera.h"

#include <optional>

namespace api {

bool hasMac(const DiscoveredCamera* record, const unsigned char* mac);

// What the port knows of a camera: its record in the table, or the current one when a scan has missed it.
// Null when it knows none. The caller holds the port's mutex.
const DiscoveredCamera* recordOf(const GigeCamera& board, int port, const unsigned char* mac);

// Commands go to this camera for the length of a scope, in which the caller holds the port's mutex; a
// connected handle of the port gets its own back.
class Visit {
public:
    Visit(GigeCamera& board, int boardIndex, int port, const DiscoveredCamera& host);
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

private:
    void select(const DiscoveredCamera& wanted);

    GigeCamera& m_board;
    int m_port;
    std::optional<DiscoveredCamera> m_before;
};

} // namespace api
