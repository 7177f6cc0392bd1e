// What the program says: whole lines, from any thread, each at once.
#pragma once

#include <string>

namespace gbe_simcam {

void print(const std::string& line);    // on standard output
void complain(const std::string& line); // on standard error, with the program's name

} // namespace gbe_simcam
