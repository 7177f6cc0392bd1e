// What stands around a text in a description for the sake of its layout.
#pragma once

#include <string_view>

namespace genicam {

// The text without blanks, tabulators and line ends in front and behind.
inline std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view{}
                                           : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace genicam
