// What nodes know of the device that they belong to.
#pragma once

#include "genicam/nodes/ChangeQueue.h"
#include "genicam/nodes/InvalidationWalk.h"
#include "genicam/nodes/PortTable.h"
#include "liomol/export.h"
#include "util/Quirks.h"

#include <QtCore/QReadWriteLock>

#include <atomic>
#include <memory>

namespace tavo {

// What the trees of a device have in common: it lives as long as the device and each of them.
struct DeviceCommons {
    QReadWriteLock lock;               // always taken for writing
    std::atomic<bool> checking{false}; // whether accesses are checked
    ChangeQueue changes;
    PortTable ports;
};

// One for each tree. All but what the lock guards may be called from any thread.
class LIOMOL_API NodeHost {
public:
    NodeHost(std::shared_ptr<DeviceCommons> device, const Quirks& quirks)
        : m_device(std::move(device)), m_quirks(quirks) {}
    NodeHost(const NodeHost&) = delete;
    NodeHost& operator=(const NodeHost&) = delete;

    const Quirks& quirks() const { return m_quirks; }
    bool isCheckingEnabled() const { return m_device->checking.load(std::memory_order_relaxed); }

    // The device's lock: not for a thread that holds it already (DeviceLockScope is the way to take it).
    // False on time-out; 0 milliseconds wait without limit.
    bool lock(unsigned timeoutMs);
    // Ends the access, and releases the lock.
    void unlock();
    // The state of the reading or writing that holds the lock.
    AccessContext& access() { return m_access; }

    // Queues a node's signals; `trigger` reports its values whether they differ or not. A write-only node has
    // nothing to report and is ignored.
    void notify(ImplGenICamNode& node, bool trigger);
    // Null when the device has no port of that name.
    GenICamPortInterface* findPort(const std::string& name) const { return m_device->ports.find(name); }

protected:
    ~NodeHost() = default;

private:
    const std::shared_ptr<DeviceCommons> m_device;
    const Quirks m_quirks;
    AccessContext m_access; // guarded by the device's lock
};

} // namespace tavo
