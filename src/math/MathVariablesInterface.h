// Where a formula gets the values of its variables from.
//
// A parser asks for a name once, keeps the slot that it is given, and from then on fetches by slot. It asks
// at its first evaluation, not when the formula is tokenised, since the table of a node is filled later.
// Calls come from the thread that evaluates, under whatever lock its caller holds.
#pragma once

#include "math/MathValue.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavo {

class MathVariablesInterface {
public:
    static constexpr int kNoVariable = -1;

    virtual ~MathVariablesInterface() = default;

    // The value of an integer (a float) variable by its name. Throws a plain `int` of value 0 when there is
    // no such variable or when it is of another kind.
    virtual std::int64_t getIntegerVariable(const std::string& name) = 0;
    virtual double getFloatVariable(const std::string& name) = 0;

    // The slot of a variable, or kNoVariable. Formulas write names in upper case, and so they arrive here,
    // with their suffixes ("WIDTH.MAX", "MODE.ENTRY.ON") where formulas may have any. A slot stays good until
    // variablesChanged().
    virtual int resolveVariable(std::string_view name) = 0;

    // The value in a slot that resolveVariable() gave, in the variable's own kind. Throws a plain `int` of
    // value 0 when it is neither an integer nor a float; what the variable itself throws passes through the
    // formula.
    //
    // A name may as well stand for a constant or for a formula of its own: its slot is then answered with the
    // value of another parser over the same variables. Formulas that name each other take stack with each
    // call, and ones that name each other in a circle do so without end: where to stop is the provider's to
    // say, by throwing.
    virtual MathValue getVariable(int slot) = 0;

    // Differs from any earlier one after the table has changed; never 0.
    std::uint32_t variablesRevision() const { return m_revision; }

protected:
    MathVariablesInterface() = default;
    MathVariablesInterface(const MathVariablesInterface&) = default;
    MathVariablesInterface& operator=(const MathVariablesInterface&) = default;

    // To be called after a name was added, removed or bound to something else.
    void variablesChanged() {
        if (++m_revision == 0) {
            m_revision = 1;
        }
    }

private:
    std::uint32_t m_revision = 1;
};

} // namespace tavo
