// A look at XML text before RapidXML, which calls itself once for each level of nesting, may have it.
#pragma once

#include <cstddef>

namespace genicam {

// Levels of elements that a description may nest. Real ones stay below ten; the stack bears thousands.
inline constexpr std::size_t maxXmlNesting = 256;

// Whether RapidXML, parsing this zero-terminated text with parse flags 0, would never go deeper than `limit`
// elements. Reads the text once, without recursion, and does not change it.
bool isNestedWithin(const char* text, std::size_t limit = maxXmlNesting);

} // namespace genicam
