// What of a description this system reads otherwise than the GenICam standard has it.
#pragma once

#include "liomol/export.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace tavo {

// One quirk that a description touches. The views are static.
struct QuirkUse {
    std::string_view quirk; // the member of Quirks
    std::string_view what;  // what the count is of, in words for people: "String nodes"
    std::size_t count;
};

} // namespace tavo

namespace genicam {

// Counts in a zero-terminated description, which is parsed in place; in the order of Quirks, without zeros.
// Nothing of a camera is read, so what depends on its values counts where a difference is possible. Limits
// count for features that can be written. Left out are namespaces and the zeros behind texts: nearly every
// description has them, and no value that a feature shows as text depends on them.
std::vector<tavo::QuirkUse> findDifferences(char* text);

} // namespace genicam
