// Words that somebody may have meant.
#pragma once

#include <string>
#include <vector>

namespace gbe {

// "; get, set?" for those of `known` to which the fewest mistakes (letters to add, drop, replace or swap)
// lead, in whatever case; empty where none is near.
std::string suggestion(const std::string& typed, const std::vector<std::string>& known);

} // namespace gbe
