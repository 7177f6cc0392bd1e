// Which names somebody may have meant who has typed one that is none.
#pragma once

#include <string_view>
#include <vector>

namespace api {

// Of `names`, the three at most that are nearest, the nearest first: those that begin as `typed`, with a
// mistake or two, and those that hold it somewhere. Letter case makes no difference.
std::vector<std::string_view> nearNames(std::string_view typed, const std::vector<std::string_view>& names);

} // namespace api
