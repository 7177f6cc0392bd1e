#include "api/visit.h"

#include <cstring>

namespace api {

bool hasMac(const DiscoveredCamera* record, const unsigned char* mac) {
    return record != nullptr && std::memcmp(record->mac, mac, sizeof record->mac) == 0;
}

const DiscoveredCamera* recordOf(const board::HeldPort& held, const unsigned char* mac) {
    const transport::Port* port = held.port();
    if (port == nullptr) {
        return nullptr;
    }
    if (const DiscoveredCamera* found = port->cameras().find(mac)) {
        return found;
    }
    return hasMac(port->currentCamera(), mac) ? port->currentCamera() : nullptr;
}

Visit::Visit(const board::HeldPort& held, const DiscoveredCamera& host) : m_kept(held) {
    const DiscoveredCamera record = host; // may be the very place that selecting writes to
    if (!held.port()->selectCamera(record.mac)) {
        held.port()->selectCamera(record);
    }
}

} // namespace api
