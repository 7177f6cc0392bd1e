#include "settings/value_text.h"

#include "liomol/exceptions.h"
#include "protocol/addresses.h"
#include "settings/words.h"
#include "util/number_text.h"
#include "util/status.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace settings {
namespace {

using tavo::GenICamNode;
using AddressType = tavo::GenICamTypes::GenICamAddressType;
using Bytes = std::vector<unsigned char>;

constexpr std::int64_t kMaxRegister = 64 << 10; // bytes

// ---- Texts to values -------------------------------------------------------------------------------------

bool takeSign(std::string_view& text) {
    const bool minus = text.starts_with('-');
    if (minus || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return minus;
}

std::optional<std::int64_t> integerOf(std::string_view text) {
    const bool minus = takeSign(text);
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHex ? 2 : 0);
    const auto read = util::readDigits(text, isHex ? 16 : 10);
    // A hexadecimal number may have all 64 bits.
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t most =
        isHex && !minus ? std::numeric_limits<std::uint64_t>::max() : kMost + (minus ? 1 : 0);
    if (read.length == 0 || read.length != text.size() || read.isTooLarge || read.value > most) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(minus ? 0 - read.value : read.value);
}

// 192.168.0.1, 02:00:00:00:00:0a
std::optional<std::int64_t> addressOf(std::string_view text) {
    if (const auto ip = net::Ipv4::parse(text)) {
        return ip->number();
    }
    const auto mac = net::Mac::parse(text);
    return mac ? std::optional(static_cast<std::int64_t>(mac->number())) : std::nullopt;
}

std::optional<std::int64_t> integerOrAddressOf(std::string_view text) {
    const auto integer = integerOf(text);
    return integer ? integer : addressOf(text);
}

std::optional<double> floatOf(std::string_view text) {
    const bool minus = takeSign(text);
    const double sign = minus ? -1 : 1;
    if (text == "inf") {
        return sign * std::numeric_limits<double>::infinity();
    }
    if (text == "nan") {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto read = util::readDecimal(text);
    if (read.length == 0 || read.length != text.size() || read.isTooLarge) {
        return std::nullopt;
    }
    return sign * read.value;
}

std::optional<bool> booleanOf(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    if (small == "true" || small == "1") {
        return true;
    }
    return small == "false" || small == "0" ? std::optional(false) : std::nullopt;
}

// With 0x before them or without.
std::optional<Bytes> bytesOf(std::string_view text) {
    if (text.starts_with("0x")) {
        text.remove_prefix(2);
    }
    Bytes bytes;
    for (; text.size() >= 2; text.remove_prefix(2)) {
        const auto read = util::readDigits(text.substr(0, 2), 16);
        if (read.length != 2) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<unsigned char>(read.value));
    }
    return text.empty() ? std::optional(bytes) : std::nullopt;
}

template<typename Value>
const Value& required(const std::optional<Value>& value, const std::string& text, const char* kind) {
    if (!value) {
        throw Refusal(status::IllegalValue, quoted(text) + " is no " + kind);
    }
    return *value;
}

// ---- Values to texts -------------------------------------------------------------------------------------

std::string hexText(const Bytes& bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text = "0x";
    for (const unsigned char byte : bytes) {
        text += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
    return text;
}

// Empty for what is shown as no address, and for what is none.
std::string addressText(tavo::GenICamIntegerInterface& node, std::int64_t value) {
    const bool isMac = node.getAddressType() == AddressType::MACAddress;
    const std::int64_t end = std::int64_t{1} << 8 * (isMac ? net::kMacSize : net::kIpSize);
    if (node.getAddressType() == AddressType::NotGiven || value < 0 || value >= end) {
        return {};
    }
    const auto number = static_cast<std::uint64_t>(value);
    return isMac ? net::Mac::fromNumber(number).text()
                 : net::Ipv4::fromNumber(static_cast<std::uint32_t>(number)).text();
}

std::string integerText(tavo::GenICamIntegerInterface& node) {
    using Representation = tavo::GenICamTypes::GenICamRepresentationType;
    const std::int64_t value = node.getValue();
    if (const std::string text = addressText(node, value); !text.empty()) {
        return text;
    }
    if (value < 0 || node.getRepresentation() != Representation::HexNumber) {
        return std::to_string(value);
    }
    std::array<char, 16> digits;
    return "0x" + std::string(digits.begin(), std::to_chars(digits.begin(), digits.end(), value, 16).ptr);
}

std::string floatText(double value) {
    if (std::isnan(value)) { // its sign means nothing
        return "nan";
    }
    std::array<char, 64> digits;
    return {digits.begin(), std::to_chars(digits.begin(), digits.end(), value).ptr};
}

std::string stringText(tavo::GenICamStringInterface& node) {
    std::string text = node.getValue();
    text.resize(text.find_last_not_of('\0') + 1);
    return text;
}

std::size_t lengthOf(tavo::GenICamRegisterInterface& node) {
    const std::int64_t length = node.getLength();
    if (length < 0 || length > kMaxRegister) {
        throw Refusal(
            status::IllegalRegisterLength, std::to_string(length) + " bytes; registers of up to " +
                                               std::to_string(kMaxRegister) + " can be kept");
    }
    return static_cast<std::size_t>(length);
}

std::string registerText(tavo::GenICamRegisterInterface& node) {
    Bytes bytes(lengthOf(node));
    node.get(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    return hexText(bytes);
}

void writeRegister(tavo::GenICamRegisterInterface& node, Bytes bytes) {
    if (const std::size_t length = lengthOf(node); bytes.size() != length) {
        throw Refusal(
            status::IllegalRegisterLength,
            std::to_string(bytes.size()) + " bytes are given, and it has " + std::to_string(length));
    }
    node.set(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

std::string namesOf(const std::vector<tavo::GenICamEnumEntry*>& entries) {
    constexpr std::size_t kMost = 16; // more than a reader takes in
    std::string names;
    for (std::size_t i = 0; i < std::min(entries.size(), kMost); ++i) {
        names += (i == 0 ? "" : ", ") + entries[i]->getSymbol();
    }
    return entries.size() > kMost ? names + ", ..." : names;
}

void checkEntry(const tavo::GenICamEnumerationInterface& node, const std::string& text) {
    const auto& entries = node.getEntries();
    if (std::ranges::none_of(entries, [&](const auto* entry) { return entry->getSymbol() == text; })) {
        throw Refusal(status::IllegalValue, quotedIfNeeded(text) + " is none of " + namesOf(entries));
    }
}

// The one place that knows which kind comes first for a node of several: calls `work` with the interface.
template<typename Work> auto withValue(GenICamNode& node, Work&& work) {
    if (auto* const integer = node.asInteger()) {
        return work(*integer);
    }
    if (auto* const real = node.asFloat()) {
        return work(*real);
    }
    if (auto* const boolean = node.asBoolean()) {
        return work(*boolean);
    }
    if (auto* const string = node.asString()) {
        return work(*string);
    }
    if (auto* const enumeration = node.asEnumeration()) {
        return work(*enumeration);
    }
    if (auto* const bytes = node.asRegister(); bytes != nullptr && hasValue(node)) {
        return work(*bytes);
    }
    throw Refusal(
        status::IllegalNode,
        node.asCommand() != nullptr ? "is a command, which has no value" : "has no value");
}

struct Read {
    std::string operator()(tavo::GenICamIntegerInterface& node) const { return integerText(node); }
    std::string operator()(tavo::GenICamFloatInterface& node) const { return floatText(node.getValue()); }
    std::string operator()(tavo::GenICamBooleanInterface& node) const {
        return node.getValue() ? "true" : "false";
    }
    std::string operator()(tavo::GenICamStringInterface& node) const { return stringText(node); }
    std::string operator()(tavo::GenICamEnumerationInterface& node) const { return node.getStringValue(); }
    std::string operator()(tavo::GenICamRegisterInterface& node) const { return registerText(node); }
};

// Turns the text into a value; sets the feature where that is wanted.
struct Take {
    const std::string& text;
    bool isWanted;

    void operator()(tavo::GenICamIntegerInterface& node) const {
        const bool isAddress = node.getAddressType() != AddressType::NotGiven;
        const std::int64_t value = isAddress
                                       ? required(integerOrAddressOf(text), text, "address, nor an integer")
                                       : required(integerOf(text), text, "integer");
        isWanted ? node.setValue(value) : void();
    }
    void operator()(tavo::GenICamFloatInterface& node) const {
        const double value = required(floatOf(text), text, "number");
        isWanted ? node.setValue(value) : void();
    }
    void operator()(tavo::GenICamBooleanInterface& node) const {
        const bool value = required(booleanOf(text), text, "boolean: true or false");
        isWanted ? node.setValue(value) : void();
    }
    void operator()(tavo::GenICamStringInterface& node) const { isWanted ? node.setValue(text) : void(); }
    void operator()(tavo::GenICamEnumerationInterface& node) const {
        checkEntry(node, text);
        isWanted ? node.setStringValue(text) : void();
    }
    void operator()(tavo::GenICamRegisterInterface& node) const {
        const Bytes& bytes = required(bytesOf(text), text, "row of bytes (0x and two digits each)");
        isWanted ? writeRegister(node, bytes) : void();
    }
};

} // namespace

Refusal::Refusal(int code, const std::string& sentence)
    : std::runtime_error(
          status::description(code) + (" (" + std::to_string(code) + ")") +
          (sentence.empty() ? "" : ": " + sentence)),
      m_code(code), m_sentence(sentence) {}

bool hasValue(GenICamNode& node) {
    return node.asCommand() == nullptr && node.asCategory() == nullptr && node.asPort() == nullptr &&
           (node.asInteger() != nullptr || node.asFloat() != nullptr || node.asBoolean() != nullptr ||
            node.asString() != nullptr || node.asEnumeration() != nullptr || node.asRegister() != nullptr);
}

std::string readText(GenICamNode& node) {
    return refusing([&] { return withValue(node, Read()); });
}

void checkText(GenICamNode& node, const std::string& text) {
    refusing([&] { withValue(node, Take{text, false}); });
}

void writeText(GenICamNode& node, const std::string& text) {
    refusing([&] { withValue(node, Take{text, true}); });
}

bool holdsText(GenICamNode& node) {
    const bool isNumber =
        node.asInteger() != nullptr || node.asFloat() != nullptr || node.asBoolean() != nullptr;
    return !isNumber && (node.asString() != nullptr || node.asEnumeration() != nullptr);
}

bool sameValue(std::string_view a, std::string_view b) {
    if (a == b) {
        return true;
    }
    if (const auto first = integerOrAddressOf(a), second = integerOrAddressOf(b); first && second) {
        return *first == *second;
    }
    if (const auto first = floatOf(a), second = floatOf(b); first && second) {
        return *first == *second;
    }
    const auto first = booleanOf(a);
    return first && first == booleanOf(b);
}

bool looksLikeNumber(std::string_view text) {
    return integerOrAddressOf(text) || floatOf(text) || booleanOf(text);
}

bool sameValue(GenICamNode& node, std::string_view a, std::string_view b) {
    return a == b || (!holdsText(node) && sameValue(a, b));
}

bool nearlySameValue(GenICamNode& node, std::string_view a, std::string_view b) {
    constexpr double kNear = 1e-6;
    if (sameValue(node, a, b) || node.asInteger() != nullptr || node.asFloat() == nullptr) {
        return sameValue(node, a, b);
    }
    const auto first = floatOf(a);
    const auto second = floatOf(b);
    return first && second && std::abs(*first - *second) <= kNear * std::abs(*first);
}

} // namespace settings
