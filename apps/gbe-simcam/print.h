// What the program says: whole lines, from any thread, each at once.
#pragma once

#include <string>

namespace gbe_simcam {

void print(const std::string& line);    // on standard output
void complain(const std::string& line); // on standard error, with the program's name

// On standard output, but never waits: a line that its reader has no room for is lost, so that nobody who
// reads slowly holds up a camera.
void report(const std::string& line);

} // namespace gbe_simcam
