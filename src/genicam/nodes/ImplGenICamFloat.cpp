#include "genicam/nodes/ImplGenICamFloat.h"

#include "genicam/nodes/failures.h"
#include "liomol/exceptions.h"

#include <cmath>

namespace tavo {

double ImplGenICamFloat::limit(NodeLimit which, const NumberReference& reference, double own) const {
    if (reference) {
        return reference.getFloat();
    }
    return m_fromBelow.has(which) ? readLimit(*m_pValue.node(), which).toFloat() : own;
}

double ImplGenICamFloat::getMin() {
    return limit(NodeLimit::Min, m_pMin, m_min);
}

double ImplGenICamFloat::getMax() {
    return limit(NodeLimit::Max, m_pMax, m_max);
}

double ImplGenICamFloat::readFloat() {
    return m_pValue ? m_pValue.readFloat() : m_value;
}

void ImplGenICamFloat::writeFloat(double value) {
    if (std::isnan(value) || value < getMin() || value > getMax()) {
        failOutsideLimits(*this, *this, value);
    }
    if (m_pValue) {
        m_pValue.writeFloat(value);
    } else {
        m_value = value;
        invalidateRegistersAndTriggerSignals();
    }
}

} // namespace tavo
