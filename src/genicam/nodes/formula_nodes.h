// Nodes that compute: SwissKnives give a value, Converters translate between a user's value and that of the
// node below. Nothing is cached here: each read evaluates the formula, which reads its variables.
#pragma once

#include "genicam/nodes/ImplGenICamMathVariables.h"
#include "genicam/nodes/node_interfaces.h"
#include "genicam/nodes/node_limits.h"
#include "math/MathParser.h"

#include <limits>
#include <optional>

namespace tavo {

class ImplGenICamSwissKnife : public ImplGenICamFloatInterface,
                              public ImplGenICamMathVariables,
                              public virtual GenICamSwissKnife {
public:
    // Always GicNotWritableException, also with checking off.
    void setValue(double value) override;
    // The smallest positive normal number, deliberately, as for other floats without a minimum; the lowest
    // number with the standard's meaning.
    double getMin() override { return defaultFloatMin(); }
    double getMax() override { return std::numeric_limits<double>::max(); }

    // Where the description's stages put the formula.
    MathParser& formula() { return m_formula; }

    double readFloat() override;
    void writeFloat(double value) override;

protected:
    AccessRule accessRule() const override { return {AccessMode::RO, nullptr}; }

private:
    MathParser m_formula;
};

class ImplGenICamIntSwissKnife : public ImplGenICamIntegerInterface,
                                 public ImplGenICamMathVariables,
                                 public virtual GenICamIntSwissKnife {
public:
    void setValue(std::int64_t value) override;
    std::int64_t getMin() override { return std::numeric_limits<std::int64_t>::min(); }
    std::int64_t getMax() override { return std::numeric_limits<std::int64_t>::max(); }
    std::int64_t getInc() override { return 1; }

    MathParser& formula() { return m_formula; }

    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    AccessRule accessRule() const override { return {AccessMode::RO, nullptr}; }

private:
    MathParser m_formula;
};

// What both converters hold: "TO" is the node below, "FROM" the value being set. Reading evaluates
// FormulaFrom; writing stores the value in FROM, evaluates FormulaTo and writes the result to the node below.
class ConverterFormulas : public ImplGenICamMathVariables {
public:
    ~ConverterFormulas() override;

    // The node below; binds TO.
    void setPValue(GenICamNode* node);
    // The private node that carries the value being set; binds FROM. It belongs to the device like any other.
    void setFromNode(GenICamNode* node);
    MathParser& formulaTo() { return m_formulaTo; }
    MathParser& formulaFrom() { return m_formulaFrom; }
    void setFormulaToText(std::string text) { m_formulaToText = std::move(text); }
    void setFormulaFromText(std::string text) { m_formulaFromText = std::move(text); }
    const std::string& getFormulaToText() const { return m_formulaToText; }
    const std::string& getFormulaFromText() const { return m_formulaFromText; }
    void setSlope(GenICamTypes::GenICamSlopeType slope) { m_slope = slope; }

protected:
    // Evaluates FormulaTo as the kind of the node below and writes it there; with the standard's meaning as
    // the kind of `self`, which is the node that this is a part of. GicIllegalNodeException without a node
    // below that is an integer or a float.
    void writeBelow(ImplGenICamNode& self);
    // A limit of the node below, as FormulaFrom translates it for `self`. The formula counts as monotonic
    // unless the slope is Varying. Nothing where the standard's meaning does not hold, or where no limit can
    // be told.
    std::optional<MathValue> limitFromBelow(ImplGenICamNode& self, NodeLimit limit);

    MathParser m_formulaTo;
    MathParser m_formulaFrom;
    NumberReference m_pValue;
    NumberReference m_from;
    bool m_integerBelow = false;
    std::string m_formulaToText;
    std::string m_formulaFromText;
    GenICamTypes::GenICamSlopeType m_slope = GenICamTypes::GenICamSlopeType::NotGiven;

private:
    std::optional<MathValue> translated(ImplGenICamNode& self, NodeLimit limit);
};

// No range or increment is checked when a converter is set; the limits of the node below apply there. The
// minimum is the smallest positive normal number, deliberately, and no limit is that of the node below; the
// standard has both otherwise.
class ImplGenICamConverter : public ImplGenICamFloatInterface,
                             public ConverterFormulas,
                             public virtual GenICamConverter {
public:
    double getMin() override;
    double getMax() override;
    GenICamTypes::GenICamSlopeType getSlope() const override { return m_slope; }

    double readFloat() override;
    void writeFloat(double value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }
};

class ImplGenICamIntConverter : public ImplGenICamIntegerInterface,
                                public ConverterFormulas,
                                public virtual GenICamIntConverter {
public:
    std::int64_t getMin() override;
    std::int64_t getMax() override;
    std::int64_t getInc() override { return 1; }
    GenICamTypes::GenICamSlopeType getSlope() const override { return m_slope; }
    const std::string& getUnit() const override { return m_unit; }
    void setUnit(std::string unit) { m_unit = std::move(unit); }

    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    std::string m_unit;
};

} // namespace tavo
