#include "Mac.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QString>
#include <QtCore/QSysInfo>

#include <algorithm>
#include <cstdio>

namespace gbe_service {
namespace {

constexpr unsigned char kGroupBit = 0x01;
constexpr unsigned char kLocallyAdministered = 0x02;

std::optional<unsigned char> hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return static_cast<unsigned char>(digit - '0');
    }
    const char lower = static_cast<char>(digit | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned char>(lower - 'a' + 10);
    }
    return std::nullopt;
}

} // namespace

std::optional<Mac> parseMac(std::string_view text) {
    Mac mac{};
    if (text.size() != mac.size() * 3 - 1) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < mac.size(); ++i) {
        const auto high = hexDigit(text[i * 3]);
        const auto low = hexDigit(text[i * 3 + 1]);
        if (!high || !low || (i + 1 < mac.size() && text[i * 3 + 2] != ':')) {
            return std::nullopt;
        }
        mac[i] = static_cast<unsigned char>(*high << 4 | *low);
    }
    return mac;
}

std::string toText(const Mac& mac) {
    char text[sizeof "00:00:00:00:00:00"];
    std::snprintf(
        text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

bool isStationAddress(const Mac& mac) {
    return (mac[0] & kGroupBit) == 0 && mac != Mac{};
}

Mac localMac(unsigned board, unsigned port) {
    QByteArray seed = QSysInfo::machineUniqueId();
    if (seed.isEmpty()) { // a container without /etc/machine-id
        seed = QSysInfo::machineHostName().toUtf8();
    }
    seed += " gbe-service board " + QByteArray::number(board) + " port " + QByteArray::number(port);
    const QByteArray hash = QCryptographicHash::hash(seed, QCryptographicHash::Sha256);
    Mac mac{kLocallyAdministered};
    std::copy_n(hash.begin(), mac.size() - 1, mac.begin() + 1);
    return mac;
}

} // namespace gbe_service
