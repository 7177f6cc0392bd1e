// What a description may grow to. Descriptions come from cameras and files, so each of these ends in a
// refusal within a second, not in a full memory. The figures of real ones are the largest among a hundred of
// all makers.
#pragma once

#include <cstddef>

namespace genicam {

// Bytes of a description. Real ones have up to 1.3 MB.
inline constexpr std::size_t kMaxDescriptionSize = std::size_t{64} * 1024 * 1024;

// Levels of elements, since RapidXML calls itself once for each. Real descriptions stay below ten; the stack
// bears thousands.
inline constexpr std::size_t kMaxXmlNesting = 256;

// Tags, attributes and the like: RapidXML takes about 200 bytes for each, and the builders half of that. Real
// ones have some 100,000.
inline constexpr std::size_t kMaxXmlMarkup = 750'000;

// Builders, each of which is a node or a part of one that has attributes: about 1 KB for each, with its node.
// Real ones have some 10,000.
inline constexpr std::size_t kMaxBuilders = 100'000;

// What the stages copy from one builder to another: elements and indexes, and the bytes of names and texts
// that nodes then have for themselves. Real ones copy some 20,000, and less than 1 MB.
inline constexpr std::size_t kMaxCopies = 250'000;
inline constexpr std::size_t kMaxCopiedBytes = std::size_t{64} * 1024 * 1024;

// Characters of all formulas together, each of which becomes some 50 bytes of tokens and program. Real ones
// have some 200,000.
inline constexpr std::size_t kMaxFormulaText = std::size_t{2} * 1024 * 1024;

} // namespace genicam
