#include "genicam/nodes/ImplGenICamMathVariables.h"

#include "genicam/nodes/ImplGenICamEnumeration.h"
#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/limits.h"
#include "genicam/nodes/node_limits.h"
#include "liomol/exceptions.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace tavo {
namespace {

// The formula engine takes this as "no such variable".
constexpr int kNoVariable = 0;

// Slots of variables are below it.
constexpr int kFirstExtraSlot = 1 << 30;

struct LimitSuffix {
    std::string_view text;
    NodeLimit limit;
};
constexpr LimitSuffix kLimitSuffixes[] = {
    {"MIN", NodeLimit::Min}, {"MAX", NodeLimit::Max}, {"INC", NodeLimit::Inc}};

constexpr std::string_view kValueSuffix = "VALUE";
constexpr std::string_view kEntrySuffix = "ENTRY.";

// What stands behind the first dot of a name that has such a meaning; empty for other names.
std::string_view suffixOf(std::string_view name) {
    for (std::size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.', dot + 1)) {
        const std::string_view rest = name.substr(dot + 1);
        const bool isLimit =
            std::ranges::find(kLimitSuffixes, rest, &LimitSuffix::text) != std::end(kLimitSuffixes);
        if (isLimit || rest == kValueSuffix || rest.starts_with(kEntrySuffix)) {
            return rest;
        }
    }
    return {};
}

char upperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string upperCase(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        c = upperCase(c);
    }
    return result;
}

// The latest entry of a symbol, in any letter case: formulas have none.
const GenICamEnumEntry* findEntry(const GenICamEnumerationInterface& enumeration, std::string_view symbol) {
    const auto& entries = enumeration.getEntries();
    const auto found = std::find_if(entries.rbegin(), entries.rend(), [symbol](const auto* entry) {
        return std::ranges::equal(
            entry->getSymbol(), symbol, [](char a, char b) { return upperCase(a) == b; });
    });
    return found != entries.rend() ? *found : nullptr;
}

} // namespace

EvaluationScope::EvaluationScope(const ImplGenICamNode& node) : m_hop(node, kFormulaDepth) {
    NodeHost* const host = node.getHost();
    if (host != nullptr && ++host->access().formulaEvaluations > kMaxFormulaEvaluations) {
        failAt<GicIllegalNodeException>(node, ": more formulas than one access may evaluate");
    }
}

struct ImplGenICamMathVariables::Extras {
    struct Extra {
        MathValue constant{};
        std::unique_ptr<MathParser> expression;
        ImplGenICamNode* node = nullptr; // of a limit, or the owner of an expression
        NodeLimit limit = NodeLimit::Min;
    };

    std::vector<Extra> all; // those with a name come first, then what suffixes asked for
    std::size_t named = 0;
    std::map<std::string, int, std::less<>> slots; // by name in upper case
    MathValue fixed{};                             // of the variable of that kind

    Extra& addNamed(std::string_view name) {
        all.resize(named++);
        slots[upperCase(name)] = slotOf(all.emplace_back());
        return all.back();
    }
    int add(Extra extra) {
        all.push_back(std::move(extra));
        return slotOf(all.back());
    }
    int slotOf(const Extra& extra) const { return kFirstExtraSlot + static_cast<int>(&extra - all.data()); }

    int resolve(std::string_view name) const {
        const auto found = slots.find(name);
        return found != slots.end() ? found->second : kNoVariable;
    }

    // Nothing here refers to `all` while a node or an expression is evaluated: it may grow meanwhile.
    MathValue get(int slot) const {
        const Extra& extra = all[static_cast<std::size_t>(slot - kFirstExtraSlot)];
        if (extra.node == nullptr) {
            return extra.constant;
        }
        if (extra.expression == nullptr) {
            return readLimit(*extra.node, extra.limit);
        }
        MathParser& formula = *extra.expression;
        const bool isInteger = extra.node->asInteger() != nullptr;
        const EvaluationScope scope(*extra.node);
        return isInteger ? MathValue::fromInteger(formula.evaluateInteger())
                         : MathValue::fromFloat(formula.evaluateFloat());
    }
};

ImplGenICamMathVariables::ImplGenICamMathVariables() = default;
ImplGenICamMathVariables::~ImplGenICamMathVariables() = default;

ImplGenICamMathVariables::Extras& ImplGenICamMathVariables::extras() {
    if (!m_extras) {
        m_extras = std::make_unique<Extras>();
    }
    return *m_extras;
}

void ImplGenICamMathVariables::setVariable(const std::string& name, GenICamNode* node) {
    NumberReference reference;
    const bool hasNumber = reference.set(node);
    bind(name, node, hasNumber && !reference.node()->quirks().numericVariablesOnly);
}

// Only appends: a description may bind any number of names, and order() is enough before the first look.
void ImplGenICamMathVariables::bind(const std::string& name, GenICamNode* node, bool isNumber) {
    Variable variable{upperCase(name), {}, Kind::Unbound};
    if (node != nullptr) {
        variable.node.set(node);
        variable.kind = node->asInteger() != nullptr ? Kind::Integer
                        : node->asFloat() != nullptr ? Kind::Float
                        : isNumber                   ? Kind::Integer
                                                     : Kind::Other;
    }
    m_variables.push_back(std::move(variable));
    m_ordered = false;
    if (m_extras) {
        m_extras->all.resize(m_extras->named);
    }
    variablesChanged();
}

void ImplGenICamMathVariables::addConstant(std::string_view name, MathValue value) {
    extras().addNamed(name).constant = value;
    variablesChanged();
}

MathParser& ImplGenICamMathVariables::addExpression(std::string_view name, ImplGenICamNode& owner) {
    Extras::Extra& extra = extras().addNamed(name);
    extra.expression = std::make_unique<MathParser>();
    extra.node = &owner;
    variablesChanged();
    return *extra.expression;
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

// Null where nothing is bound to the name.
ImplGenICamMathVariables::Variable* ImplGenICamMathVariables::look(std::string_view name) {
    order();
    const auto found = std::ranges::lower_bound(m_variables, name, std::less<>{}, &Variable::name);
    const bool isBound = found != m_variables.end() && found->name == name && found->kind != Kind::Unbound;
    return isBound ? &*found : nullptr;
}

int ImplGenICamMathVariables::resolveVariable(std::string_view name) {
    const std::string_view suffix = suffixOf(name);
    if (const Variable* const variable = look(name)) {
        return suffix.empty() ? slotOf(*variable) : resolveSuffix(*variable, suffix);
    }
    const int named = m_extras ? m_extras->resolve(name) : kNoVariable;
    if (named != kNoVariable || suffix.empty()) {
        return named;
    }
    const Variable* const variable = look(name.substr(0, name.size() - suffix.size() - 1));
    return variable != nullptr ? resolveSuffix(*variable, suffix) : kNoVariable;
}

int ImplGenICamMathVariables::resolveSuffix(const Variable& variable, std::string_view suffix) {
    ImplGenICamNode* const node = variable.node.node();
    if (node == nullptr || suffix == kValueSuffix) {
        return slotOf(variable);
    }
    for (const auto& [text, limit] : kLimitSuffixes) {
        if (suffix == text && hasLimit(*node, limit)) {
            return extras().add({{}, nullptr, node, limit});
        }
    }
    const auto* const enumeration = node->asEnumeration();
    if (enumeration != nullptr && suffix.starts_with(kEntrySuffix)) {
        if (const auto* const entry = findEntry(*enumeration, suffix.substr(kEntrySuffix.size()))) {
            return extras().add({MathValue::fromInteger(entry->getValue()), nullptr, nullptr, {}});
        }
    }
    return kNoVariable;
}

MathValue ImplGenICamMathVariables::getVariable(int slot) {
    if (slot >= kFirstExtraSlot) {
        [[unlikely]] return m_extras->get(slot);
    }
    const Variable& variable = m_variables[static_cast<std::size_t>(slot)];
    switch (variable.kind) {
    case Kind::Integer:
        return MathValue::fromInteger(variable.node.readInteger());
    case Kind::Float:
        return MathValue::fromFloat(variable.node.readFloat());
    case Kind::Fixed:
        return m_extras->fixed;
    case Kind::Other:
    case Kind::Unbound:
        break;
    }
    throw kNoVariable;
}

const ImplGenICamMathVariables::Variable& ImplGenICamMathVariables::find(const std::string& name, Kind kind) {
    const Variable* const variable = look(upperCase(name));
    if (variable == nullptr || variable->kind != kind) {
        throw kNoVariable;
    }
    return *variable;
}

std::vector<ImplGenICamNode*> ImplGenICamMathVariables::variableNodes() const {
    std::vector<ImplGenICamNode*> nodes;
    for (const Variable& variable : m_variables) {
        if (variable.node) {
            nodes.push_back(variable.node.node());
        }
    }
    return nodes;
}

std::int64_t ImplGenICamMathVariables::getIntegerVariable(const std::string& name) {
    return find(name, Kind::Integer).node.getInteger();
}

double ImplGenICamMathVariables::getFloatVariable(const std::string& name) {
    return find(name, Kind::Float).node.getFloat();
}

MathValue ImplGenICamMathVariables::evaluateWith(
    std::string_view name, MathValue value, MathParser& formula, bool asInteger) {
    struct Fixing {
        Variable* variable;
        Kind kind;
        MathValue& place;
        MathValue former;

        ~Fixing() {
            place = former;
            if (variable != nullptr) {
                variable->kind = kind;
            }
        }
    };
    Variable* const variable = look(name);
    const Fixing fixing{
        variable, variable != nullptr ? variable->kind : Kind::Unbound, extras().fixed,
        std::exchange(extras().fixed, value)};
    if (variable != nullptr) {
        variable->kind = Kind::Fixed;
    }
    return asInteger ? MathValue::fromInteger(formula.evaluateInteger())
                     : MathValue::fromFloat(formula.evaluateFloat());
}

} // namespace tavo
