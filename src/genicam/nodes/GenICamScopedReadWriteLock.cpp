#include "genicam/nodes/GenICamScopedReadWriteLock.h"

#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/NodeHost.h"

namespace tavo {
namespace {

// The scopes through which this thread holds locks, the latest first. It is rarely longer than one: a
// listener of one device that calls into another makes it two.
thread_local DeviceLockScope* heldLocks = nullptr;

// The rows of accesses of this thread, the latest first.
thread_local const AccessRow* rows = nullptr;

} // namespace

AccessRow::AccessRow(NodeHost& host) : m_host(host), m_outer(rows) {
    host.lock(0);
    rows = this;
}

AccessRow::~AccessRow() {
    rows = m_outer;
    m_host.unlock();
}

DeviceLockScope::DeviceLockScope(NodeHost* host, unsigned timeoutMs) : m_host(host) {
    if (host == nullptr) {
        return;
    }
    for (const DeviceLockScope* held = heldLocks; held != nullptr; held = held->m_outer) {
        if (held->m_host == host) {
            m_nested = true;
            return;
        }
    }
    for (const AccessRow* row = rows; row != nullptr && !m_lent; row = row->m_outer) {
        m_lent = &row->m_host == host;
    }
    if (m_lent || host->lock(timeoutMs)) {
        m_owns = true;
        m_outer = heldLocks;
        heldLocks = this;
    }
}

void DeviceLockScope::release() {
    if (!m_owns) {
        return;
    }
    m_owns = false;
    DeviceLockScope** link = &heldLocks;
    while (*link != this) {
        link = &(*link)->m_outer;
    }
    *link = m_outer;
    m_lent ? m_host->endAccess() : m_host->unlock();
}

GenICamScopedReadWriteLock::GenICamScopedReadWriteLock(
    ImplGenICamNode* node, ReadWriteLockType type, unsigned timeoutMs)
    : m_lock(node != nullptr ? node->getHost() : nullptr, timeoutMs) {
    if (!m_lock.owns()) {
        return;
    }
    // A check that throws leaves with its own type, and m_lock releases the lock on the way.
    if (type == ReadLock) {
        node->checkReadability();
    } else {
        node->checkWritability();
    }
}

} // namespace tavo
