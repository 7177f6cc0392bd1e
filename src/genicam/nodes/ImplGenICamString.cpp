#include "genicam/nodes/ImplGenICamString.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/reference_hop.h"

#include <limits>

namespace tavo {

using Guard = GenICamScopedReadWriteLock;

void ImplGenICamString::setPValue(GenICamNode* node) {
    const bool hasText = node != nullptr && node->asString() != nullptr;
    m_pValue = hasText ? dynamic_cast<ImplGenICamNode*>(node) : nullptr;
}

std::string ImplGenICamString::getValue() {
    const Guard guard(this, Guard::ReadLock);
    if (m_pValue == nullptr) {
        return m_value;
    }
    const ReferenceHop hop(*m_pValue);
    return m_pValue->asString()->getValue();
}

void ImplGenICamString::setValue(const std::string& value) {
    const Guard guard(this, Guard::WriteLock);
    if (m_pValue == nullptr) {
        m_value = value;
        invalidateRegistersAndTriggerSignals();
    } else {
        const ReferenceHop hop(*m_pValue);
        m_pValue->asString()->setValue(value);
    }
    settleWrite();
}

std::int64_t ImplGenICamString::getMaxLength() {
    const DeviceLockScope scope(getHost());
    if (m_pValue == nullptr) {
        return std::numeric_limits<std::int64_t>::max();
    }
    const ReferenceHop hop(*m_pValue);
    return m_pValue->asString()->getMaxLength();
}

} // namespace tavo
