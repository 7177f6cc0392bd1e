#include "gbe/conditions.h"

#include "gbe/Failure.h"
#include "gbe/addresses.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace gbe {
namespace {

// The longer ones first, since they begin like the others.
constexpr std::string_view kComparisons[] = {"!=", "<=", ">=", "=", "<", ">"};

// With a point in every locale; 0x... is a number, too, and so are addresses.
std::optional<double> numberOf(std::string_view text) {
    if (const auto ip = Ipv4::parse(text)) {
        return ip->number();
    }
    if (const auto mac = Mac::parse(text)) {
        return static_cast<double>(mac->number());
    }
    const bool isHex = text.starts_with("0x");
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
    const auto read = std::from_chars(text.data() + (isHex ? 2 : 0), end, value, format);
    return read.ec == std::errc() && read.ptr == end ? std::optional(value) : std::nullopt;
}

// As they are set and as they are shown.
std::string_view plain(std::string_view value) {
    return value == "true" ? "1" : value == "false" ? "0" : value;
}

bool compare(double present, std::string_view comparison, double value) {
    return comparison == "<"    ? present < value
           : comparison == ">"  ? present > value
           : comparison == "<=" ? present <= value
           : comparison == ">=" ? present >= value
                                : (present == value) == (comparison == "=");
}

Condition parseCondition(const std::string& text) {
    const std::size_t at = text.find_first_of("!<>=");
    for (const std::string_view comparison : kComparisons) {
        if (at != text.npos && at > 0 && text.compare(at, comparison.size(), comparison) == 0) {
            return {text.substr(0, at), std::string(comparison), text.substr(at + comparison.size())};
        }
    }
    throw Failure("\"" + text + "\" is no condition, as in Width=640 or Gain>=1.5", ExitStatus::Usage);
}

} // namespace

bool Condition::holdsFor(const std::string& present) const {
    const auto is = numberOf(plain(present));
    const auto wanted = numberOf(plain(value));
    if (is && wanted) {
        return compare(*is, comparison, *wanted);
    }
    return comparison == "=" ? present == value : comparison == "!=" && present != value;
}

std::vector<Condition> parseConditions(const std::vector<std::string>& texts) {
    std::vector<Condition> conditions;
    for (const std::string& text : texts) {
        conditions.push_back(parseCondition(text));
        const Condition& last = conditions.back();
        if (last.comparison != "=" && last.comparison != "!=" && !numberOf(last.value)) {
            throw Failure("\"" + text + "\" compares with what is no number", ExitStatus::Usage);
        }
    }
    return conditions;
}

} // namespace gbe
