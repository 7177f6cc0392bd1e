// A 48-bit Ethernet address as a value, with its usual text of six hexadecimal pairs joined by colons.
// Distinct objects may be used from different threads.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

class QRegularExpression;
class MacAddressPrivate;

class MacAddress {
public:
    // Six bytes in the order in which they are sent.
    explicit MacAddress(const unsigned char* bytes);
    MacAddress(
        const unsigned char& b0, const unsigned char& b1, const unsigned char& b2, const unsigned char& b3,
        const unsigned char& b4, const unsigned char& b5);
    // As setAddress; a text that is no address gives 00:00:00:00:00:00.
    explicit MacAddress(const QString& text);
    explicit MacAddress(const QByteArray& text);
    MacAddress(const MacAddress& other);
    MacAddress& operator=(const MacAddress& other);
    ~MacAddress();

    static MacAddress broadcast();
    // What a text must match as a whole to be an address.
    static QRegularExpression matchExpression();

    bool isBroadcast() const;
    // The six bytes, byte 0 first; they live as long as this object.
    const unsigned char* data() const;
    // Lower-case digits, byte 0 first.
    QString toString() const;
    QByteArray toAscii() const;

    // False, and the address is left as it was, when the text is no address.
    bool setAddress(const QString& text);
    bool setAddress(const QByteArray& text);

    bool operator==(const MacAddress& other) const;
    bool operator!=(const MacAddress& other) const;
    // The first byte that differs decides.
    bool operator<(const MacAddress& other) const;

private:
    std::unique_ptr<MacAddressPrivate> d; // never null
};
