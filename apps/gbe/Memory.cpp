#include "Memory.h"

#include "features.h"
#include "liomol/features.h"
#include "numbers.h"
#include "similar.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>

namespace gbe {
namespace {

constexpr std::size_t kWord = 4;

// Decimal, or hexadecimal behind "0x"; nothing when it is no number of 32 bits.
std::optional<std::uint32_t> parseNumber(std::string_view text) {
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHex ? 2 : 0);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, isHex ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

Place bootstrapPlace(const bootstrap::Register& known) {
    return {std::string(known.name), known.address, known.length, &known, false};
}

std::vector<std::string> knownNames(CameraHandle* camera) {
    std::vector<std::string> names = allNames(camera);
    for (const bootstrap::Register& each : bootstrap::kRegisters) {
        names.emplace_back(each.name);
    }
    return names;
}

std::uint32_t wordAt(const Bytes& bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}

void appendWord(Bytes& bytes, std::uint32_t word) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
}

std::string whatIs(const Place& place) {
    char address[24];
    std::snprintf(address, sizeof address, "address 0x%08x", place.address);
    return place.name.empty() ? address : place.name;
}

} // namespace

std::optional<Place> placeWithoutCamera(const std::string& text) {
    if (const auto address = parseNumber(text)) {
        const bootstrap::Register* const known = bootstrap::findRegister(*address);
        return known != nullptr && known->length == kWord ? bootstrapPlace(*known) : Place{{}, *address};
    }
    const bootstrap::Register* const known = bootstrap::findRegister(text);
    return known != nullptr ? std::optional(bootstrapPlace(*known)) : std::nullopt;
}

Place placeOf(const std::string& text, CameraHandle* camera) {
    if (const auto place = placeWithoutCamera(text)) {
        return *place;
    }
    long long address = 0;
    long long length = 0;
    const int code = Gbe_getRegisterPlace(camera, text.c_str(), &address, &length);
    int kind = 0;
    if (code == GBE_ERROR_ILLEGAL_NODE && Gbe_getFeatureKind(camera, text.c_str(), &kind) == 0) {
        throw Failure(text + ": is a feature, but no register: gbe get " + text, ExitStatus::Usage);
    }
    if (code == GBE_ERROR_ILLEGAL_NODE) {
        throw Failure(
            text + ": neither an address, nor a bootstrap register, nor a feature" +
                suggestion(text, knownNames(camera)),
            ExitStatus::Usage);
    }
    check(text, code);
    if (address < 0 || address > std::numeric_limits<std::uint32_t>::max()) {
        throw Failure(
            text + ": its address, " + hexText(static_cast<unsigned long long>(address)) +
            ", is beyond 32 bits");
    }
    return {text, static_cast<unsigned>(address), static_cast<std::size_t>(length), nullptr, true};
}

bool isOfDescription(const Failure& failure) {
    constexpr int kCodes[] = {
        GBE_ERROR_XML_READ, GBE_ERROR_ENVIRONMENT_NOT_SET, GBE_ERROR_FILE_DOES_NOT_EXIST};
    return failure.status() != ExitStatus::Lost && std::ranges::any_of(kCodes, [&](int code) {
               return failure.reason() == Gbe_getErrorDescription(code);
           });
}

std::size_t parseCount(const std::string& text) {
    constexpr std::uint32_t kMost = 256U << 20;
    const auto count = parseNumber(text);
    if (!count || *count == 0 || *count > kMost) {
        throw Failure(
            "\"" + text + "\" is not a number of bytes, 1 to " + std::to_string(kMost), ExitStatus::Usage);
    }
    return *count;
}

Bytes parseBytes(const std::string& text) {
    Bytes bytes;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        const auto value = parseNumber(text);
        if (!value) {
            throw Failure("\"" + text + "\" is not the value of a register of 4 bytes", ExitStatus::Usage);
        }
        appendWord(bytes, *value);
        return bytes;
    }
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), [](char c) { return c != ' '; });
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        const auto byte = parseNumber("0x" + digits.substr(at, 2));
        if (!byte || digits.size() % 2 != 0) {
            throw Failure(
                "\"" + text + "\" is not bytes: pairs of hexadecimal digits, or 0x... for a register",
                ExitStatus::Usage);
        }
        bytes.push_back(static_cast<std::uint8_t>(*byte));
    }
    return bytes;
}

Bytes readPlace(CameraHandle* camera, const Place& place) {
    Bytes bytes(place.length);
    auto size = static_cast<unsigned>(bytes.size());
    check(
        whatIs(place), place.isFeature ? Gbe_getRegisterBytes(camera, place.name.c_str(), bytes.data(), &size)
                                       : Gbe_readMemory(camera, place.address, bytes.data(), size));
    return bytes;
}

Bytes readFound(CameraHandle* camera, const Place& place) {
    const unsigned begin = place.address / kWord * kWord;
    const std::size_t before = place.address - begin;
    Bytes bytes;
    while (bytes.size() < before + place.length) {
        unsigned word = 0;
        check(whatIs(place), Gbe_readRegister(camera, begin + static_cast<unsigned>(bytes.size()), &word));
        appendWord(bytes, word);
    }
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(before);
    return Bytes(from, from + static_cast<std::ptrdiff_t>(place.length));
}

void writePlace(CameraHandle* camera, const Place& place, const Bytes& bytes) {
    const auto size = static_cast<unsigned>(bytes.size());
    check(
        whatIs(place), place.isFeature ? Gbe_setRegisterBytes(camera, place.name.c_str(), bytes.data(), size)
                                       : Gbe_writeMemory(camera, place.address, bytes.data(), size));
}

std::string hexDigits(const Bytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

std::string meaningOf(const Place& place, const Bytes& bytes) {
    const bootstrap::Register* const known = place.bootstrap;
    if (known == nullptr || known->length != bytes.size()) {
        return "";
    }
    switch (known->meaning) {
    case bootstrap::Meaning::Text:
        return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    case bootstrap::Meaning::Ip:
        return Ipv4::at(bytes.data()).text();
    case bootstrap::Meaning::Number:
        return std::to_string(wordAt(bytes));
    case bootstrap::Meaning::Bits:
        break;
    }
    return "";
}

void printDump(unsigned address, const Bytes& bytes) {
    constexpr std::size_t kLine = 16;
    for (std::size_t at = 0; at < bytes.size(); at += kLine) {
        std::string digits;
        std::string letters;
        for (std::size_t i = at; i < std::min(at + kLine, bytes.size()); ++i) {
            digits += (i == at + kLine / 2 ? "  " : " ") + hexDigits({bytes[i]});
            letters += bytes[i] >= ' ' && bytes[i] <= '~' ? static_cast<char>(bytes[i]) : '.';
        }
        constexpr int kDigits = 3 * kLine + 1;
        std::printf(
            "%08x %-*s  |%s|\n", address + static_cast<unsigned>(at), kDigits, digits.c_str(),
            letters.c_str());
    }
}

} // namespace gbe
