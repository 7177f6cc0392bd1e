// The parsers of GenICamTreeBuilder: a description's texts into values.
#include "genicam/description/GenICamTreeBuilder.h"

#include "util/number_text.h"

#include <limits>

namespace tavo {
namespace {

template<class Enum> struct Keyword {
    std::string_view text;
    Enum value;
};

template<class Enum, std::size_t count>
Enum lookUp(const Keyword<Enum> (&keywords)[count], std::string_view text) {
    for (const Keyword<Enum>& keyword : keywords) {
        if (keyword.text == text) {
            return keyword.value;
        }
    }
    return Enum::NotGiven;
}

using YesNo = GenICamTypes::GenICamYesNoType;
using Sign = GenICamTypes::GenICamSignType;
using Endianess = GenICamTypes::GenICamEndianessType;
using CacheMode = GenICamTypes::GenICamCacheModeType;
using AccessMode = GenICamTypes::GenICamAccessModeType;
using Visibility = GenICamTypes::GenICamVisibilityType;
using Representation = GenICamTypes::GenICamRepresentationType;
using AddressType = GenICamTypes::GenICamAddressType;
using Slope = GenICamTypes::GenICamSlopeType;

constexpr Keyword<YesNo> kYesNoKeywords[] = {{"Yes", YesNo::Yes}, {"No", YesNo::No}};
constexpr Keyword<Sign> kSignKeywords[] = {{"Signed", Sign::Signed}, {"Unsigned", Sign::Unsigned}};
constexpr Keyword<Endianess> kEndianessKeywords[] = {
    {"LittleEndian", Endianess::LittleEndian}, {"BigEndian", Endianess::BigEndian}};
constexpr Keyword<CacheMode> kCacheModeKeywords[] = {
    {"WriteThrough", CacheMode::WriteThrough},
    {"WriteAround", CacheMode::WriteAround},
    {"NoCache", CacheMode::NoCache},
    {"No", CacheMode::NoCache}, // an old spelling that some descriptions use
};
constexpr Keyword<AccessMode> kAccessModeKeywords[] = {
    {"RO", AccessMode::RO}, {"WO", AccessMode::WO}, {"RW", AccessMode::RW}};
constexpr Keyword<Visibility> kVisibilityKeywords[] = {
    {"Beginner", Visibility::Beginner},
    {"Expert", Visibility::Expert},
    {"Guru", Visibility::Guru},
    {"Invisible", Visibility::Invisible},
};
constexpr Keyword<Representation> kRepresentationKeywords[] = {
    {"Linear", Representation::Linear},       {"Logarithmic", Representation::Logarithmic},
    {"Boolean", Representation::Boolean},     {"PureNumber", Representation::PureNumber},
    {"HexNumber", Representation::HexNumber},
};
constexpr Keyword<AddressType> kAddressTypeKeywords[] = {
    {"IPV4Address", AddressType::IPV4Address}, {"MACAddress", AddressType::MACAddress}};
constexpr Keyword<Slope> kSlopeKeywords[] = {
    {"Increasing", Slope::Increasing},
    {"Decreasing", Slope::Decreasing},
    {"Varying", Slope::Varying},
    {"Automatic", Slope::Automatic},
};

// The blanks that a stream skips in front of a number.
constexpr std::string_view kBlanks = " \t\n\v\f\r";

struct SignedText {
    std::string_view text; // behind the sign
    bool negative = false;
};

SignedText splitSign(std::string_view text) {
    const std::size_t start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(start);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') {
        text.remove_prefix(1);
    }
    return {text, negative};
}

int baseOf(std::string_view text, int afterZero) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        return 16;
    }
    return text.starts_with('0') ? afterZero : 10;
}

// `afterZero` is the base of a number that begins with 0.
std::int64_t parseInteger(std::string_view text, std::int64_t defaultValue, int afterZero) {
    using Limits = std::numeric_limits<std::int64_t>;
    const auto [number, negative] = splitSign(text);
    const int base = baseOf(number, afterZero);
    const std::string_view digits = base == 16 ? number.substr(2) : number;

    const auto [magnitude, length, isTooLarge] = util::readDigits(digits, base);
    if (length == 0) {
        return defaultValue;
    }
    const std::uint64_t largest = static_cast<std::uint64_t>(Limits::max()) + (negative ? 1 : 0);
    if (isTooLarge || (base != 16 && magnitude > largest)) {
        return negative ? Limits::min() : Limits::max();
    }
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

} // namespace

YesNo GenICamTreeBuilder::parseYesNo(std::string_view text) {
    return lookUp(kYesNoKeywords, text);
}
Sign GenICamTreeBuilder::parseSign(std::string_view text) {
    return lookUp(kSignKeywords, text);
}
Endianess GenICamTreeBuilder::parseEndianess(std::string_view text) {
    return lookUp(kEndianessKeywords, text);
}
CacheMode GenICamTreeBuilder::parseCacheMode(std::string_view text) {
    return lookUp(kCacheModeKeywords, text);
}
AccessMode GenICamTreeBuilder::parseAccessMode(std::string_view text) {
    return lookUp(kAccessModeKeywords, text);
}
Visibility GenICamTreeBuilder::parseVisibility(std::string_view text) {
    return lookUp(kVisibilityKeywords, text);
}
Representation GenICamTreeBuilder::parseRepresentation(std::string_view text) {
    return lookUp(kRepresentationKeywords, text);
}
AddressType GenICamTreeBuilder::parseAddressType(std::string_view text) {
    return lookUp(kAddressTypeKeywords, text);
}
Slope GenICamTreeBuilder::parseSlope(std::string_view text) {
    return lookUp(kSlopeKeywords, text);
}

bool GenICamTreeBuilder::parseBoolean(std::string_view text, bool defaultValue) {
    return text.empty() ? defaultValue : text == "true";
}

std::int64_t GenICamTreeBuilder::parseNumber(std::string_view text, std::int64_t defaultValue) {
    return parseInteger(text, defaultValue, 8);
}

std::int64_t GenICamTreeBuilder::parseDecimalOrHex(std::string_view text, std::int64_t defaultValue) {
    return parseInteger(text, defaultValue, 10);
}

double GenICamTreeBuilder::parseFloat(std::string_view text, double defaultValue) {
    const auto [number, negative] = splitSign(text);
    const auto [magnitude, length, isTooLarge] = util::readDecimal(number);
    const std::string_view rest = number.substr(length);
    if (length == 0 || rest.starts_with('e') || rest.starts_with('E')) { // an exponent without digits
        return defaultValue;
    }
    return negative ? -magnitude : magnitude;
}

} // namespace tavo
