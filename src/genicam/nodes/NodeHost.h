// What nodes know of the device that they belong to.
#pragma once

#include "genicam/nodes/ChangeQueue.h"
#include "genicam/nodes/InvalidationWalk.h"
#include "genicam/nodes/PortTable.h"
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

// One for each tree; its device closes it when it puts another tree in place, or goes itself: from then on
// its nodes reach no camera and report nothing, but can be used, by those who still hold the tree. All but
// what the lock guards may be called from any thread.
class NodeHost : public std::enable_shared_from_this<NodeHost> {
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
    // Ends the access: what comes next is another one.
    void endAccess();
    // The state of the reading or writing that holds the lock.
    AccessContext& access() { return m_access; }

    void close() { m_device->changes.clear(m_closed); }
    bool isClosed() const { return m_closed.load(std::memory_order_relaxed); }
    // Somebody in this thread has asked for the signals of a node: a closed tree stays until signals that are
    // queued have been delivered.
    void noteListener();
    bool hasListeners() const { return m_hasListeners.load(std::memory_order_relaxed); }

    // Queues a node's signals; `trigger` reports its values whether they differ or not. A write-only node has
    // nothing to report and is ignored.
    void notify(ImplGenICamNode& node, bool trigger);
    // Null when the device has no port of that name.
    GenICamPortInterface* findPort(const std::string& name) const {
        return isClosed() ? nullptr : m_device->ports.find(name);
    }

protected:
    ~NodeHost() = default;

private:
    const std::shared_ptr<DeviceCommons> m_device;
    const Quirks m_quirks;
    AccessContext m_access; // guarded by the device's lock
    std::atomic<bool> m_closed{false};
    std::atomic<bool> m_hasListeners{false};
};

} // namespace tavo
