// A truth of its own, or what two integers of the node below (pValue) stand for.
#pragma once

#include "genicam/nodes/node_interfaces.h"

namespace tavo {

class ImplGenICamBoolean : public ImplGenICamBooleanInterface, public virtual GenICamBoolean {
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

} // namespace tavo
