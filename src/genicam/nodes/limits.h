// What bounds the nodes, whatever a description or a camera says.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo {

// The longest way from node to node that one access may take; the longest in descriptions of real cameras is
// 21. Beyond it the node counts as one that depends on itself.
inline constexpr unsigned kMaxReferenceDepth = 1024;
// What the evaluation of a formula counts on that way: it needs a stack of its own for its nesting.
inline constexpr unsigned kFormulaDepth = 16;
// Formulas that one access may evaluate, so that formulas which double their work node by node end in time.
inline constexpr unsigned kMaxFormulaEvaluations = 1000000;
// Hops that one access may take in sum, so that registers whose addresses need others twice end in time, too.
inline constexpr unsigned kMaxReferenceHops = 4000000;

// Registers that one walk may look at to find those that share bytes. Beyond it all registers count as such.
inline constexpr std::size_t kMaxNeighboursLookedAt = 1000000;

// The longest register that is read or written. Real ones stay below a few kilobytes; a length computed from
// a wrong value must not become an allocation of gigabytes.
inline constexpr std::int64_t kMaxRegisterLength = 16LL * 1024 * 1024;
// As far as a text is read and written whose length another node tells, unless its own "Length" is greater: a
// wrong value there must not hold the device's lock for a second. Texts of real cameras have up to 1024
// bytes.
inline constexpr std::int64_t kMaxTextLength = 64LL * 1024;
// Reading ahead: longer registers have a command of their own either way.
inline constexpr std::size_t kLongestReadAhead = 512;
// Registers that are read at once while the device's lock is held: what four commands can bring.
inline constexpr std::size_t kMostReadsAtOnce = 540;
// How often one register is read before it is left alone, where each read makes others old that bring news.
inline constexpr unsigned kMostReadsAhead = 3;

// Longer registers are not shown as text.
inline constexpr std::int64_t kMaxShownRegisterLength = 512;

} // namespace tavo
