// Numbers in texts: the one reader and the one writer, whatever the locale of the process. QCoreApplication
// takes over the user's, and in many of them a comma stands where descriptions and settings have a point.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace util {

// The number that a text begins with.
template<class T> struct NumberRead {
    T value = 0;
    std::size_t length = 0;  // of its text; 0 when the text begins with none
    bool isTooLarge = false; // then the value is the largest of the type
};

// Digits of a base from 2 to 16, without a sign, a prefix or blanks before them.
NumberRead<std::uint64_t> readDigits(std::string_view text, int base);

// Digits with a point among them and an exponent, without a sign or blanks. An exponent without digits does
// not belong to the number. One that is too small for a double is the nearest that there is.
NumberRead<double> readDecimal(std::string_view text);

// Six significant digits, with an exponent where that is shorter: "17.5", "1e+20", "inf".
std::string numberText(double value);

// As many digits as it takes to read the same number again, without an exponent as long as that stays short:
// "1000000", "0.1", "1e+20".
std::string exactText(double value);

} // namespace util
