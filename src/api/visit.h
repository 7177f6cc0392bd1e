// Speaking to a camera that is not a port's current one.
#pragma once

#include "board/CameraPort.h"

namespace api {

bool hasMac(const DiscoveredCamera* record, const unsigned char* mac);

// What an open port knows of a camera: its record in the table, or the current one when a scan has missed it.
// Null when it knows none, or is closed.
const DiscoveredCamera* recordOf(const board::HeldPort& held, const unsigned char* mac);

// Commands go to this camera for the length of a scope; a connected handle of the port gets its own back.
class Visit {
public:
    Visit(const board::HeldPort& held, const DiscoveredCamera& host);

private:
    board::KeepCurrent m_kept;
};

} // namespace api
