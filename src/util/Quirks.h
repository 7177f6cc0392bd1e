// What this system deliberately does otherwise than the GenICam standard, one member each.
//
// A member is true where the behaviour is kept as this system has it, which is the default, and false where
// the standard's meaning holds. The switch belongs to a whole device; whoever reads a description or a value
// asks the member of its concern.
#pragma once

#include <array>
#include <bit>

namespace tavo {

struct Quirks {
    // ---- formulas ----

    // A literal is an integer when it starts like one: 1.5 and 2E3 are the integers 1 and 2, 4A is 4 and 010
    // is 8. Standard: with a point or an exponent a literal is a double, without them a decimal (or 0x)
    // integer, and what follows a number makes it illegal.
    bool integerPrefixLiterals = true;

    // && and || share a level, and bit operators and shifts bind tighter than * and **. Standard: the order
    // of C, with ** above *.
    bool ownPrecedence = true;

    // The rightmost ? splits a formula, so that A?B:C?D:E is (A?B:C)?D:E, and the middle of a conditional
    // holds another one only in brackets. Standard: conditionals group to the right.
    bool leftConditionals = true;

    // Literals and variables keep their own kind in both evaluations, and bit operators and conditions refuse
    // doubles. Standard: SwissKnife and Converter compute with doubles only, of which bit operators take the
    // 64-bit integers, and IntSwissKnife and IntConverter with 64-bit integers only.
    bool ownKinds = true;

    // Equality is =, inequality <>, and E is a variable like any other. Standard: == and != besides, and E
    // (where no variable bears the name) and E() are Euler's number.
    bool fewerSymbols = true;

    // A dot ends the name of a variable, as an error. Standard: names carry suffixes such as .Value and
    // .Entry.Name, which the provider of the variables resolves.
    bool plainNames = true;

    // The standard's meaning everywhere.
    static constexpr Quirks none();

    bool operator==(const Quirks&) const = default;
};

// All members are bool, so that no later one can be forgotten here.
constexpr Quirks Quirks::none() {
    return std::bit_cast<Quirks>(std::array<bool, sizeof(Quirks)>{});
}

} // namespace tavo
