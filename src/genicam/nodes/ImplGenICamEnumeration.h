// One symbol out of several, each with the integer that stands for it here or in the node below (pValue).
#pragma once

#include "genicam/nodes/node_interfaces.h"

#include <string_view>

namespace tavo {

class ImplGenICamEnumEntry : public ImplGenICamNode, public virtual GenICamEnumEntry {
public:
    std::int64_t getValue() const override { return m_value; }
    const std::string& getSymbol() const override { return m_symbol; }
    std::string getValueAsString() override { return m_symbol; }

    // Before the entry is added to its enumeration.
    void setValue(std::int64_t value) { m_value = value; }
    void setSymbol(std::string symbol) { m_symbol = std::move(symbol); }

private:
    std::int64_t m_value = 0;
    std::string m_symbol;
};

class ImplGenICamEnumeration : public ImplGenICamEnumerationInterface,
                               public ImplGenICamSelectorInterface,
                               public virtual GenICamEnumeration {
public:
    std::int64_t getIntValue() override;
    void setIntValue(std::int64_t value) override;
    std::string getStringValue() override;
    void setStringValue(const std::string& symbol) override;
    const std::vector<GenICamEnumEntry*>& getEntries() const override { return m_entries; }
    GenICamEnumEntry* getEntryByValue(std::int64_t value) const override;
    // Null when no entry has the symbol.
    GenICamEnumEntry* getEntryBySymbol(std::string_view symbol) const;
    std::string getValueAsString() override { return getStringValue(); }

    void setStoredValue(std::int64_t value) { m_value = value; }
    void setPValue(GenICamNode* node) { m_pValue.set(node); }
    // A later entry takes over an earlier one's value or symbol. Null is ignored.
    void addEntry(GenICamEnumEntry* entry);

    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    GenICamEnumEntry& currentEntry();
    void writeEntry(const GenICamEnumEntry& entry);

    std::int64_t m_value = 0;
    NumberReference m_pValue;
    std::vector<GenICamEnumEntry*> m_entries;
    std::vector<std::int64_t> m_values; // of the entries, in their order
};

} // namespace tavo
