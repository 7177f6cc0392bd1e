#include "util/number_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <system_error>

namespace util {
namespace {

bool beginsDecimal(std::string_view text) { // keeps out signs, "inf" and "nan"
    const std::size_t first = text.starts_with('.') ? 1 : 0;
    return text.size() > first && text[first] >= '0' && text[first] <= '9';
}

// The slow way, which knows a number that is too large from one that is too small: the largest double for
// the former.
double readExtreme(std::string_view text) {
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double value = 0;
    stream >> value;
    return value;
}

} // namespace

NumberRead<std::uint64_t> readDigits(std::string_view text, int base) {
    NumberRead<std::uint64_t> read;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read.value, base);
    read.length = static_cast<std::size_t>(end - text.data());
    read.isTooLarge = error == std::errc::result_out_of_range;
    if (read.isTooLarge) {
        read.value = std::numeric_limits<std::uint64_t>::max();
    }
    return read;
}

NumberRead<double> readDecimal(std::string_view text) {
    NumberRead<double> read;
    if (!beginsDecimal(text)) {
        return read;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read.value);
    read.length = static_cast<std::size_t>(end - text.data());
    if (error == std::errc::result_out_of_range) {
        read.value = readExtreme(text.substr(0, read.length));
        read.isTooLarge = read.value == std::numeric_limits<double>::max();
    }
    return read;
}

std::string numberText(double value) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::general, 6).ptr;
    return {digits.begin(), end};
}

std::string exactText(double value) {
    constexpr double kLongest = 1e15;
    constexpr double kShortest = 1e-6;
    const double size = std::abs(value);
    const bool isPlain = value == 0 || (size < kLongest && size >= kShortest);
    std::array<char, 64> digits;
    const auto format = isPlain ? std::chars_format::fixed : std::chars_format::general;
    return {digits.begin(), std::to_chars(digits.begin(), digits.end(), value, format).ptr};
}

} // namespace util
