#include "transport/AckHandOver.h"

#include "transport/ReceivedFrame.h"
#include "transport/errors.h"
#include "util/qt_locks.h"

namespace transport {

int AckHandOver::takeReadRegister(const QByteArray& frame) {
    const ReceivedFrame ack(frame);
    const int status = frame::ackStatus(ack.packet);
    if (status != 0 || frame::isPending(ack.packet)) {
        return status;
    }
    if (ack.size < frame::kPayload + 4) {
        return transport_error::kTruncated;
    }
    const util::ScopedMutex guard(m_mutex);
    m_readRegisterResult = frame::get32<frame::kPayload>(ack.packet);
    m_arrived = true;
    m_condition.wakeAll();
    return 0;
}

// Nobody is woken for a bad acknowledgement: a good one may follow.
int AckHandOver::takeReadMemory(const QByteArray& frame) {
    const ReceivedFrame ack(frame);
    if (frame::isPending(ack.packet)) {
        return 0;
    }
    const util::ScopedMutex guard(m_mutex);
    m_readMemoryResult = frame::ackStatus(ack.packet) == 0
                             ? frame::copyMemory(ack.packet, ack.size, m_target, m_capacity)
                             : -1;
    if (m_readMemoryResult >= 0) {
        m_arrived = true;
        m_condition.wakeAll();
    }
    return m_readMemoryResult;
}

void AckHandOver::setReadMemoryTarget(char* buffer, unsigned capacity) {
    const util::ScopedMutex guard(m_mutex);
    m_target = buffer;
    m_capacity = buffer != nullptr ? capacity : 0;
}

bool AckHandOver::wait(int timeout) {
    const QDeadlineTimer deadline(timeout);
    const util::ScopedMutex guard(m_mutex);
    while (!m_arrived) {
        if (!util::waitFor(m_condition, m_mutex, deadline) && !m_arrived) {
            return false;
        }
    }
    m_arrived = false;
    return true;
}

std::uint32_t AckHandOver::readRegisterResult() const {
    const util::ScopedMutex guard(m_mutex);
    return m_readRegisterResult;
}

int AckHandOver::readMemoryResult() const {
    const util::ScopedMutex guard(m_mutex);
    return m_readMemoryResult;
}

} // namespace transport
