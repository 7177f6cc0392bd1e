// The ports through which a device's registers reach camera memory, by name.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace tavo {

class GenICamPortInterface;

// The name of the port that leads to the camera itself.
inline constexpr char kDevicePort[] = "Device";

// May be used from any thread. The ports are not owned.
class PortTable {
public:
    // Null takes a port away.
    void set(const std::string& name, GenICamPortInterface* port);
    // Null when no port has the name.
    GenICamPortInterface* find(const std::string& name) const;

private:
    mutable std::mutex m_lock;
    std::map<std::string, GenICamPortInterface*, std::less<>> m_ports;
};

} // namespace tavo
