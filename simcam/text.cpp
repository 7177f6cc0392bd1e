#include "simcam/text.h"

#include <charconv>
#include <cstdio>

namespace simcam {

namespace {

std::optional<std::uint64_t> digits(std::string_view text, int base, std::uint64_t max) {
    std::uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end || value > max) {
        return std::nullopt;
    }
    return value;
}

} // namespace

std::optional<std::uint64_t> parseUnsigned(std::string_view text, std::uint64_t max) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    return hexadecimal ? digits(text.substr(2), 16, max) : digits(text, 10, max);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (true) {
        const std::size_t end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> found;
    for (const std::string_view piece : split(text, ' ')) {
        if (!piece.empty()) {
            found.push_back(piece);
        }
    }
    return found;
}

std::optional<Mac> parseMac(std::string_view text) {
    const auto pieces = split(text, text.find('-') == std::string_view::npos ? ':' : '-');
    Mac mac = 0;
    for (const std::string_view piece : pieces) {
        const auto byte = piece.size() == 2 ? digits(piece, 16, 0xFF) : std::nullopt;
        if (!byte) {
            return std::nullopt;
        }
        mac = mac << 8 | *byte;
    }
    const bool group = (mac >> 40 & 1) != 0;
    return pieces.size() == 6 && !group && mac != 0 ? std::optional(mac) : std::nullopt;
}

std::optional<std::uint32_t> parseIp(std::string_view text) {
    const auto pieces = split(text, '.');
    std::uint32_t ip = 0;
    for (const std::string_view piece : pieces) {
        const auto byte = piece.size() <= 3 ? digits(piece, 10, 0xFF) : std::nullopt;
        if (!byte) {
            return std::nullopt;
        }
        ip = ip << 8 | static_cast<std::uint32_t>(*byte);
    }
    return pieces.size() == 4 ? std::optional(ip) : std::nullopt;
}

std::string macText(Mac mac) {
    char text[18];
    std::snprintf(
        text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", unsigned(mac >> 40 & 0xFF),
        unsigned(mac >> 32 & 0xFF), unsigned(mac >> 24 & 0xFF), unsigned(mac >> 16 & 0xFF),
        unsigned(mac >> 8 & 0xFF), unsigned(mac & 0xFF));
    return text;
}

std::string ipText(std::uint32_t ip) {
    char text[16];
    std::snprintf(
        text, sizeof text, "%u.%u.%u.%u", unsigned(ip >> 24), unsigned(ip >> 16 & 0xFF),
        unsigned(ip >> 8 & 0xFF), unsigned(ip & 0xFF));
    return text;
}

} // namespace simcam
