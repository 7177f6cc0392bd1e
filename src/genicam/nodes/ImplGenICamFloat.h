// A floating-point number of its own or that of the node below (pValue), with limits. A reference that is not
// set leaves the constant in force.
#pragma once

#include "genicam/nodes/node_interfaces.h"
#include "genicam/nodes/node_limits.h"

#include <limits>

namespace tavo {

// The minimum of a Float that gives none is the smallest positive normal number: zero and negative values are
// below it. Kept deliberately.
inline constexpr double kDefaultFloatMin = std::numeric_limits<double>::min();
inline constexpr double kDefaultFloatMax = std::numeric_limits<double>::max();

class ImplGenICamFloat : public ImplGenICamFloatInterface, public virtual GenICamFloat {
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

} // namespace tavo
