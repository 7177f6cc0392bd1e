#include "genicam/nodes/ImplGenICamInteger.h"
#include "genicam/nodes/failures.h"

#include "genicam/nodes/numbers.h"
#include "liomol/exceptions.h"
#include "util/Quirks.h"

#include <cmath>

namespace tavo {

// The limits of a float below are taken as far as integers reach them.
std::int64_t
ImplGenICamInteger::limit(NodeLimit which, const NumberReference& reference, std::int64_t own) const {
    if (reference) {
        return reference.getInteger();
    }
    if (!m_fromBelow.has(which)) {
        return own;
    }
    const MathValue below = readLimit(*m_pValue.node(), which);
    if (below.isInteger()) {
        return below.integer;
    }
    return numbers::clampedInteger(which == NodeLimit::Min ? std::ceil(below.real) : std::floor(below.real));
}

std::int64_t ImplGenICamInteger::getMin() {
    return limit(NodeLimit::Min, m_pMin, m_min);
}

std::int64_t ImplGenICamInteger::getMax() {
    return limit(NodeLimit::Max, m_pMax, m_max);
}

std::int64_t ImplGenICamInteger::getInc() {
    return limit(NodeLimit::Inc, m_pInc, m_inc);
}

std::int64_t ImplGenICamInteger::readInteger() {
    return m_pValue ? m_pValue.readInteger() : m_value;
}

// The increment counts from zero, not from the minimum: with a minimum of 1 and an increment of 2 only even
// values are accepted. Kept deliberately; the standard counts from the minimum, where there is one.
bool ImplGenICamInteger::accepts(std::int64_t value) {
    const std::int64_t min = getMin();
    if (value < min || value > getMax()) {
        return false;
    }
    const bool fromZero = quirks().incrementsFromZero || min == std::numeric_limits<std::int64_t>::min();
    return fromZero ? numbers::isMultiple(value, getInc()) : numbers::isMultipleFrom(min, value, getInc());
}

void ImplGenICamInteger::writeInteger(std::int64_t value) {
    if (!accepts(value)) {
        failOutsideLimits(*this, *this, value);
    }
    if (m_pValue) {
        m_pValue.writeInteger(value);
    } else {
        m_value = value;
        invalidateRegistersAndTriggerSignals();
    }
}

} // namespace tavo
