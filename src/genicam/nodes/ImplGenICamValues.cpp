#include "genicam/nodes/ImplGenICamValues.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/numbers.h"

#include <algorithm>

namespace tavo {

using Guard = GenICamScopedReadWriteLock;
using Clock = std::chrono::steady_clock;

void LimitsFromBelow::add(NodeLimit limit, const NumberReference& below) {
    if (below && hasLimit(*below.node(), limit)) {
        m_bits = static_cast<unsigned char>(m_bits | 1 << static_cast<int>(limit));
    }
}

// ---- Integer ---------------------------------------------------------------------------------------------

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
        throw GicIllegalValueException();
    }
    if (m_pValue) {
        m_pValue.writeInteger(value);
    } else {
        m_value = value;
        invalidateRegistersAndTriggerSignals();
    }
}

// ---- Float -----------------------------------------------------------------------------------------------

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
        throw GicIllegalValueException();
    }
    if (m_pValue) {
        m_pValue.writeFloat(value);
    } else {
        m_value = value;
        invalidateRegistersAndTriggerSignals();
    }
}

// ---- Boolean ---------------------------------------------------------------------------------------------

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
    throw GicIllegalValueException();
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

// ---- Command ---------------------------------------------------------------------------------------------

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

// ---- Enumeration -----------------------------------------------------------------------------------------

void ImplGenICamEnumeration::addEntry(GenICamEnumEntry* entry) {
    if (entry != nullptr) {
        m_entries.push_back(entry);
        m_values.push_back(entry->getValue());
    }
}

// From the back, so that a later entry of the same value counts.
GenICamEnumEntry* ImplGenICamEnumeration::getEntryByValue(std::int64_t value) const {
    const auto found = std::find(m_values.rbegin(), m_values.rend(), value);
    return found != m_values.rend() ? m_entries[static_cast<std::size_t>(m_values.rend() - found) - 1]
                                    : nullptr;
}

GenICamEnumEntry* ImplGenICamEnumeration::getEntryBySymbol(std::string_view symbol) const {
    const auto found = std::find_if(m_entries.rbegin(), m_entries.rend(), [symbol](const auto* entry) {
        return entry->getSymbol() == symbol;
    });
    return found != m_entries.rend() ? *found : nullptr;
}

GenICamEnumEntry& ImplGenICamEnumeration::currentEntry() {
    if (m_pValue) {
        m_value = m_pValue.readInteger();
    }
    GenICamEnumEntry* const entry = getEntryByValue(m_value);
    if (entry == nullptr) {
        throw GicIllegalValueException();
    }
    return *entry;
}

void ImplGenICamEnumeration::writeEntry(const GenICamEnumEntry* entry) {
    if (entry == nullptr) {
        throw GicIllegalValueException();
    }
    if (m_pValue) {
        m_pValue.writeInteger(entry->getValue());
    } else {
        m_value = entry->getValue();
        invalidateRegistersAndTriggerSignals();
    }
}

// What others see of it. Its users see entries only.
std::int64_t ImplGenICamEnumeration::readInteger() {
    if (quirks().entriesOnly) {
        return currentEntry().getValue();
    }
    return m_pValue ? m_pValue.readInteger() : m_value;
}

void ImplGenICamEnumeration::writeInteger(std::int64_t value) {
    writeEntry(getEntryByValue(value));
}

std::int64_t ImplGenICamEnumeration::getIntValue() {
    const Guard guard(this, Guard::ReadLock);
    return currentEntry().getValue();
}

void ImplGenICamEnumeration::setIntValue(std::int64_t value) {
    const Guard guard(this, Guard::WriteLock);
    writeEntry(getEntryByValue(value));
    settleWrite();
}

std::string ImplGenICamEnumeration::getStringValue() {
    const Guard guard(this, Guard::ReadLock);
    return currentEntry().getSymbol();
}

void ImplGenICamEnumeration::setStringValue(const std::string& symbol) {
    const Guard guard(this, Guard::WriteLock);
    writeEntry(getEntryBySymbol(symbol));
    settleWrite();
}

// ---- Category --------------------------------------------------------------------------------------------

void ImplGenICamCategory::addFeature(GenICamNode* node) {
    if (node != nullptr) {
        m_features.push_back(node);
    }
}

} // namespace tavo
