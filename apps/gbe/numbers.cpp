#include "numbers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <system_error>

namespace gbe {
namespace {

// Units of one dimension have the same letter, and their sizes are in its smallest unit: whole numbers, with
// which nothing is lost.
struct Unit {
    const char* name;
    char dimension;
    double size;
};

constexpr Unit kUnits[] = {
    {"ns", 't', 1},     {"us", 't', 1e3},   {"ms", 't', 1e6},   {"s", 't', 1e9},    {"sec", 't', 1e9},
    {"min", 't', 60e9}, {"Hz", 'f', 1},     {"fps", 'f', 1},    {"kHz", 'f', 1e3},  {"MHz", 'f', 1e6},
    {"GHz", 'f', 1e9},  {"uV", 'v', 1},     {"mV", 'v', 1e3},   {"V", 'v', 1e6},    {"uA", 'a', 1},
    {"mA", 'a', 1e3},   {"A", 'a', 1e6},    {"mW", 'w', 1},     {"W", 'w', 1e3},    {"nm", 'm', 1},
    {"um", 'm', 1e3},   {"mm", 'm', 1e6},   {"m", 'm', 1e9},    {"B", 'b', 1},      {"kB", 'b', 1e3},
    {"MB", 'b', 1e6},   {"bps", 'r', 1},    {"Bps", 'r', 8},    {"kbps", 'r', 1e3}, {"kBps", 'r', 8e3},
    {"Mbps", 'r', 1e6}, {"MBps", 'r', 8e6}, {"Gbps", 'r', 1e9}, {"GBps", 'r', 8e9},
};

// Both letters that are written for a millionth become a u.
std::string spelt(std::string unit) {
    for (const char* const micro : {"\u00b5", "\u03bc"}) {
        const std::string sign = micro;
        if (unit.starts_with(sign)) {
            unit = "u" + unit.substr(sign.size());
        }
    }
    return unit;
}

const Unit* find(const std::string& name) {
    const auto* unit = std::find_if(
        std::begin(kUnits), std::end(kUnits), [&](const Unit& each) { return name == each.name; });
    return unit != std::end(kUnits) ? unit : nullptr;
}

std::string unitBehind(const char* at, const std::string& text) {
    const std::string rest(at, text.c_str() + text.size());
    const std::size_t begin = rest.find_first_not_of(' ');
    return begin == rest.npos ? "" : rest.substr(begin);
}

// Not what is only typed wrong: "1,5" has no unit.
bool isUnit(const std::string& text) {
    const unsigned char first = text.empty() ? 'u' : static_cast<unsigned char>(text.front());
    return first >= 0x80 || first == '%' || std::isalpha(first) != 0;
}

std::optional<Quantity> parseHexadecimal(const std::string& text, std::size_t digits, bool isNegative) {
    unsigned long long value = 0;
    const char* const end = text.c_str() + text.size();
    const auto [stop, error] = std::from_chars(text.c_str() + digits, end, value, 16);
    const auto integer = static_cast<long long>(isNegative ? 0 - value : value);
    if (error != std::errc()) {
        return std::nullopt;
    }
    return Quantity{static_cast<double>(integer), integer, unitBehind(stop, text)};
}

} // namespace

std::string numberText(double value) {
    constexpr double kLargest = 1e15; // beyond it not every integer is a number
    constexpr double kSmallest = 1e-6;
    const double size = std::abs(value);
    const bool isPlain = size == 0 || (size >= kSmallest && size < kLargest);
    std::array<char, 64> text{};
    char* const end = text.data() + text.size();
    const auto result = isPlain ? std::to_chars(text.data(), end, value, std::chars_format::fixed)
                                : std::to_chars(text.data(), end, value);
    return {text.data(), result.ptr};
}

std::string hexText(unsigned long long value) {
    std::array<char, 32> text{};
    return "0x" +
           std::string(text.data(), std::to_chars(text.data(), text.data() + text.size(), value, 16).ptr);
}

std::optional<Quantity> parseQuantity(const std::string& text) {
    const bool isNegative = text.starts_with('-');
    const std::size_t digits = isNegative || text.starts_with('+') ? 1 : 0;
    if (text.compare(digits, 2, "0x") == 0 || text.compare(digits, 2, "0X") == 0) {
        return parseHexadecimal(text, digits + 2, isNegative);
    }
    const char* const begin = text.c_str() + (text.starts_with('+') ? 1 : 0);
    const char* const end = text.c_str() + text.size();
    Quantity quantity;
    const auto [stop, error] = std::from_chars(begin, end, quantity.number);
    if (error != std::errc()) {
        return std::nullopt;
    }
    long long integer = 0;
    const auto whole = std::from_chars(begin, stop, integer);
    if (whole.ec == std::errc() && whole.ptr == stop) {
        quantity.integer = integer;
    }
    quantity.unit = unitBehind(stop, text);
    return isUnit(quantity.unit) ? std::optional(quantity) : std::nullopt;
}

std::optional<double> converted(double number, const std::string& from, const std::string& to) {
    const std::string source = spelt(from);
    const std::string target = spelt(to);
    if (source == target) {
        return number;
    }
    const Unit* const one = find(source);
    const Unit* const other = find(target);
    if (one == nullptr || other == nullptr || one->dimension != other->dimension) {
        return std::nullopt;
    }
    return number * one->size / other->size;
}

} // namespace gbe
