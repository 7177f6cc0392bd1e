// String nodes: a text of their own, or that of the node below. Made with the standard's meaning only.
#pragma once

#include "genicam/nodes/node_interfaces.h"

namespace tavo {

class ImplGenICamString : public ImplGenICamStringInterface, public virtual GenICamString {
public:
    std::string getValue() override;
    void setValue(const std::string& value) override;
    // That of the node below; a text of its own has no limit, which is the highest number.
    std::int64_t getMaxLength() override;
    std::string getValueAsString() override { return getValue(); }

    void setStoredValue(std::string value) { m_value = std::move(value); }
    // A node without a text leaves the reference empty.
    void setPValue(GenICamNode* node);

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    std::string m_value;
    ImplGenICamNode* m_pValue = nullptr; // has a text
};

} // namespace tavo
