// Nodes that compute: SwissKnives give a value, Converters translate between a user's value and that of the
// node below. Nothing is cached here: each read evaluates the formula, which reads its variables.
#pragma once

#include "genicam/ImplGenICamInterfaces.h"
#include "math/MathParser.h"
#include "math/MathVariablesInterface.h"

#include <limits>

namespace tavo {

// The variables of a node's formulas. Names are looked up in upper case, as formulas spell them. A variable
// must be an integer or a float node (deliberately not a Boolean or an Enumeration).
class LIOMOL_API ImplGenICamMathVariables : public MathVariablesInterface {
public:
    ~ImplGenICamMathVariables() override;

    // Binds a name, in any letter case, to a node; a later call takes an earlier one's place. Null unbinds.
    void setVariable(const std::string& name, GenICamNode* node);

    std::int64_t getIntegerVariable(const std::string& name) override;
    double getFloatVariable(const std::string& name) override;
    int resolveVariable(std::string_view name) override;
    MathValue getVariable(int slot) override;

private:
    enum class Kind : unsigned char { Unbound, Other, Integer, Float };
    struct Variable {
        std::string name; // upper case
        NumberReference node;
        Kind kind;
    };
    const Variable& find(const std::string& name, Kind kind);
    void order();

    std::vector<Variable> m_variables; // a slot is an index once they are ordered
    bool m_ordered = true;
};

class LIOMOL_API ImplGenICamSwissKnife : public ImplGenICamFloatInterface,
                                         public ImplGenICamMathVariables,
                                         public virtual GenICamSwissKnife {
public:
    // Always GicNotWritableException, also with checking off.
    void setValue(double value) override;
    // The smallest positive normal number, deliberately, as for other floats without a minimum.
    double getMin() override { return std::numeric_limits<double>::min(); }
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

class LIOMOL_API ImplGenICamIntSwissKnife : public ImplGenICamIntegerInterface,
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
class LIOMOL_API ConverterFormulas : public ImplGenICamMathVariables {
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
    // Evaluates FormulaTo as the kind of the node below and writes it there; GicIllegalNodeException without
    // a node below that is an integer or a float.
    void writeBelow();

    MathParser m_formulaTo;
    MathParser m_formulaFrom;
    NumberReference m_pValue;
    NumberReference m_from;
    bool m_integerBelow = false;
    std::string m_formulaToText;
    std::string m_formulaFromText;
    GenICamTypes::GenICamSlopeType m_slope = GenICamTypes::GenICamSlopeType::NotGiven;
};

// No range or increment is checked when a converter is set; the limits of the node below apply there.
class LIOMOL_API ImplGenICamConverter : public ImplGenICamFloatInterface,
                                        public ConverterFormulas,
                                        public virtual GenICamConverter {
public:
    double getMin() override { return std::numeric_limits<double>::min(); }
    double getMax() override { return std::numeric_limits<double>::max(); }
    GenICamTypes::GenICamSlopeType getSlope() const override { return m_slope; }

    double readFloat() override;
    void writeFloat(double value) override;

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }
};

class LIOMOL_API ImplGenICamIntConverter : public ImplGenICamIntegerInterface,
                                           public ConverterFormulas,
                                           public virtual GenICamIntConverter {
public:
    std::int64_t getMin() override { return std::numeric_limits<std::int64_t>::min(); }
    std::int64_t getMax() override { return std::numeric_limits<std::int64_t>::max(); }
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
