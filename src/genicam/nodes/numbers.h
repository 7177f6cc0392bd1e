// Conversions between the kinds of numbers that nodes exchange; none can overflow into undefined behaviour.
#pragma once

#include "liomol/exceptions.h"
#include "util/error_detail.h"
#include "util/number_text.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tavo::numbers {

inline constexpr double kTwoToThe63 = 9223372036854775808.0;

// Arithmetic that wraps.
inline std::int64_t add(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

inline std::int64_t multiply(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

// The sum, at most the highest number; `b` is not negative.
inline std::int64_t clampedSum(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
    return a > kHighest - b ? kHighest : a + b;
}

// Without its fraction, clamped to the range; a value that is no number becomes 0.
inline std::int64_t clampedInteger(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= kTwoToThe63) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return value < -kTwoToThe63 ? std::numeric_limits<std::int64_t>::min() : static_cast<std::int64_t>(value);
}

// Without its fraction; GicIllegalValueException for a value that no integer can hold.
inline std::int64_t checkedInteger(double value) {
    if (!(value >= -kTwoToThe63 && value < kTwoToThe63)) {
        util::fail<GicIllegalValueException>(
            [value] { return util::exactText(value) + " is no integer of 64 bits"; });
    }
    return static_cast<std::int64_t>(value);
}

// The nearest integer, of two equally near the one farther from 0; GicIllegalValueException as above.
inline std::int64_t roundedInteger(double value) {
    return checkedInteger(std::round(value));
}

// Whether `value` is a multiple of the increment; an increment of 0 counts as 1.
inline bool isMultiple(std::int64_t value, std::int64_t increment) {
    return increment == 0 || increment == -1 || value % increment == 0;
}

// Whether `value` is a number of increments above `base`, which is no greater; else as above.
inline bool isMultipleFrom(std::int64_t base, std::int64_t value, std::int64_t increment) {
    const auto distance = static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(base);
    const auto step = static_cast<std::uint64_t>(increment);
    return increment == 0 || distance % (increment < 0 ? 0 - step : step) == 0;
}

// The moment `milliseconds` from now; at once for negative ones, and no later than in a hundred years.
inline std::chrono::steady_clock::time_point fromNow(std::int64_t milliseconds) {
    constexpr std::int64_t kCentury = 100LL * 365 * 24 * 3600 * 1000;
    const std::int64_t wait = milliseconds < 0 ? 0 : milliseconds > kCentury ? kCentury : milliseconds;
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(wait);
}

} // namespace tavo::numbers
