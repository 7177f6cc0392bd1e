#include "genicam/nodes/formula_nodes.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/node_limits.h"
#include "genicam/nodes/numbers.h"
#include "liomol/exceptions.h"
#include "util/Quirks.h"

#include <algorithm>
#include <cmath>

namespace tavo {
namespace {

// A fault of the formula is told with the name of its node.
template<typename Evaluate>
auto evaluated(const ImplGenICamNode& node, const MathParser& formula, Evaluate&& evaluate) {
    const EvaluationScope scope(node);
    try {
        return std::forward<Evaluate>(evaluate)();
    } catch (const ScMathException& fault) {
        tellFormula(node, formula, fault);
        throw;
    }
}

} // namespace

// ---- SwissKnives -----------------------------------------------------------------------------------------

void ImplGenICamSwissKnife::setValue(double) {
    failAt<GicNotWritableException>(*this, " is read-only: a formula gives its value");
}

void ImplGenICamSwissKnife::writeFloat(double) {
    failAt<GicNotWritableException>(*this, " is read-only: a formula gives its value");
}

double ImplGenICamSwissKnife::readFloat() {
    return evaluated(*this, m_formula, [this] { return m_formula.evaluateFloat(); });
}

void ImplGenICamIntSwissKnife::setValue(std::int64_t) {
    failAt<GicNotWritableException>(*this, " is read-only: a formula gives its value");
}

void ImplGenICamIntSwissKnife::writeInteger(std::int64_t) {
    failAt<GicNotWritableException>(*this, " is read-only: a formula gives its value");
}

std::int64_t ImplGenICamIntSwissKnife::readInteger() {
    return evaluated(*this, m_formula, [this] { return m_formula.evaluateInteger(); });
}

// ---- Converters ------------------------------------------------------------------------------------------

ConverterFormulas::~ConverterFormulas() = default;

void ConverterFormulas::setPValue(GenICamNode* node) {
    m_pValue.set(node);
    m_integerBelow = m_pValue && node->asFloat() == nullptr;
    bind("TO", node, bool(m_pValue)); // no variable of the description: any node that takes a number
}

void ConverterFormulas::setFromNode(GenICamNode* node) {
    m_from.set(node);
    setVariable("FROM", node);
}

// Deliberately the kind of the node below decides how FormulaTo is evaluated. With the standard's meaning the
// converter's own does, and a node of integers gets the nearest one.
void ConverterFormulas::writeBelow(ImplGenICamNode& self) {
    if (!m_pValue) {
        failAt<GicIllegalNodeException>(self, " has no pValue to write to");
    }
    const bool isStandard = !self.quirks().truncatingConverters;
    if (isStandard ? self.asInteger() != nullptr : m_integerBelow) {
        m_pValue.writeInteger(m_formulaTo.evaluateInteger());
    } else if (m_integerBelow) {
        m_pValue.writeInteger(numbers::roundedInteger(m_formulaTo.evaluateFloat()));
    } else {
        m_pValue.writeFloat(m_formulaTo.evaluateFloat());
    }
}

// Integers are computed as doubles first: a result beyond 64 bits would wrap, and is the end of their range.
std::optional<MathValue> ConverterFormulas::translated(ImplGenICamNode& self, NodeLimit limit) {
    const MathValue below = readLimit(*m_pValue.node(), limit);
    const double real = evaluateWith("TO", below, m_formulaFrom, false).real;
    if (std::isnan(real)) {
        return std::nullopt;
    }
    if (self.asInteger() == nullptr) {
        constexpr double kMost = std::numeric_limits<double>::max();
        return MathValue::fromFloat(std::clamp(real, -kMost, kMost));
    }
    if (std::abs(real) >= numbers::kTwoToThe63) {
        return MathValue::fromInteger(numbers::clampedInteger(real));
    }
    return evaluateWith("TO", below, m_formulaFrom, true);
}

// Where the description does not say which end is which, the results at both ends tell; equal ones tell
// nothing.
std::optional<MathValue> ConverterFormulas::limitFromBelow(ImplGenICamNode& self, NodeLimit limit) {
    using Slope = GenICamTypes::GenICamSlopeType;
    const bool isTold = !self.quirks().ownLimitsOnly && m_slope != Slope::Varying;
    if (!isTold || !m_pValue || !hasLimit(*m_pValue.node(), limit)) {
        return std::nullopt;
    }
    const DeviceLockScope lock(self.getHost());
    const EvaluationScope scope(self);
    const NodeLimit other = limit == NodeLimit::Min ? NodeLimit::Max : NodeLimit::Min;
    try {
        if (m_slope == Slope::Increasing || m_slope == Slope::Decreasing) {
            return translated(self, m_slope == Slope::Increasing ? limit : other);
        }
        const auto a = translated(self, limit);
        const auto b = translated(self, other);
        const bool isTellable = a && b && a->toFloat() != b->toFloat();
        const bool isInOrder = isTellable && (a->toFloat() < b->toFloat()) == (limit == NodeLimit::Min);
        return !isTellable ? std::nullopt : isInOrder ? a : b;
    } catch (const ScMathException&) { // a division by zero at the end of the range, for one
        return std::nullopt;
    }
}

double ImplGenICamConverter::getMin() {
    const auto limit = limitFromBelow(*this, NodeLimit::Min);
    return limit ? limit->real : defaultFloatMin();
}

double ImplGenICamConverter::getMax() {
    const auto limit = limitFromBelow(*this, NodeLimit::Max);
    return limit ? limit->real : std::numeric_limits<double>::max();
}

double ImplGenICamConverter::readFloat() {
    return evaluated(*this, m_formulaFrom, [this] { return m_formulaFrom.evaluateFloat(); });
}

void ImplGenICamConverter::writeFloat(double value) {
    evaluated(*this, m_formulaTo, [&] {
        if (m_from) {
            m_from.writeFloat(value);
        }
        writeBelow(*this);
    });
}

std::int64_t ImplGenICamIntConverter::getMin() {
    const auto limit = limitFromBelow(*this, NodeLimit::Min);
    return limit ? limit->integer : std::numeric_limits<std::int64_t>::min();
}

std::int64_t ImplGenICamIntConverter::getMax() {
    const auto limit = limitFromBelow(*this, NodeLimit::Max);
    return limit ? limit->integer : std::numeric_limits<std::int64_t>::max();
}

std::int64_t ImplGenICamIntConverter::readInteger() {
    return evaluated(*this, m_formulaFrom, [this] { return m_formulaFrom.evaluateInteger(); });
}

void ImplGenICamIntConverter::writeInteger(std::int64_t value) {
    evaluated(*this, m_formulaTo, [&] {
        if (m_from) {
            m_from.writeInteger(value);
        }
        writeBelow(*this);
    });
}

} // namespace tavo
