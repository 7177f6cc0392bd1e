// What a formula can fail with: the messages of ScMathException, word for word ("pricision" is kept as it is,
// callers compare it).
#pragma once

namespace tavo::math::message {

inline constexpr char kEmptyQueue[] = "empty token queue";
inline constexpr char kTermExpected[] = "term expected";
inline constexpr char kBracket[] = "bracket error";
inline constexpr char kIllegalIdentifier[] = "illegal identifier";
inline constexpr char kConditional[] = "syntax error in conditional operator";
inline constexpr char kIllegalNumber[] = "illegal number";
inline constexpr char kIllegalFunction[] = "illegal math function";
inline constexpr char kDivisionByZero[] = "division by zero";
inline constexpr char kFloatCondition[] = "condition is float, expected integer";
inline constexpr char kFloatPrecision[] = "rounding pricision is float, expected integer";
inline constexpr char kFloatBinaryAnd[] = "_binary_and function only implemented for integers";
inline constexpr char kFloatBinaryOr[] = "_binary_or function only implemented for integers";
inline constexpr char kFloatBinaryXor[] = "_binary_xor function only implemented for integers";
inline constexpr char kFloatBinaryNot[] = "_binary_not function only implemented for integers";
inline constexpr char kFloatLogicalAnd[] = "_logical_and function only implemented for integers";
inline constexpr char kFloatLogicalOr[] = "_logical_or function only implemented for integers";
inline constexpr char kFloatShiftLeft[] = "_shift_left function only implemented for integers";
inline constexpr char kFloatShiftRight[] = "_shift_right function only implemented for integers";

} // namespace tavo::math::message
