#include "settings/words.h"

#include "util/number_text.h"

#include <utility>

namespace settings {
namespace {

constexpr std::pair<char, char> kEscapes[] = {
    {'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'"', '"'}, {'\\', '\\'}};

constexpr bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
}

// The bytes of the UTF-8 character that the text begins with; 0 when it begins with none.
std::size_t characterLength(std::string_view text) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = at(0);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((at(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    // Overlong forms, surrogates, and beyond the last character.
    const bool bad = (first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) >= 0xA0) ||
                     (first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) >= 0x90);
    return bad ? 0 : length;
}

void appendEscaped(std::string& text, char c) {
    for (const auto& [letter, meaning] : kEscapes) {
        if (c == meaning) {
            text += {'\\', letter};
            return;
        }
    }
    constexpr const char* kDigits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    text += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
}

// The character of an escape behind its backslash, which it takes from the text.
std::optional<char> takeEscape(std::string_view& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const char letter = text.front();
    text.remove_prefix(1);
    for (const auto& [known, meaning] : kEscapes) {
        if (letter == known) {
            return meaning;
        }
    }
    const auto read = util::readDigits(text.substr(0, 2), 16);
    if (letter != 'x' || read.length != 2) {
        return std::nullopt;
    }
    text.remove_prefix(2);
    return static_cast<char>(read.value);
}

} // namespace

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool isBare(std::string_view value) {
    if (value.empty() || isBlank(value.front()) || isBlank(value.back()) || value.front() == '"') {
        return false;
    }
    while (!value.empty()) {
        const std::size_t length = characterLength(value);
        if (length == 0 || isControl(value.front())) {
            return false;
        }
        value.remove_prefix(length);
    }
    return true;
}

std::string quotedIfNeeded(std::string_view value) {
    return isBare(value) ? std::string(value) : quoted(value);
}

std::string quoted(std::string_view value) {
    std::string text = "\"";
    while (!value.empty()) {
        const std::size_t length = characterLength(value);
        const char first = value.front();
        if (length == 0 || isControl(first) || first == '"' || first == '\\') {
            appendEscaped(text, first);
            value.remove_prefix(1);
        } else {
            text += value.substr(0, length);
            value.remove_prefix(length);
        }
    }
    return text + '"';
}

std::optional<Quoted> readQuoted(std::string_view text) {
    Quoted read;
    std::string_view rest = text;
    while (!rest.empty()) {
        char next = rest.front();
        rest.remove_prefix(1);
        if (next == '"') {
            read.length = text.size() - rest.size();
            return read;
        }
        if (next == '\\') {
            const std::optional<char> meant = takeEscape(rest);
            if (!meant) {
                return std::nullopt;
            }
            next = *meant;
        }
        read.value += next;
    }
    return std::nullopt;
}

} // namespace settings
