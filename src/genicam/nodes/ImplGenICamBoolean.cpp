#include "genicam/nodes/ImplGenICamBoolean.h"

#include "genicam/nodes/failures.h"
#include "liomol/exceptions.h"

namespace tavo {

std::int64_t ImplGenICamBoolean::readInteger() {
    if (!m_pValue) {
        return m_value ? 1 : 0;
    }
    const std::int64_t value = m_pValue.readInteger();
    if (value == m_onValue) {
        return 1;
    }
    if (value == m_offValue) {
        return 0;
    }
    util::fail<GicIllegalValueException>([&] {
        return wayTo(*this) + "the camera's value " + std::to_string(value) + " is neither " +
               std::to_string(m_onValue) + " for true nor " + std::to_string(m_offValue) + " for false";
    });
}

void ImplGenICamBoolean::writeInteger(std::int64_t value) {
    const bool on = value != 0;
    if (m_pValue) {
        m_pValue.writeInteger(on ? m_onValue : m_offValue);
    } else {
        invalidateRegistersAndTriggerSignals();
    }
    m_value = on;
}

} // namespace tavo
