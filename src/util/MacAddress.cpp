#include "util/MacAddress.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <algorithm>
#include <array>

class MacAddressPrivate {
public:
    void setAddress(const unsigned char* bytes) { std::copy_n(bytes, m_bytes.size(), m_bytes.begin()); }
    const unsigned char* data() const { return m_bytes.data(); }

    bool operator==(const MacAddressPrivate& other) const { return m_bytes == other.m_bytes; }
    bool operator<(const MacAddressPrivate& other) const { return m_bytes < other.m_bytes; }

private:
    std::array<unsigned char, 6> m_bytes{};
};

namespace {

constexpr int kGroups = 6;

} // namespace

MacAddress::MacAddress(const unsigned char* bytes) : d(std::make_unique<MacAddressPrivate>()) {
    d->setAddress(bytes);
}

MacAddress::MacAddress(
    const unsigned char& b0, const unsigned char& b1, const unsigned char& b2, const unsigned char& b3,
    const unsigned char& b4, const unsigned char& b5)
    : d(std::make_unique<MacAddressPrivate>()) {
    const unsigned char bytes[kGroups] = {b0, b1, b2, b3, b4, b5};
    d->setAddress(bytes);
}

MacAddress::MacAddress(const QString& text) : d(std::make_unique<MacAddressPrivate>()) {
    setAddress(text);
}

MacAddress::MacAddress(const QByteArray& text) : d(std::make_unique<MacAddressPrivate>()) {
    setAddress(text);
}

MacAddress::MacAddress(const MacAddress& other) : d(std::make_unique<MacAddressPrivate>(*other.d)) {}

MacAddress& MacAddress::operator=(const MacAddress& other) {
    *d = *other.d;
    return *this;
}

MacAddress::~MacAddress() = default;

MacAddress MacAddress::broadcast() {
    return MacAddress(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF);
}

QRegularExpression MacAddress::matchExpression() {
    return QRegularExpression(QStringLiteral("([0-9a-fA-F]{2}:){5}[0-9a-fA-F]{2}"));
}

bool MacAddress::isBroadcast() const {
    return *this == broadcast();
}

const unsigned char* MacAddress::data() const {
    return d->data();
}

QString MacAddress::toString() const {
    QStringList groups;
    for (int i = 0; i < kGroups; ++i) {
        groups << QStringLiteral("%1").arg(unsigned{data()[i]}, 2, 16, QLatin1Char('0'));
    }
    return groups.join(QLatin1Char(':'));
}

QByteArray MacAddress::toAscii() const {
    return toString().toLatin1();
}

bool MacAddress::setAddress(const QString& text) {
    static const QRegularExpression kWhole(QRegularExpression::anchoredPattern(matchExpression().pattern()));
    if (!kWhole.match(text).hasMatch()) {
        return false;
    }
    const QStringList groups = text.split(QLatin1Char(':'));
    unsigned char bytes[kGroups];
    if (groups.size() != kGroups) {
        return false;
    }
    for (int i = 0; i < kGroups; ++i) {
        bytes[i] = static_cast<unsigned char>(groups[i].toUInt(nullptr, 16));
    }
    d->setAddress(bytes);
    return true;
}

bool MacAddress::setAddress(const QByteArray& text) {
    return setAddress(QString::fromLatin1(text));
}

bool MacAddress::operator==(const MacAddress& other) const {
    return *d == *other.d;
}

bool MacAddress::operator!=(const MacAddress& other) const {
    return !(*this == other);
}

bool MacAddress::operator<(const MacAddress& other) const {
    return *d < *other.d;
}
