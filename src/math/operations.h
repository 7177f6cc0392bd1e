// The operators and functions of formulas, each table written once.
//
// The order of precedence is deliberate and unlike that of C: && and || share a level, and bit operators and
// shifts bind tighter than * and **. There is no ! and no ==. The GenICam standard has the order of C, and a
// few symbols more: see util/Quirks.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// X(operation, text, level, the standard's level, token name): binary operators (and ?:), two-character texts
// first, so that the first that fits is the longest. Level 1 binds loosest.
#define LIOMOL_MATH_BINARY_OPERATORS(X)                                                                      \
    X(LogicalAnd, "&&", 2, 3, "_logical_and")                                                                \
    X(LogicalOr, "||", 2, 2, "_logical_or")                                                                  \
    X(NotEqual, "<>", 3, 7, "_logical_relation_not_equal")                                                   \
    X(LessOrEqual, "<=", 3, 8, "_logical_relation_less_or_equal")                                            \
    X(GreaterOrEqual, ">=", 3, 8, "_logical_relation_greater_or_equal")                                      \
    X(Power, "**", 6, 12, "_power")                                                                          \
    X(ShiftLeft, "<<", 7, 9, "_shift_left")                                                                  \
    X(ShiftRight, ">>", 7, 9, "_shift_right")                                                                \
    X(Conditional, "?", 1, 1, "_conditional_operator")                                                       \
    X(Equal, "=", 3, 7, "_logical_relation_equal")                                                           \
    X(Less, "<", 3, 8, "_logical_relation_less")                                                             \
    X(Greater, ">", 3, 8, "_logical_relation_greater")                                                       \
    X(Addition, "+", 4, 10, "_addition")                                                                     \
    X(Subtraction, "-", 4, 10, "_subtraction")                                                               \
    X(Multiplication, "*", 5, 11, "_multiplication")                                                         \
    X(Division, "/", 5, 11, "_division")                                                                     \
    X(Remainder, "%", 5, 11, "_remainder")                                                                   \
    X(BinaryAnd, "&", 7, 6, "_binary_and")                                                                   \
    X(BinaryOr, "|", 7, 4, "_binary_or")                                                                     \
    X(BinaryXor, "^", 7, 5, "_binary_xor")

// X(operation, token name): prefix operators that leave a token. A prefix + leaves none.
#define LIOMOL_MATH_PREFIX_OPERATORS(X)                                                                      \
    X(UnaryMinus, "_unary_minus")                                                                            \
    X(BinaryNot, "_binary_not")

// X(operation, name, arguments): functions. Those without arguments are constants, written with empty
// brackets; E() is only the standard's.
#define LIOMOL_MATH_FUNCTIONS(X)                                                                             \
    X(Sgn, "SGN", 1)                                                                                         \
    X(Neg, "NEG", 1)                                                                                         \
    X(Atan, "ATAN", 1)                                                                                       \
    X(Acos, "ACOS", 1)                                                                                       \
    X(Asin, "ASIN", 1)                                                                                       \
    X(Abs, "ABS", 1)                                                                                         \
    X(Exp, "EXP", 1)                                                                                         \
    X(Ln, "LN", 1)                                                                                           \
    X(Lg, "LG", 1)                                                                                           \
    X(Sqrt, "SQRT", 1)                                                                                       \
    X(Euler, "E", 0)                                                                                         \
    X(Pi, "PI", 0)                                                                                           \
    X(Floor, "FLOOR", 1)                                                                                     \
    X(Ceil, "CEIL", 1)                                                                                       \
    X(Trunc, "TRUNC", 1)                                                                                     \
    X(Round, "ROUND", 1)                                                                                     \
    X(RoundTo, "ROUND", 2)                                                                                   \
    X(Sin, "SIN", 1)                                                                                         \
    X(Cos, "COS", 1)                                                                                         \
    X(Tan, "TAN", 1)

namespace tavo::math {

enum class Operation : std::uint8_t {
#define LIOMOL_MATH_ENUMERATOR(operation, ...) operation,
    LIOMOL_MATH_BINARY_OPERATORS(LIOMOL_MATH_ENUMERATOR) LIOMOL_MATH_PREFIX_OPERATORS(LIOMOL_MATH_ENUMERATOR)
        LIOMOL_MATH_FUNCTIONS(LIOMOL_MATH_ENUMERATOR)
#undef LIOMOL_MATH_ENUMERATOR
            Unknown, // no function of this name and number of arguments; evaluating it fails
};

struct BinaryOperator {
    Operation operation;
    std::string_view text;
    unsigned level;
    unsigned standardLevel;
    std::string_view tokenName;
};

inline constexpr auto kBinaryOperators = std::to_array<BinaryOperator>({
#define LIOMOL_MATH_ROW(operation, text, level, standardLevel, tokenName)                                    \
    {Operation::operation, text, level, standardLevel, tokenName},
    LIOMOL_MATH_BINARY_OPERATORS(LIOMOL_MATH_ROW)
#undef LIOMOL_MATH_ROW
});

// The standard's other texts for operators that are in the table.
struct Spelling {
    std::string_view text;
    Operation operation;
};

inline constexpr auto kStandardSpellings =
    std::to_array<Spelling>({{"==", Operation::Equal}, {"!=", Operation::NotEqual}});

struct PrefixOperator {
    Operation operation;
    std::string_view tokenName;
};

inline constexpr auto kPrefixOperators = std::to_array<PrefixOperator>({
#define LIOMOL_MATH_ROW(operation, tokenName) {Operation::operation, tokenName},
    LIOMOL_MATH_PREFIX_OPERATORS(LIOMOL_MATH_ROW)
#undef LIOMOL_MATH_ROW
});

struct Function {
    Operation operation;
    std::string_view name;
    unsigned arguments;
};

inline constexpr auto kFunctions = std::to_array<Function>({
#define LIOMOL_MATH_ROW(operation, name, arguments) {Operation::operation, name, arguments},
    LIOMOL_MATH_FUNCTIONS(LIOMOL_MATH_ROW)
#undef LIOMOL_MATH_ROW
});

// The tables stand in the order of the enumerators: an operation is its own row.
static_assert(static_cast<std::size_t>(Operation::UnaryMinus) == kBinaryOperators.size());
static_assert(
    static_cast<std::size_t>(Operation::Unknown) ==
    kBinaryOperators.size() + kPrefixOperators.size() + kFunctions.size());

constexpr const BinaryOperator& binaryOperator(Operation operation) {
    return kBinaryOperators[static_cast<std::size_t>(operation)];
}

constexpr Operation findFunction(std::string_view name, unsigned arguments) {
    for (const Function& function : kFunctions) {
        if (function.arguments == arguments && function.name == name) {
            return function.operation;
        }
    }
    return Operation::Unknown;
}

// The token name of an operator; empty for functions, which are called by the name in the formula.
constexpr std::string_view operatorTokenName(Operation operation) {
    if (operation < Operation::UnaryMinus) {
        return binaryOperator(operation).tokenName;
    }
    for (const PrefixOperator& prefix : kPrefixOperators) {
        if (prefix.operation == operation) {
            return prefix.tokenName;
        }
    }
    return {};
}

} // namespace tavo::math
