#include "genicam/nodes/ImplGenICamEnumeration.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/failures.h"
#include "liomol/exceptions.h"
#include "util/Quirks.h"

#include <algorithm>

namespace tavo {

using Guard = GenICamScopedReadWriteLock;

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
        util::fail<GicIllegalValueException>([this] {
            return wayTo(*this) + "the camera's value " + std::to_string(m_value) + " is that of no entry";
        });
    }
    return *entry;
}

void ImplGenICamEnumeration::writeEntry(const GenICamEnumEntry& entry) {
    if (m_pValue) {
        m_pValue.writeInteger(entry.getValue());
    } else {
        m_value = entry.getValue();
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
    const GenICamEnumEntry* const entry = getEntryByValue(value);
    if (entry == nullptr) {
        failNoEntry(*this, *this, std::to_string(value));
    }
    writeEntry(*entry);
}

std::int64_t ImplGenICamEnumeration::getIntValue() {
    const Guard guard(this, Guard::ReadLock);
    return currentEntry().getValue();
}

void ImplGenICamEnumeration::setIntValue(std::int64_t value) {
    const Guard guard(this, Guard::WriteLock);
    writeInteger(value);
    settleWrite();
}

std::string ImplGenICamEnumeration::getStringValue() {
    const Guard guard(this, Guard::ReadLock);
    return currentEntry().getSymbol();
}

void ImplGenICamEnumeration::setStringValue(const std::string& symbol) {
    const Guard guard(this, Guard::WriteLock);
    const GenICamEnumEntry* const entry = getEntryBySymbol(symbol);
    if (entry == nullptr) {
        failNoEntry(*this, *this, symbol);
    }
    writeEntry(*entry);
    settleWrite();
}

} // namespace tavo
