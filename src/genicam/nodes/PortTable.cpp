#include "genicam/nodes/PortTable.h"

namespace tavo {

void PortTable::set(const std::string& name, GenICamPortInterface* port) {
    const std::lock_guard lock(m_lock);
    if (port != nullptr) {
        m_ports[name] = port;
    } else {
        m_ports.erase(name);
    }
}

GenICamPortInterface* PortTable::find(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto port = m_ports.find(name);
    return port != m_ports.end() ? port->second : nullptr;
}

} // namespace tavo
