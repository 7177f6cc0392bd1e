// Value nodes: a value of their own or that of the node below (pValue), with limits and a mapping; and the
// categories that list features. A reference that is not set leaves the constant in force.
#pragma once

#include "genicam/nodes/ImplGenICamInterfaces.h"
#include "genicam/nodes/node_limits.h"
#include "util/Quirks.h"

#include <chrono>
#include <limits>
#include <string_view>

namespace tavo {

// Which limits a node takes from the node below (pValue) because it has none of its own.
class LimitsFromBelow {
public:
    // Nothing where the kind of the node below has no such limit.
    void add(NodeLimit limit, const NumberReference& below);
    bool has(NodeLimit limit) const { return (m_bits >> static_cast<int>(limit) & 1) != 0; }

private:
    unsigned char m_bits = 0;
};

class LIOMOL_API ImplGenICamInteger : public ImplGenICamIntegerInterface,
                                      public ImplGenICamSelectorInterface,
                                      public virtual GenICamInteger {
public:
    std::int64_t getMin() override;
    std::int64_t getMax() override;
    std::int64_t getInc() override;
    const std::string& getUnit() const override { return m_unit; }

    // The stored value, as the description gives it; nothing is checked.
    void setStoredValue(std::int64_t value) { m_value = value; }
    void setMin(std::int64_t value) { m_min = value; }
    void setMax(std::int64_t value) { m_max = value; }
    void setInc(std::int64_t value) { m_inc = value; }
    void setUnit(std::string unit) { m_unit = std::move(unit); }
    void setPValue(GenICamNode* node) { m_pValue.set(node); }
    void setPMin(GenICamNode* node) { m_pMin.set(node); }
    void setPMax(GenICamNode* node) { m_pMax.set(node); }
    void setPInc(GenICamNode* node) { m_pInc.set(node); }
    // Once pValue is set: the limit is that of pValue, if its kind has it and no node was set for it.
    void takeLimitFromBelow(NodeLimit limit) { m_fromBelow.add(limit, m_pValue); }

    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    std::int64_t m_value = 0;
    std::int64_t m_min = std::numeric_limits<std::int64_t>::min();
    std::int64_t m_max = std::numeric_limits<std::int64_t>::max();
    std::int64_t m_inc = 1;
    NumberReference m_pValue;
    NumberReference m_pMin;
    NumberReference m_pMax;
    NumberReference m_pInc;
    std::string m_unit;
    LimitsFromBelow m_fromBelow;

    std::int64_t limit(NodeLimit which, const NumberReference& reference, std::int64_t own) const;
    bool accepts(std::int64_t value);
};

// The minimum of a Float that gives none is the smallest positive normal number: zero and negative values are
// below it. Kept deliberately.
inline constexpr double kDefaultFloatMin = std::numeric_limits<double>::min();
inline constexpr double kDefaultFloatMax = std::numeric_limits<double>::max();

class LIOMOL_API ImplGenICamFloat : public ImplGenICamFloatInterface, public virtual GenICamFloat {
public:
    double getMin() override;
    double getMax() override;

    void setStoredValue(double value) { m_value = value; }
    void setMin(double value) { m_min = value; }
    void setMax(double value) { m_max = value; }
    void setPValue(GenICamNode* node) { m_pValue.set(node); }
    void setPMin(GenICamNode* node) { m_pMin.set(node); }
    void setPMax(GenICamNode* node) { m_pMax.set(node); }
    // As for an Integer.
    void takeLimitFromBelow(NodeLimit limit) { m_fromBelow.add(limit, m_pValue); }

    double readFloat() override;
    void writeFloat(double value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    double m_value = 0;
    double m_min = kDefaultFloatMin;
    double m_max = kDefaultFloatMax;
    NumberReference m_pValue;
    NumberReference m_pMin;
    NumberReference m_pMax;
    LimitsFromBelow m_fromBelow;

    double limit(NodeLimit which, const NumberReference& reference, double own) const;
};

class LIOMOL_API ImplGenICamBoolean : public ImplGenICamBooleanInterface, public virtual GenICamBoolean {
public:
    std::int64_t getOnValue() const override { return m_onValue; }
    std::int64_t getOffValue() const override { return m_offValue; }

    void setStoredValue(bool value) { m_value = value; }
    void setOnValue(std::int64_t value) { m_onValue = value; }
    void setOffValue(std::int64_t value) { m_offValue = value; }
    void setPValue(GenICamNode* node) { m_pValue.set(node); }

    // As a number: 1 for true, 0 for false, whatever the node below holds.
    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    std::int64_t m_onValue = 1;
    std::int64_t m_offValue = 0;
    NumberReference m_pValue;
    bool m_value = false;
};

class LIOMOL_API ImplGenICamCommand : public ImplGenICamCommandInterface, public virtual GenICamCommand {
public:
    void execute() override;
    bool isDone() override;
    std::int64_t getPollingTime() const override { return m_pollingTime; }
    // "inactive" when done, else "active".
    std::string getValueAsString() override;

    void setStoredValue(std::int64_t value) { m_value = value; }
    void setCommandValue(std::int64_t value) { m_commandValue = value; }
    void setPollingTime(std::int64_t milliseconds) { m_pollingTime = milliseconds; }
    void setPValue(GenICamNode* node) { m_pValue.set(node); }
    void setPCommandValue(GenICamNode* node) { m_pCommandValue.set(node); }

    // What the node below holds, where the standard lets a command be referred to as a number.
    bool hasNumber() const override { return !quirks().numericVariablesOnly; }
    std::int64_t readInteger() override { return m_pValue ? m_pValue.readInteger() : m_value; }
    double readFloat() override { return static_cast<double>(readInteger()); }

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    std::int64_t m_value = 0;
    std::int64_t m_commandValue = 0;
    std::int64_t m_pollingTime = 0;
    std::chrono::steady_clock::time_point m_nextCheckTime = std::chrono::steady_clock::time_point::min();
    NumberReference m_pValue;
    NumberReference m_pCommandValue;
};

class LIOMOL_API ImplGenICamEnumEntry : public ImplGenICamNode, public virtual GenICamEnumEntry {
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

class LIOMOL_API ImplGenICamEnumeration : public ImplGenICamEnumerationInterface,
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
    void writeEntry(const GenICamEnumEntry* entry);

    std::int64_t m_value = 0;
    NumberReference m_pValue;
    std::vector<GenICamEnumEntry*> m_entries;
    std::vector<std::int64_t> m_values; // of the entries, in their order
};

class LIOMOL_API ImplGenICamCategory : public ImplGenICamCategoryInterface, public virtual GenICamCategory {
public:
    const std::vector<GenICamNode*>& getFeatures() const override { return m_features; }
    // Null is ignored.
    void addFeature(GenICamNode* node);

private:
    std::vector<GenICamNode*> m_features;
};

} // namespace tavo
