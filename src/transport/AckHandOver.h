// Where acknowledgements of a port go that arrive by another route, as whole frames: one thread may wait here
// for what another one hands over. A notice that the answer is still to come (PENDING_ACK) is none: it stores
// nothing and wakes nobody.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMutex>
#include <QtCore/QWaitCondition>

#include <cstdint>

namespace transport {

class AckHandOver {
public:
    // The status of the acknowledgement, or kTruncated.
    int takeReadRegister(const QByteArray& frame);
    // The count of bytes that went to the target, or -1.
    int takeReadMemory(const QByteArray& frame);

    // Where the next read-memory acknowledgements go; `buffer` stays the caller's, null to end it.
    void setReadMemoryTarget(char* buffer, unsigned capacity);
    // Waits for the next acknowledgement of either kind; false when none came in `timeout` milliseconds.
    bool wait(int timeout);
    std::uint32_t readRegisterResult() const;
    int readMemoryResult() const;

private:
    mutable QMutex m_mutex; // guards all of it
    QWaitCondition m_condition;
    bool m_arrived = false;
    std::uint32_t m_readRegisterResult = 0;
    char* m_target = nullptr;
    unsigned m_capacity = 0;
    int m_readMemoryResult = 0;
};

} // namespace transport
