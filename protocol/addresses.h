// Ethernet and IPv4 addresses as values: the bytes in the order in which they are sent, the texts that people
// write, and the numbers of those who count with them. No function allocates but text().
#pragma once

#include "protocol/net.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace net {

// A MAC address. Zeros stand for none.
struct Mac {
    std::array<std::uint8_t, kMacSize> bytes{};

    // Six pairs of hexadecimal digits of either case joined by colons, and nothing else.
    static constexpr std::optional<Mac> parse(std::string_view text);
    // A number with the first byte in bits 47 to 40; higher ones do not count.
    static constexpr Mac fromNumber(std::uint64_t number);
    constexpr std::uint64_t number() const;
    // Copies six bytes.
    static constexpr Mac at(const unsigned char* bytes);
    // Lower-case digits.
    std::string text() const;

    constexpr bool isNone() const { return *this == Mac{}; }
    // Broadcast included.
    constexpr bool isGroup() const { return (bytes[0] & 1) != 0; }
    // What one station can bear.
    constexpr bool isStation() const { return !isGroup() && !isNone(); }

    constexpr std::uint8_t* data() { return bytes.data(); }
    constexpr const std::uint8_t* data() const { return bytes.data(); }
    static constexpr std::size_t size() { return kMacSize; }
    constexpr auto begin() { return bytes.begin(); }
    constexpr auto end() { return bytes.end(); }
    constexpr auto begin() const { return bytes.begin(); }
    constexpr auto end() const { return bytes.end(); }
    constexpr std::uint8_t& operator[](std::size_t i) { return bytes[i]; }
    constexpr std::uint8_t operator[](std::size_t i) const { return bytes[i]; }

    // The first byte that differs decides.
    friend constexpr auto operator<=>(const Mac&, const Mac&) = default; // NOLINT(modernize-use-nullptr)
};

// An IPv4 address or subnet mask. Zeros stand for none.
struct Ipv4 {
    std::array<std::uint8_t, kIpSize> bytes{};

    // Four decimal numbers up to 255, without leading zeros, joined by dots, and nothing else.
    static constexpr std::optional<Ipv4> parse(std::string_view text);
    // Copies four bytes.
    static constexpr Ipv4 at(const unsigned char* bytes);
    // A number with the first octet on top, as addresses are counted with.
    static constexpr Ipv4 fromNumber(std::uint32_t number);
    constexpr std::uint32_t number() const;
    // A number with the first octet in the lowest byte, as the C interface has it.
    static constexpr Ipv4 fromLowFirst(std::uint32_t number);
    constexpr std::uint32_t lowFirst() const;
    // The mask with this many ones on top, 0 to 32 (more count as 32).
    static constexpr Ipv4 maskOf(unsigned bits);
    std::string text() const;

    constexpr bool isNone() const { return *this == Ipv4{}; }
    // An address that one station can bear: not this network, not the computer itself, not a group (RFC
    // 1122).
    constexpr bool isStation() const { return bytes[0] != 0 && bytes[0] != 127 && bytes[0] < 224; }
    // Ones, then zeros, and some of both.
    constexpr bool isMask() const {
        const std::uint32_t rest = ~number();
        return !isNone() && rest != 0 && (rest & (rest + 1)) == 0;
    }

    constexpr std::uint8_t* data() { return bytes.data(); }
    constexpr const std::uint8_t* data() const { return bytes.data(); }
    static constexpr std::size_t size() { return kIpSize; }
    constexpr auto begin() { return bytes.begin(); }
    constexpr auto end() { return bytes.end(); }
    constexpr auto begin() const { return bytes.begin(); }
    constexpr auto end() const { return bytes.end(); }
    constexpr std::uint8_t& operator[](std::size_t i) { return bytes[i]; }
    constexpr std::uint8_t operator[](std::size_t i) const { return bytes[i]; }

    friend constexpr auto operator<=>(const Ipv4&, const Ipv4&) = default; // NOLINT(modernize-use-nullptr)
};

// Whether an address is neither the first nor the last of its subnet: those mean the network and everybody.
constexpr bool isInsideSubnet(const Ipv4& address, const Ipv4& mask) {
    const std::uint32_t host = address.number() & ~mask.number();
    return host != 0 && host != ~mask.number();
}

constexpr bool sameSubnet(const Ipv4& one, const Ipv4& other, const Ipv4& mask) {
    return ((one.number() ^ other.number()) & mask.number()) == 0;
}

// --- Behind the declarations

namespace detail {

constexpr int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Takes one octet off the front of `text`; -1 when there is none.
constexpr int takeOctet(std::string_view& text) {
    int value = 0;
    std::size_t digits = 0;
    while (digits < text.size() && digits < 3 && text[digits] >= '0' && text[digits] <= '9') {
        value = value * 10 + (text[digits] - '0');
        ++digits;
    }
    if (digits == 0 || value > 255 || (digits > 1 && text.front() == '0')) {
        return -1;
    }
    text.remove_prefix(digits);
    return value;
}

} // namespace detail

constexpr std::optional<Mac> Mac::parse(std::string_view text) {
    Mac mac;
    if (text.size() != 3 * size() - 1) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < size(); ++i) {
        const int high = detail::hexDigit(text[3 * i]);
        const int low = detail::hexDigit(text[3 * i + 1]);
        if (high < 0 || low < 0 || (i > 0 && text[3 * i - 1] != ':')) {
            return std::nullopt;
        }
        mac.bytes[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return mac;
}

constexpr Mac Mac::at(const unsigned char* bytes) {
    Mac mac;
    for (std::size_t i = 0; i < size(); ++i) {
        mac.bytes[i] = bytes[i];
    }
    return mac;
}

constexpr Mac Mac::fromNumber(std::uint64_t number) {
    Mac mac;
    for (std::size_t i = size(); i-- > 0; number >>= 8) {
        mac.bytes[i] = static_cast<std::uint8_t>(number);
    }
    return mac;
}

constexpr std::uint64_t Mac::number() const {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes) {
        number = number << 8 | byte;
    }
    return number;
}

inline std::string Mac::text() const {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += ':';
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

constexpr std::optional<Ipv4> Ipv4::parse(std::string_view text) {
    Ipv4 address;
    for (std::size_t i = 0; i < size(); ++i) {
        if (i > 0) {
            if (text.empty() || text.front() != '.') {
                return std::nullopt;
            }
            text.remove_prefix(1);
        }
        const int octet = detail::takeOctet(text);
        if (octet < 0) {
            return std::nullopt;
        }
        address.bytes[i] = static_cast<std::uint8_t>(octet);
    }
    return text.empty() ? std::optional(address) : std::nullopt;
}

constexpr Ipv4 Ipv4::at(const unsigned char* bytes) {
    return {{bytes[0], bytes[1], bytes[2], bytes[3]}};
}

constexpr Ipv4 Ipv4::fromNumber(std::uint32_t number) {
    return {
        {static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
         static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)}};
}

constexpr std::uint32_t Ipv4::number() const {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

constexpr Ipv4 Ipv4::fromLowFirst(std::uint32_t number) {
    return {
        {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8),
         static_cast<std::uint8_t>(number >> 16), static_cast<std::uint8_t>(number >> 24)}};
}

constexpr std::uint32_t Ipv4::lowFirst() const {
    return static_cast<std::uint32_t>(bytes[3]) << 24 | static_cast<std::uint32_t>(bytes[2]) << 16 |
           static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[0];
}

constexpr Ipv4 Ipv4::maskOf(unsigned bits) {
    return fromNumber(bits == 0 ? 0 : ~std::uint32_t{0} << (bits < 32 ? 32 - bits : 0));
}

inline std::string Ipv4::text() const {
    std::string text;
    for (const std::uint8_t octet : bytes) {
        text += (text.empty() ? "" : ".") + std::to_string(octet);
    }
    return text;
}

} // namespace net
