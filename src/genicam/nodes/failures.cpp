#include "genicam/nodes/failures.h"

#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/limits.h"
#include "math/MathParser.h"
#include "math/messages.h"
#include "util/Quirks.h"
#include "util/number_text.h"

#include <limits>

namespace tavo {
namespace {

constexpr std::size_t kMostEntries = 16; // more than a reader takes in
constexpr std::size_t kLongestText = 64; // of what a caller gave

std::string shortened(const std::string& text) {
    return text.size() <= kLongestText ? text : text.substr(0, kLongestText) + "...";
}

std::string withUnit(const std::string& unit) {
    return unit.empty() ? unit : ' ' + unit;
}

// The values that the increments allow on both sides of one that they do not, as far as the limits go.
std::string
neighbours(std::int64_t value, std::int64_t min, std::int64_t max, std::int64_t base, std::int64_t step) {
    const auto size = static_cast<std::uint64_t>(step);
    const std::uint64_t distance = static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(base);
    const std::uint64_t over = value >= base ? distance % size : (size - (0 - distance) % size) % size;
    const bool hasLower = static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(min) >= over;
    const bool hasUpper = static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(value) >= size - over;
    const std::string lower = hasLower ? std::to_string(value - static_cast<std::int64_t>(over)) : "";
    const std::string upper = hasUpper ? std::to_string(value + static_cast<std::int64_t>(size - over)) : "";
    return hasLower && hasUpper ? "; " + lower + " and " + upper + " are"
           : hasLower           ? "; " + lower + " is"
           : hasUpper           ? "; " + upper + " is"
                                : "";
}

bool isThere(GenICamEnumEntry& entry) {
    try {
        return entry.isImplemented() && entry.isAvailable();
    } catch (const std::exception&) { // what decides cannot be read
        return false;
    }
}

std::string entriesNow(const GenICamEnumerationInterface& enumeration) {
    std::string text;
    std::size_t count = 0;
    for (GenICamEnumEntry* const entry : enumeration.getEntries()) {
        if (count == kMostEntries) {
            return text + ", ...";
        }
        if (isThere(*entry)) {
            text += (count++ == 0 ? "" : ", ") + entry->getSymbol();
        }
    }
    return count == 0 ? "its entries, of which none is available now" : text;
}

} // namespace

std::string wayTo(const ImplGenICamNode& node) {
    const bool isFirst = node.getHost() == nullptr || node.getHost()->access().depth == 0;
    return isFirst || node.getName().empty() ? "" : node.getName() + ": ";
}

std::string valueText(ImplGenICamNode& node) {
    if (auto* const enumeration = node.asEnumeration()) {
        const std::int64_t value = node.readInteger();
        const GenICamEnumEntry* const entry = enumeration->getEntryByValue(value);
        return entry != nullptr ? entry->getSymbol() : std::to_string(value);
    }
    if (node.asBoolean() != nullptr) {
        return node.readInteger() != 0 ? "true" : "false";
    }
    return node.asFloat() != nullptr ? util::exactText(node.readFloat()) : std::to_string(node.readInteger());
}

void failOutsideLimits(ImplGenICamNode& node, GenICamInteger& limits, std::int64_t value) {
    util::fail<GicIllegalValueException>([&] {
        const std::int64_t min = limits.getMin();
        const std::int64_t max = limits.getMax();
        const std::int64_t step = limits.getInc();
        const bool fromZero =
            node.quirks().incrementsFromZero || min == std::numeric_limits<std::int64_t>::min();
        return wayTo(node) + std::to_string(value) + " is not within " + std::to_string(min) + ".." +
               std::to_string(max) + withUnit(limits.getUnit()) +
               (step > 1 ? " in steps of " + std::to_string(step) : "") +
               (step > 1 && value >= min && value <= max
                    ? neighbours(value, min, max, fromZero ? 0 : min, step)
                    : "");
    });
}

void failOutsideLimits(ImplGenICamNode& node, GenICamFloatInterface& limits, double value) {
    util::fail<GicIllegalValueException>([&] {
        return wayTo(node) + util::exactText(value) + " is not within " + util::exactText(limits.getMin()) +
               ".." + util::exactText(limits.getMax()) + withUnit(limits.getUnit());
    });
}

void failNoEntry(
    ImplGenICamNode& node, const GenICamEnumerationInterface& entries, const std::string& wished) {
    util::fail<GicIllegalValueException>([&] {
        return wayTo(node) + (wished.empty() ? "an empty text" : shortened(wished)) + " is none of " +
               entriesNow(entries);
    });
}

void failLength(const ImplGenICamNode& node, std::int64_t length, const char* allowed) {
    util::fail<GicIllegalRegisterLengthException>(
        [&] { return node.getName() + " has " + std::to_string(length) + " bytes" + allowed; });
}

void tellFormula(const ImplGenICamNode& node, const MathParser& formula, const ScMathException& fault) {
    if (*util::errorDetail() == '\0') {
        util::setErrorDetail(util::sentenceOf([&] {
            const std::string& name = node.getName();
            const std::string what = fault.what();
            const std::string identifier =
                what == math::message::kIllegalIdentifier ? ' ' + formula.illegalIdentifier() : "";
            return what + identifier + " in " + (name.empty() ? "a formula" : "the formula of " + name);
        }));
    }
}

} // namespace tavo
