// Values as they stand in a line: bare, or in quotation marks with escapes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace settings {

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// A name of a feature or an entry.
constexpr bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == ':';
}

// Without the blanks around it.
std::string_view trimmed(std::string_view text);

// Whether a value reads as the same without quotation marks.
bool isBare(std::string_view value);

// Bare where that reads as the same; otherwise in quotation marks, with \n, \r, \t, \", \\ and, for the other
// control characters and for bytes that are no UTF-8, \xHH. Never holds a line break.
std::string quotedIfNeeded(std::string_view value);
std::string quoted(std::string_view value); // always

// The value behind a quotation mark that has been taken off already, and how much of the text it took, with
// the closing one. Nothing for what is not closed, or an escape that is none.
struct Quoted {
    std::string value;
    std::size_t length = 0;
};
std::optional<Quoted> readQuoted(std::string_view text);

} // namespace settings
