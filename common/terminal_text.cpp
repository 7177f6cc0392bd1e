#include "common/terminal_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace common {

namespace {

constexpr std::uint32_t kNotUtf8 = 0xFFFFFFFF;

bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The character that a text begins with, and how many bytes it takes; kNotUtf8 and one byte for anything
// else.
std::uint32_t decode(std::string_view text, std::size_t& size) {
    static constexpr struct {
        unsigned char mask;
        unsigned char lead;
        std::uint32_t least; // what fewer bytes can say must not be said with more
    } kForms[] = {{0x80, 0, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};
    constexpr std::uint32_t kLast = 0x10FFFF;
    const auto first = static_cast<unsigned char>(text.front());
    for (size = 1; size <= std::size(kForms); ++size) {
        const auto& form = kForms[size - 1];
        if ((first & form.mask) != form.lead) {
            continue;
        }
        std::uint32_t code = first & static_cast<unsigned char>(~form.mask);
        const std::string_view rest = text.substr(1, size - 1);
        if (rest.size() + 1 < size || !std::all_of(rest.begin(), rest.end(), continues)) {
            break;
        }
        for (const char byte : rest) {
            code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
        }
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        if (code < form.least || code > kLast || surrogate) {
            break;
        }
        return code;
    }
    size = 1;
    return kNotUtf8;
}

// Control characters, line and paragraph separators, and the marks of writing direction.
bool steers(std::uint32_t code) {
    static constexpr struct {
        std::uint32_t first;
        std::uint32_t last;
    } kRanges[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},   {0x200E, 0x200F},
                   {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}, {kNotUtf8, kNotUtf8}};
    return std::any_of(std::begin(kRanges), std::end(kRanges), [code](const auto& range) {
        return code >= range.first && code <= range.last;
    });
}

std::string escape(std::uint32_t code, unsigned char byte) {
    if (code == '\n' || code == '\t' || code == '\r') {
        return code == '\n' ? "\\n" : code == '\t' ? "\\t" : "\\r";
    }
    char text[sizeof "\\u202e"];
    if (code < 0x80 || code == kNotUtf8) {
        std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned>(byte));
    } else {
        std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(code & 0xFFFF));
    }
    return text;
}

std::string escaped(std::string_view text, std::string_view kept) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t size = 0; !text.empty(); text.remove_prefix(size)) {
        const std::uint32_t code = decode(text, size);
        if (steers(code) && kept.find(text.front()) == kept.npos) {
            result += escape(code, static_cast<unsigned char>(text.front()));
        } else {
            result += text.substr(0, size);
        }
    }
    return result;
}

} // namespace

std::string terminalText(std::string_view text) {
    return escaped(text, "");
}

std::string terminalLines(std::string_view text) {
    return escaped(text, "\n\t");
}

std::size_t characterCount(std::string_view utf8) {
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char byte) { return !continues(byte); }));
}

} // namespace common
