// Loads the annotated frames of protocol/golden/: text files in which a `#` starts a comment that ends with
// its line and everything else is bytes of two hexadecimal digits, separated by blanks. A frame starts with
// the Ethernet destination address and ends where it ends on the wire, without frame check sequence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace golden {

using Frame = std::vector<std::uint8_t>;

// The frame of protocol/golden/<name>.hex. A file that is absent, empty or not of this format throws
// std::runtime_error, which fails the test with the file's name.
Frame load(const std::string& name);

} // namespace golden
