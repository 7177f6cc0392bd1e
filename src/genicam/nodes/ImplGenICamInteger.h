// An integer of its own or that of the node below (pValue), with limits. A reference that is not set leaves
// the constant in force.
#pragma once

#include "genicam/nodes/node_interfaces.h"
#include "genicam/nodes/node_limits.h"

#include <limits>

namespace tavo {

class ImplGenICamInteger : public ImplGenICamIntegerInterface,
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

} // namespace tavo
