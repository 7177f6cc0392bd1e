// What a formula can fail with: the messages of ScMathException, word for word ("pricision" is kept as it is,
// callers compare it).
#pragma once

namespace tavo::math::message {

inline constexpr char EmptyQueue[] = "empty token queue";
inline constexpr char TermExpected[] = "term expected";
inline constexpr char Bracket[] = "bracket error";
inline constexpr char IllegalIdentifier[] = "illegal identifier";
inline constexpr char Conditional[] = "syntax error in conditional operator";
inline constexpr char IllegalNumber[] = "illegal number";
inline constexpr char IllegalFunction[] = "illegal math function";
inline constexpr char DivisionByZero[] = "division by zero";
inline constexpr char FloatCondition[] = "condition is float, expected integer";
inline constexpr char FloatPrecision[] = "rounding pricision is float, expected integer";
inline constexpr char FloatBinaryAnd[] = "_binary_and function only implemented for integers";
inline constexpr char FloatBinaryOr[] = "_binary_or function only implemented for integers";
inline constexpr char FloatBinaryXor[] = "_binary_xor function only implemented for integers";
inline constexpr char FloatBinaryNot[] = "_binary_not function only implemented for integers";
inline constexpr char FloatLogicalAnd[] = "_logical_and function only implemented for integers";
inline constexpr char FloatLogicalOr[] = "_logical_or function only implemented for integers";
inline constexpr char FloatShiftLeft[] = "_shift_left function only implemented for integers";
inline constexpr char FloatShiftRight[] = "_shift_right function only implemented for integers";

} // namespace tavo::math::message
