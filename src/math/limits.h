// What a formula may grow to. Formulas come from the camera, so each of these ends in an error, not in a dead
// stack or a full memory.
#pragma once

#include <cstddef>

namespace tavo::math {

// Characters of one expression without its blanks; longer ones are refused with "term expected". The longest
// seen in real cameras has 3,784.
inline constexpr std::size_t kLengthLimit = 65536;

// Brackets (groups and function calls) around one term; deeper ones are refused with "bracket error". The
// deepest seen in real cameras is 41.
inline constexpr unsigned kNestingLimit = 256;

// Values that wait at once for the right side of their operator; more are refused with "bracket error", since
// only brackets can pile them up. An evaluation keeps them on its own stack, 16 bytes each.
inline constexpr std::size_t kOperandLimit = 256;

} // namespace tavo::math
