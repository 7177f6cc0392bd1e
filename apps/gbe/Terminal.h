// What is for a person's eyes only: colours, on a terminal, and where nobody has asked for none.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace gbe {

// Standard output or standard error.
inline bool hasColours(std::FILE* file) {
    const char* none = std::getenv("NO_COLOR");
    return isatty(fileno(file)) != 0 && (none == nullptr || *none == '\0');
}

enum class Colour { Bold = 1, Red = 31, Green = 32, Yellow = 33 };

inline std::string coloured(const std::string& text, Colour colour, std::FILE* file) {
    return hasColours(file) ? "\x1b[" + std::to_string(static_cast<int>(colour)) + "m" + text + "\x1b[0m"
                            : text;
}

// Of a part of what goes to standard output.
inline std::string heading(const std::string& text) {
    return coloured(text, Colour::Bold, stdout);
}

} // namespace gbe
