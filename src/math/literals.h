// A number as it is written in a formula.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tavo::math {

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The text is read twice: as an integer whose prefix gives its base (0X hexadecimal, 0 octal), then as a
// double; each read takes what fits at the start and leaves the rest. Where only the integer read succeeds it
// gives the double too.
//
// Kept as it is, formulas of real cameras rely on it: a literal is an integer when it starts like one, so 1.5
// and 2E3 are the integers 1 and 2, and only a literal such as .5 is a double.
//
// A hexadecimal literal of up to 64 bits wraps into the signed range. Any other beyond it is no integer.
struct Literal {
    std::optional<std::int64_t> integer;
    std::optional<double> real;
};

Literal readLiteral(std::string_view text);

// The same as the GenICam standard has it: the whole text is one number, an integer if it has neither point
// nor exponent (decimal also after a leading 0), else a double. One of the two at most is there.
Literal readStandardLiteral(std::string_view text);

} // namespace tavo::math
