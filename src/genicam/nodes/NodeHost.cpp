#include "genicam/nodes/NodeHost.h"

#include "genicam/nodes/ImplGenICamNode.h"
#include "util/late_release.h"
#include "util/qt_locks.h"

namespace tavo {

bool NodeHost::lock(unsigned timeoutMs) {
    return util::lockForWrite(m_device->lock, timeoutMs);
}

void NodeHost::endAccess() {
    ++m_access.number;
    m_access.hops = 0;
    m_access.formulaEvaluations = 0;
}

void NodeHost::unlock() {
    endAccess();
    util::unlock(m_device->lock);
}

void NodeHost::noteListener() {
    util::expectQueuedSignals();
    m_hasListeners.store(true, std::memory_order_relaxed);
}

void NodeHost::notify(ImplGenICamNode& node, bool trigger) {
    if (!m_device->changes.holds(node, trigger) && !node.isWriteOnly()) {
        m_device->changes.add(node, trigger);
    }
}

} // namespace tavo
