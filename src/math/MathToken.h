// One token of a formula, as MathParser keeps it: an operator or function with its number of arguments, a
// variable, or a literal. Tokens stand in prefix order, so an operator is followed by the tokens of its
// operands.
#pragma once

#include <cstdint>
#include <string>

namespace tavo {

enum class MathTokenKind : std::uint8_t { Number, Variable, Function };

// A token as shown to people and tests. The name is the literal's text, the variable's name in upper case, or
// the name of the function or operator ("_addition"); only functions and operators have arguments.
struct MathToken {
    MathTokenKind kind;
    std::string name;
    unsigned arguments;

    bool operator==(const MathToken&) const = default;
};

} // namespace tavo
