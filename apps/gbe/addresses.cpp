#include "addresses.h"

#include "Failure.h"

#include <arpa/inet.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>

namespace gbe {

std::string macText(const unsigned char* mac) {
    char text[sizeof "00:00:00:00:00:00"];
    std::snprintf(
        text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

std::optional<Mac> parseMac(const std::string& text) {
    unsigned bytes[6];
    int used = 0;
    if (std::sscanf(
            text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%n", &bytes[0], &bytes[1], &bytes[2], &bytes[3], &bytes[4],
            &bytes[5], &used) != 6 ||
        text.size() != sizeof "00:00:00:00:00:00" - 1 || used != static_cast<int>(text.size())) {
        return std::nullopt;
    }
    Mac mac{};
    std::transform(std::begin(bytes), std::end(bytes), mac.begin(), [](unsigned byte) {
        return static_cast<unsigned char>(byte);
    });
    return mac;
}

std::string ipText(unsigned ip) {
    char text[sizeof "255.255.255.255"];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", ip & 0xFF, ip >> 8 & 0xFF, ip >> 16 & 0xFF, ip >> 24);
    return text;
}

std::optional<unsigned> parseIp(const std::string& text) {
    unsigned char octets[4];
    if (inet_pton(AF_INET, text.c_str(), octets) != 1) {
        return std::nullopt;
    }
    return octets[0] | octets[1] << 8 | octets[2] << 16 | static_cast<unsigned>(octets[3]) << 24;
}

std::optional<unsigned> parseMask(const std::string& text) {
    unsigned bits = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, bits);
    if (error != std::errc() || stop != end) {
        return parseIp(text);
    }
    constexpr unsigned kBits = 32;
    if (bits == 0 || bits >= kBits) {
        return std::nullopt;
    }
    return swapOctets(~0U << (kBits - bits));
}

std::string PortAddress::text() const {
    return ipText(ip) + "/" + std::to_string(std::popcount(mask));
}

PortAddress portAddress(BoardHandle* board, unsigned port) {
    PortAddress address;
    check(
        "port " + std::to_string(port),
        Gbe_getPortAddress(board, port, address.mac.data(), &address.ip, &address.mask));
    return address;
}

std::string addressText(unsigned ip, const PortAddress& port) {
    return ipText(ip) + (port.reaches(ip) ? "" : " (other subnet)");
}

} // namespace gbe
