#include "board/description_url.h"

#include <QtCore/QStringList>

#include <array>
#include <utility>

namespace board {
namespace {

constexpr std::array kPrefixes{
    std::pair{UrlScheme::Local, "Local:"},
    std::pair{UrlScheme::Http, "Http:"},
    std::pair{UrlScheme::File, "File:"},
};

constexpr int kHexadecimal = 16;

// "name;address;length", both numbers hexadecimal without a prefix.
bool parseLocal(const QString& rest, DescriptionUrl& url) {
    const QStringList pieces = rest.split(QLatin1Char(';'));
    if (pieces.size() != 3) {
        return false;
    }
    bool addressIsGood = false;
    bool lengthIsGood = false;
    url.fileName = pieces[0];
    url.address = pieces[1].toUInt(&addressIsGood, kHexadecimal);
    url.length = pieces[2].toInt(&lengthIsGood, kHexadecimal);
    return addressIsGood && lengthIsGood;
}

} // namespace

DescriptionUrl parseDescriptionUrl(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    const QString whole = QString::fromLatin1(text.data(), static_cast<int>(text.size()));
    DescriptionUrl url;
    url.scheme = UrlScheme::Unusable;
    for (const auto& [scheme, prefix] : kPrefixes) {
        const QLatin1String start(prefix);
        if (!whole.startsWith(start, Qt::CaseInsensitive)) {
            continue;
        }
        const QString rest = whole.mid(start.size());
        if (scheme != UrlScheme::Local) {
            url.fileName = rest;
        } else if (!parseLocal(rest, url)) {
            return DescriptionUrl{UrlScheme::Unusable, {}, 0, 0, false};
        }
        url.scheme = scheme;
        url.isZip = url.fileName.endsWith(QLatin1String(".zip"), Qt::CaseInsensitive);
        break;
    }
    return url;
}

} // namespace board
