// Numbers as people type and read them, alike in every locale.
#pragma once

#include <optional>
#include <string>

namespace gbe {

// The shortest text that reads back as the same number, without a power of ten where it is not too long:
// 15000000, 0.1, 1e+30.
std::string numberText(double value);
// "0x1f"
std::string hexText(unsigned long long value);

// A number as it is typed: decimal or 0x..., and perhaps a unit behind it ("10ms", "0.5 kHz").
struct Quantity {
    double number = 0;
    std::optional<long long> integer; // where the text is one, exactly
    std::string unit;                 // as typed; empty without one
};
std::optional<Quantity> parseQuantity(const std::string& text);

// A number of one unit in another: 10 "ms" are 10000 "us". Nothing where they do not measure the same, or are
// not known.
std::optional<double> converted(double number, const std::string& from, const std::string& to);

} // namespace gbe
