#include "board/description_url.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <array>
#include <utility>

namespace board {
namespace {

constexpr std::array kPrefixes{
    std::pair{UrlScheme::Local, std::string_view("Local:")},
    std::pair{UrlScheme::Http, std::string_view("Http:")},
    std::pair{UrlScheme::File, std::string_view("File:")},
};

constexpr int kHexadecimal = 16;

QString latin1(std::string_view text) {
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

// "name;address;length", both numbers hexadecimal.
bool parseLocal(std::string_view rest, DescriptionUrl& url) {
    const QStringList pieces = latin1(rest).split(QLatin1Char(';'));
    if (pieces.size() != 3) {
        return false;
    }
    bool addressIsGood = false;
    bool lengthIsGood = false;
    url.fileName = rest.substr(0, rest.find(';'));
    url.address = pieces[1].toUInt(&addressIsGood, kHexadecimal);
    url.length = pieces[2].toInt(&lengthIsGood, kHexadecimal);
    return addressIsGood && lengthIsGood;
}

} // namespace

DescriptionUrl parseDescriptionUrl(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    text = text.substr(0, text.find('?')); // what follows tells of the description, "?SchemaVersion=1.1.0"
    DescriptionUrl url;
    url.scheme = UrlScheme::Unusable;
    for (const auto& [scheme, prefix] : kPrefixes) {
        if (!latin1(text).startsWith(latin1(prefix), Qt::CaseInsensitive)) {
            continue;
        }
        const std::string_view rest = text.substr(prefix.size());
        if (scheme != UrlScheme::Local) {
            url.fileName = rest;
        } else if (!parseLocal(rest, url)) {
            return DescriptionUrl{UrlScheme::Unusable, {}, 0, 0, false};
        }
        url.scheme = scheme;
        url.isZip = latin1(url.fileName).endsWith(QLatin1String(".zip"), Qt::CaseInsensitive);
        break;
    }
    return url;
}

} // namespace board
