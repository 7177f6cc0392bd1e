#include "math/literals.h"

#include "util/number_text.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

namespace tavo::math {

namespace {

constexpr bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

constexpr bool isHexPrefix(std::string_view text) {
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'X' || text[1] == 'x');
}

std::optional<std::uint64_t> bitsAtStart(std::string_view text, int base) {
    const auto [value, length, isTooLarge] = util::readDigits(text, base);
    return length != 0 && !isTooLarge ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> integerAtStart(std::string_view text, int base) {
    const std::optional<std::uint64_t> bits = bitsAtStart(text, base);
    return bits && std::in_range<std::int64_t>(*bits) ? std::optional(static_cast<std::int64_t>(*bits))
                                                      : std::nullopt;
}

std::optional<std::int64_t> readInteger(std::string_view text) {
    if (text.empty() || !isDigit(text[0])) {
        return std::nullopt;
    }
    if (isHexPrefix(text)) {
        const auto bits = bitsAtStart(text.substr(2), 16);
        return bits ? std::optional(static_cast<std::int64_t>(*bits)) : std::nullopt;
    }
    return integerAtStart(text, text[0] == '0' ? 8 : 10);
}

// How far a decimal number reaches: digits with one point among them, then an exponent. An exponent without
// digits belongs to the number all the same and spoils it.
std::size_t decimalExtent(std::string_view text) {
    std::size_t i = 0;
    bool digits = false;
    bool point = false;
    for (; i < text.size() && (isDigit(text[i]) || (text[i] == '.' && !point)); ++i) {
        digits = digits || isDigit(text[i]);
        point = point || text[i] == '.';
    }
    if (!digits || i == text.size() || (text[i] != 'E' && text[i] != 'e')) {
        return i;
    }
    ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        ++i;
    }
    while (i < text.size() && isDigit(text[i])) {
        ++i;
    }
    return i;
}

std::optional<double> readDecimal(std::string_view text) {
    const std::string_view number = text.substr(0, decimalExtent(text));
    const auto [value, length, isTooLarge] = util::readDecimal(number);
    const bool isWhole = length != 0 && length == number.size();
    return isWhole && !isTooLarge ? std::optional(value) : std::nullopt;
}

std::optional<double> readHexadecimal(std::string_view digits) {
    const auto stop = std::find_if_not(digits.begin(), digits.end(), isHexDigit);
    double value = 0;
    const auto [end, error] = std::from_chars(
        digits.data(), digits.data() + (stop - digits.begin()), value, std::chars_format::hex);
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

} // namespace

Literal readLiteral(std::string_view text) {
    Literal literal{readInteger(text), std::nullopt};
    if (literal.integer && isHexPrefix(text)) {
        literal.real = static_cast<double>(*literal.integer);
    } else if (isHexPrefix(text) && text.size() > 2) {
        literal.real = readHexadecimal(text.substr(2));
    }
    if (!literal.real) {
        literal.real = readDecimal(text);
    }
    if (!literal.real && literal.integer) {
        literal.real = static_cast<double>(*literal.integer);
    }
    return literal;
}

Literal readStandardLiteral(std::string_view text) {
    const std::string_view digits = isHexPrefix(text) ? text.substr(2) : text;
    const bool isHexadecimal = digits.size() < text.size();
    if (digits.empty() || !std::ranges::all_of(digits, isHexadecimal ? isHexDigit : isDigit)) {
        const bool isDecimal = !isHexadecimal && decimalExtent(text) == text.size();
        return {std::nullopt, isDecimal ? readDecimal(text) : std::nullopt};
    }
    const std::optional<std::int64_t> integer = isHexadecimal ? readInteger(text) : integerAtStart(text, 10);
    if (integer) {
        return {integer, std::nullopt};
    }
    return {std::nullopt, isHexadecimal ? readHexadecimal(digits) : readDecimal(text)};
}

} // namespace tavo::math
