#include "addresses.h"

#include "Failure.h"

#include <bit>
#include <charconv>

namespace gbe {

std::optional<Ipv4> parseMask(const std::string& text) {
    unsigned bits = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, bits);
    if (error != std::errc() || stop != end) {
        return Ipv4::parse(text);
    }
    constexpr unsigned kBits = 32;
    return bits == 0 || bits >= kBits ? std::nullopt : std::optional(Ipv4::maskOf(bits));
}

std::string PortAddress::text() const {
    return ip.text() + "/" + std::to_string(std::popcount(mask.number()));
}

PortAddress portAddress(BoardHandle* board, unsigned port) {
    PortAddress address;
    unsigned ip = 0;
    unsigned mask = 0;
    check("port " + std::to_string(port), Gbe_getPortAddress(board, port, address.mac.data(), &ip, &mask));
    address.ip = Ipv4::fromLowFirst(ip);
    address.mask = Ipv4::fromLowFirst(mask);
    return address;
}

std::string addressText(const Ipv4& ip, const PortAddress& port) {
    return ip.text() + (port.reaches(ip) ? "" : " (other subnet)");
}

} // namespace gbe
