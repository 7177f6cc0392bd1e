// Two texts of settings, feature by feature.
#pragma once

#include "settings/Document.h"

#include <string>

namespace settings {

// A line for each feature that differs: its name with the place behind it, a tab, its value in `a`, a tab,
// its value in `b`; a side that does not have it is empty. Texts are quoted as in a file, so that none holds
// a tab. In the order of `a`, then what only `b` has. Empty when nothing differs.
std::string compare(const Document& a, const Document& b);

} // namespace settings
