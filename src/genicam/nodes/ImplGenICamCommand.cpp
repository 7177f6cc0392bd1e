#include "genicam/nodes/ImplGenICamCommand.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/numbers.h"

namespace tavo {

using Guard = GenICamScopedReadWriteLock;
using Clock = std::chrono::steady_clock;

void ImplGenICamCommand::execute() {
    const Guard guard(this, Guard::WriteLock);
    if (m_pCommandValue) {
        m_commandValue = m_pCommandValue.readInteger();
    } else {
        invalidateRegistersAndTriggerSignals();
    }
    if (m_pValue) {
        m_pValue.writeInteger(m_commandValue);
    } else {
        m_value = m_commandValue;
    }
    settleWrite();
    m_nextCheckTime = Clock::time_point::min(); // an answer from before the execution says nothing of it
}

// Where the answer would have to come from a register that cannot be read, a command is done once it has been
// executed.
bool ImplGenICamCommand::isDone() {
    if (isWriteOnly() || (m_pValue && m_pValue.node()->isWriteOnly())) {
        return true;
    }
    const Guard guard(this, Guard::ReadLock);
    if (Clock::now() >= m_nextCheckTime) {
        if (m_pValue) {
            m_value = m_pValue.readInteger();
        }
        if (m_pCommandValue) {
            m_commandValue = m_pCommandValue.readInteger();
        }
        m_nextCheckTime = numbers::fromNow(m_pollingTime);
    }
    return m_value != m_commandValue;
}

std::string ImplGenICamCommand::getValueAsString() {
    return isDone() ? "inactive" : "active";
}

} // namespace tavo
