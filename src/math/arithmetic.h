// What the operators and functions of formulas compute: integers wrap around at 64 bits, and nothing traps.
#pragma once

#include "math/MathValue.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace tavo::math {

constexpr std::int64_t wrapped(std::uint64_t bits) {
    return static_cast<std::int64_t>(bits);
}

constexpr std::uint64_t bitsOf(std::int64_t value) {
    return static_cast<std::uint64_t>(value);
}

constexpr std::int64_t negated(std::int64_t value) {
    return wrapped(0 - bitsOf(value));
}

// The divisor is not 0; the most negative integer by -1 wraps around.
constexpr std::int64_t quotient(std::int64_t dividend, std::int64_t divisor) {
    return divisor == -1 ? negated(dividend) : dividend / divisor;
}

constexpr std::int64_t remainder(std::int64_t dividend, std::int64_t divisor) {
    return divisor == -1 ? 0 : dividend % divisor;
}

// Shifts take the count modulo 64, so a count of -1 is one of 63.
constexpr std::int64_t shiftedLeft(std::int64_t value, std::int64_t count) {
    return wrapped(bitsOf(value) << (bitsOf(count) & 63));
}

constexpr std::int64_t shiftedRight(std::int64_t value, std::int64_t count) {
    return value >> (bitsOf(count) & 63);
}

// The exponent is not negative.
constexpr std::int64_t power(std::int64_t base, std::int64_t exponent) {
    std::uint64_t result = 1;
    std::uint64_t square = bitsOf(base);
    for (std::uint64_t bits = bitsOf(exponent); bits != 0; bits >>= 1) {
        if (bits & 1) {
            result *= square;
        }
        square *= square;
    }
    return wrapped(result);
}

inline double roundedTo(double x, std::int64_t digits) {
    const auto n = static_cast<double>(digits);
    return std::floor(std::pow(10.0, n) * x + 0.5) * std::pow(10.0, -n);
}

constexpr double signOf(double x) {
    return static_cast<double>((x > 0) - (x < 0));
}

constexpr std::int64_t signOf(std::int64_t x) {
    return (x > 0) - (x < 0);
}

constexpr std::int64_t absolute(std::int64_t x) {
    return x < 0 ? negated(x) : x;
}

} // namespace tavo::math
