// Files as a command line names them.
#pragma once

#include <string>

namespace gbe {

// All of a file, or of standard input where it is "-"; 16 MiB at most. Throws Failure with its name.
std::string readFile(const std::string& file);

} // namespace gbe
