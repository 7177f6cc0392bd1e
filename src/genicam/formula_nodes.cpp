#include "genicam/formula_nodes.h"

#include "genicam/ImplGenICamCamera.h"
#include "genicam/reference_hop.h"
#include "util/exceptions.h"

#include <algorithm>
#include <functional>

namespace tavo {
namespace {

// The formula engine takes this as "no such variable".
constexpr int kNoVariable = 0;

std::string upperCase(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return text;
}

// Stands around each evaluation: a formula that needs itself, or far too many others, ends in an error.
class EvaluationScope {
public:
    explicit EvaluationScope(const ImplGenICamNode& node) : m_hop(node, kFormulaDepth) {
        ImplGenICamCamera* const camera = node.getCamera();
        if (camera != nullptr && ++camera->access().formulaEvaluations > kMaxFormulaEvaluations) {
            throw GicIllegalNodeException();
        }
    }

private:
    ReferenceHop m_hop;
};

} // namespace

// ---- Variables -------------------------------------------------------------------------------------------

ImplGenICamMathVariables::~ImplGenICamMathVariables() = default;

// Only appends: a description may bind any number of names, and order() is enough before the first look.
void ImplGenICamMathVariables::setVariable(const std::string& name, GenICamNode* node) {
    Variable variable{upperCase(name), {}, Kind::Unbound};
    if (node != nullptr) {
        variable.node.set(node);
        variable.kind = node->asInteger() != nullptr ? Kind::Integer
                        : node->asFloat() != nullptr ? Kind::Float
                                                     : Kind::Other;
    }
    m_variables.push_back(std::move(variable));
    m_ordered = false;
    variablesChanged();
}

// By ascending name, of each name the latest. Slots that were given out before are void by then.
void ImplGenICamMathVariables::order() {
    if (m_ordered) {
        return;
    }
    std::ranges::stable_sort(m_variables, {}, &Variable::name);
    const auto superseded = std::unique(
        m_variables.rbegin(), m_variables.rend(),
        [](const Variable& later, const Variable& earlier) { return later.name == earlier.name; });
    m_variables.erase(m_variables.begin(), superseded.base());
    m_ordered = true;
}

int ImplGenICamMathVariables::resolveVariable(std::string_view name) {
    order();
    const auto found = std::ranges::lower_bound(m_variables, name, std::less<>{}, &Variable::name);
    const bool isBound = found != m_variables.end() && found->name == name && found->kind != Kind::Unbound;
    return isBound ? static_cast<int>(found - m_variables.begin()) : NoVariable;
}

MathValue ImplGenICamMathVariables::getVariable(int slot) {
    const Variable& variable = m_variables[static_cast<std::size_t>(slot)];
    switch (variable.kind) {
    case Kind::Integer:
        return MathValue::fromInteger(variable.node.readInteger());
    case Kind::Float:
        return MathValue::fromFloat(variable.node.readFloat());
    case Kind::Other:
    case Kind::Unbound:
        break;
    }
    throw kNoVariable;
}

const ImplGenICamMathVariables::Variable& ImplGenICamMathVariables::find(const std::string& name, Kind kind) {
    const int slot = resolveVariable(upperCase(name));
    if (slot == NoVariable || m_variables[static_cast<std::size_t>(slot)].kind != kind) {
        throw kNoVariable;
    }
    return m_variables[static_cast<std::size_t>(slot)];
}

std::int64_t ImplGenICamMathVariables::getIntegerVariable(const std::string& name) {
    return find(name, Kind::Integer).node.getInteger();
}

double ImplGenICamMathVariables::getFloatVariable(const std::string& name) {
    return find(name, Kind::Float).node.getFloat();
}

// ---- SwissKnives -----------------------------------------------------------------------------------------

void ImplGenICamSwissKnife::setValue(double) {
    throw GicNotWritableException();
}

void ImplGenICamSwissKnife::writeFloat(double) {
    throw GicNotWritableException();
}

double ImplGenICamSwissKnife::readFloat() {
    const EvaluationScope scope(*this);
    return m_formula.evaluateFloat();
}

void ImplGenICamIntSwissKnife::setValue(std::int64_t) {
    throw GicNotWritableException();
}

void ImplGenICamIntSwissKnife::writeInteger(std::int64_t) {
    throw GicNotWritableException();
}

std::int64_t ImplGenICamIntSwissKnife::readInteger() {
    const EvaluationScope scope(*this);
    return m_formula.evaluateInteger();
}

// ---- Converters ------------------------------------------------------------------------------------------

ConverterFormulas::~ConverterFormulas() = default;

void ConverterFormulas::setPValue(GenICamNode* node) {
    m_pValue.set(node);
    m_integerBelow = m_pValue && node->asFloat() == nullptr;
    setVariable("TO", node);
}

void ConverterFormulas::setFromNode(GenICamNode* node) {
    m_from.set(node);
    setVariable("FROM", node);
}

// The kind of the node below decides how FormulaTo is evaluated.
void ConverterFormulas::writeBelow() {
    if (!m_pValue) {
        throw GicIllegalNodeException();
    }
    if (m_integerBelow) {
        m_pValue.writeInteger(m_formulaTo.evaluateInteger());
    } else {
        m_pValue.writeFloat(m_formulaTo.evaluateFloat());
    }
}

double ImplGenICamConverter::readFloat() {
    const EvaluationScope scope(*this);
    return m_formulaFrom.evaluateFloat();
}

void ImplGenICamConverter::writeFloat(double value) {
    const EvaluationScope scope(*this);
    if (m_from) {
        m_from.writeFloat(value);
    }
    writeBelow();
}

std::int64_t ImplGenICamIntConverter::readInteger() {
    const EvaluationScope scope(*this);
    return m_formulaFrom.evaluateInteger();
}

void ImplGenICamIntConverter::writeInteger(std::int64_t value) {
    const EvaluationScope scope(*this);
    if (m_from) {
        m_from.writeInteger(value);
    }
    writeBelow();
}

} // namespace tavo
