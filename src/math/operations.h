// The operators and functions of formulas, each table written once.
//
// The order of precedence is deliberate and unlike that of C: && and || share a level, and bit operators and
// shifts bind tighter than * and **. There is no ! and no ==.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// X(operation, text, level, token name): binary operators (and ?:), two-character texts first, so that the
// first that fits is the longest. Level 1 binds loosest.
#define LIOMOL_MATH_BINARY_OPERATORS(X)                                                                      \
    X(LogicalAnd, "&&", 2, "_logical_and")                                                                   \
    X(LogicalOr, "||", 2, "_logical_or")                                                                     \
    X(NotEqual, "<>", 3, "_logical_relation_not_equal")                                                      \
    X(LessOrEqual, "<=", 3, "_logical_relation_less_or_equal")                                               \
    X(GreaterOrEqual, ">=", 3, "_logical_relation_greater_or_equal")                                         \
    X(Power, "**", 6, "_power")                                                                              \
    X(ShiftLeft, "<<", 7, "_shift_left")                                                                     \
    X(ShiftRight, ">>", 7, "_shift_right")                                                                   \
    X(Conditional, "?", 1, "_conditional_operator")                                                          \
    X(Equal, "=", 3, "_logical_relation_equal")                                                              \
    X(Less, "<", 3, "_logical_relation_less")                                                                \
    X(Greater, ">", 3, "_logical_relation_greater")                                                          \
    X(Addition, "+", 4, "_addition")                                                                         \
    X(Subtraction, "-", 4, "_subtraction")                                                                   \
    X(Multiplication, "*", 5, "_multiplication")                                                             \
    X(Division, "/", 5, "_division")                                                                         \
    X(Remainder, "%", 5, "_remainder")                                                                       \
    X(BinaryAnd, "&", 7, "_binary_and")                                                                      \
    X(BinaryOr, "|", 7, "_binary_or")                                                                        \
    X(BinaryXor, "^", 7, "_binary_xor")

// X(operation, token name): prefix operators that leave a token. A prefix + leaves none.
#define LIOMOL_MATH_PREFIX_OPERATORS(X)                                                                      \
    X(UnaryMinus, "_unary_minus")                                                                            \
    X(BinaryNot, "_binary_not")

// X(operation, name, arguments): functions. One named PI() with nothing in its brackets is a constant.
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
    std::string_view tokenName;
};

inline constexpr auto BinaryOperators = std::to_array<BinaryOperator>({
#define LIOMOL_MATH_ROW(operation, text, level, tokenName) {Operation::operation, text, level, tokenName},
    LIOMOL_MATH_BINARY_OPERATORS(LIOMOL_MATH_ROW)
#undef LIOMOL_MATH_ROW
});

struct PrefixOperator {
    Operation operation;
    std::string_view tokenName;
};

inline constexpr auto PrefixOperators = std::to_array<PrefixOperator>({
#define LIOMOL_MATH_ROW(operation, tokenName) {Operation::operation, tokenName},
    LIOMOL_MATH_PREFIX_OPERATORS(LIOMOL_MATH_ROW)
#undef LIOMOL_MATH_ROW
});

struct Function {
    Operation operation;
    std::string_view name;
    unsigned arguments;
};

inline constexpr auto Functions = std::to_array<Function>({
#define LIOMOL_MATH_ROW(operation, name, arguments) {Operation::operation, name, arguments},
    LIOMOL_MATH_FUNCTIONS(LIOMOL_MATH_ROW)
#undef LIOMOL_MATH_ROW
});

// The tables stand in the order of the enumerators: an operation is its own row.
static_assert(static_cast<std::size_t>(Operation::UnaryMinus) == BinaryOperators.size());
static_assert(
    static_cast<std::size_t>(Operation::Unknown) ==
    BinaryOperators.size() + PrefixOperators.size() + Functions.size());

constexpr const BinaryOperator& binaryOperator(Operation operation) {
    return BinaryOperators[static_cast<std::size_t>(operation)];
}

constexpr Operation findFunction(std::string_view name, unsigned arguments) {
    for (const Function& function : Functions) {
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
    for (const PrefixOperator& prefix : PrefixOperators) {
        if (prefix.operation == operation) {
            return prefix.tokenName;
        }
    }
    return {};
}

} // namespace tavo::math
