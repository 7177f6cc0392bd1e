// A line of a script as words, as a shell has them.
#pragma once

#include <string>
#include <vector>

namespace gbe {

// Between blanks; '...' and "..." hold blanks, and a backslash takes the next character as it is (not in
// '...'
// ). A "#" that begins a word begins a comment. Throws Failure for what is not closed.
std::vector<std::string> splitWords(const std::string& line);

} // namespace gbe
