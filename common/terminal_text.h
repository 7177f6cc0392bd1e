// Text from a camera or another program on its way to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace common {

// The text in one line that cannot steer a terminal: printable UTF-8 stays as it is; control characters, line
// breaks, marks that turn the direction of writing and bytes that are not UTF-8 become visible escapes: \n,
// \t, \x1b, \u202e.
std::string terminalText(std::string_view text);

// The same for a text of lines: line feeds and tabs stay.
std::string terminalLines(std::string_view text);

// Columns that it takes in a table: its characters, whatever their number of bytes.
std::size_t characterCount(std::string_view utf8);

} // namespace common
