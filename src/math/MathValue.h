// A value in a formula: a 64-bit integer or a double, and which of the two it is.
#pragma once

#include <cstdint>
#include <limits>

namespace tavo {

// Trivial and two machine words, so that it travels in registers. Only the member of its kind is meaningful.
struct MathValue {
    enum class Kind : std::uint32_t { Integer, Float };

    static constexpr MathValue fromInteger(std::int64_t value) {
        MathValue result;
        result.integer = value;
        result.kind = Kind::Integer;
        return result;
    }
    static constexpr MathValue fromFloat(double value) {
        MathValue result;
        result.real = value;
        result.kind = Kind::Float;
        return result;
    }

    constexpr bool isInteger() const { return kind == Kind::Integer; }
    // An integer becomes the nearest double.
    constexpr double toFloat() const { return isInteger() ? static_cast<double>(integer) : real; }
    // A double is truncated toward zero. Kept as it is: one beyond 64 bits, or no number at all, silently
    // becomes the most negative integer, as the x86 conversion instruction has it.
    constexpr std::int64_t toInteger() const { return isInteger() ? integer : truncated(real); }

    static constexpr std::int64_t truncated(double value) {
        constexpr double kLimit = 9223372036854775808.0; // 2^63, exact as a double
        const bool fits = value >= -kLimit && value < kLimit;
        return fits ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int64_t>::min();
    }

    union {
        std::int64_t integer;
        double real;
    };
    Kind kind;
};

} // namespace tavo
