// The lock for one node access.
#pragma once

namespace tavo {

class ImplGenICamNode;
class NodeHost;

// Holds a device's lock, exclusively, for a scope. Within the scope the same thread may take it again, which
// does nothing; the locks of several devices may be held at once.
class DeviceLockScope {
public:
    // Null holds nothing. 0 milliseconds wait without limit.
    explicit DeviceLockScope(NodeHost* host, unsigned timeoutMs = 0);
    ~DeviceLockScope() { release(); }
    DeviceLockScope(const DeviceLockScope&) = delete;
    DeviceLockScope& operator=(const DeviceLockScope&) = delete;

    // Whether this scope, not an outer one, took the lock and still holds it.
    bool owns() const { return m_owns; }
    // Whether the thread holds the lock, through this scope or an outer one.
    bool isHeld() const { return m_owns || m_nested; }
    void release();

private:
    NodeHost* m_host;
    DeviceLockScope* m_outer = nullptr; // the scope of another device that this thread holds
    bool m_owns = false;
    bool m_lent = false; // by a row of accesses
    bool m_nested = false;
};

// Holds a device's lock for a row of accesses of this thread, each of which counts, and is checked, as if it
// had taken the lock by itself. Not for a thread that holds the lock already.
class AccessRow {
public:
    explicit AccessRow(NodeHost& host);
    ~AccessRow();
    AccessRow(const AccessRow&) = delete;
    AccessRow& operator=(const AccessRow&) = delete;

private:
    friend class DeviceLockScope;

    NodeHost& m_host;
    const AccessRow* m_outer; // of another device
};

// The lock with the access check of a node: the outermost access of a thread is checked after the lock was
// taken; when the check fails, the lock is released and the check's exception thrown as it is.
class GenICamScopedReadWriteLock {
public:
    // Reading takes the lock exclusively too: a read changes caches.
    enum ReadWriteLockType { ReadLock = 0, WriteLock = 1 };

    // A node without a device needs no lock.
    GenICamScopedReadWriteLock(ImplGenICamNode* node, ReadWriteLockType type, unsigned timeoutMs = 0);

    // True when this guard took no lock: on time-out, and also for an access within another one.
    bool lockHasTimedOut() const { return !m_lock.owns(); }
    void unlock() { m_lock.release(); }

private:
    DeviceLockScope m_lock;
};

} // namespace tavo
