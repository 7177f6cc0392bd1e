// What the formulas of a node may name.
#pragma once

#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/reference_hop.h"
#include "math/MathParser.h"
#include "math/MathVariablesInterface.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

// The variables of a node's formulas. Names are looked up in upper case, as formulas spell them. A variable
// must be an integer or a float node (deliberately not a Boolean or an Enumeration).
//
// With the standard's meaning any node with a number may be a variable: a Boolean, an Enumeration and a
// Command count as integers. ".Value", ".Min", ".Max", ".Inc" and ".Entry.<symbol>" ask for that of a node:
// after the variable's name in the formula, or in the name itself that the node is bound to. Constants and
// expressions have names of their own.
class ImplGenICamMathVariables : public MathVariablesInterface {
public:
    ImplGenICamMathVariables();
    ~ImplGenICamMathVariables() override;

    // Binds a name, in any letter case, to a node; a later call takes an earlier one's place. Null unbinds.
    void setVariable(const std::string& name, GenICamNode* node);
    // A number or a formula for a name that no variable bears; the latest of a name counts. The formula,
    // which the caller gives the parser, is evaluated as the kind of `owner`, the node that this is a part
    // of.
    void addConstant(std::string_view name, MathValue value);
    MathParser& addExpression(std::string_view name, ImplGenICamNode& owner);

    // The nodes with a number that variables are bound to, in the order of the variables' names.
    std::vector<ImplGenICamNode*> variableNodes() const;

    std::int64_t getIntegerVariable(const std::string& name) override;
    double getFloatVariable(const std::string& name) override;
    int resolveVariable(std::string_view name) override;
    MathValue getVariable(int slot) override;

protected:
    // As setVariable; `isNumber` tells whether a node that is neither an Integer nor a Float counts as an
    // integer.
    void bind(const std::string& name, GenICamNode* node, bool isNumber);
    // The value of a formula in which the variable of a name, if there is one, has a value of its own.
    MathValue evaluateWith(std::string_view name, MathValue value, MathParser& formula, bool asInteger);

private:
    enum class Kind : unsigned char { Unbound, Other, Integer, Float, Fixed };
    struct Variable {
        std::string name; // upper case
        NumberReference node;
        Kind kind;
    };
    // What formulas use besides plain variables; few nodes need it.
    struct Extras;

    const Variable& find(const std::string& name, Kind kind);
    void order();
    Variable* look(std::string_view name);
    int slotOf(const Variable& variable) const { return static_cast<int>(&variable - m_variables.data()); }
    int resolveSuffix(const Variable& variable, std::string_view suffix);
    Extras& extras();

    std::vector<Variable> m_variables; // a slot is an index once they are ordered
    std::unique_ptr<Extras> m_extras;
    bool m_ordered = true;
};

// Stands around each evaluation: a formula that needs itself, or far too many others, ends in
// GicIllegalNodeException.
class EvaluationScope {
public:
    explicit EvaluationScope(const ImplGenICamNode& node);

private:
    ReferenceHop m_hop;
};

} // namespace tavo
