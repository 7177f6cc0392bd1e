// The text of a camera's URL register: whatever it holds, the outcome is one of the documented schemes, and
// the fields agree with it.
#include "board/description_url.h"

#include <QtCore/QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const board::DescriptionUrl url =
        board::parseDescriptionUrl(std::string_view(reinterpret_cast<const char*>(data), size));
    const QByteArray name = QByteArray::fromStdString(url.fileName).toLower();
    const bool zipName = name.endsWith(".zip");
    bool sound = url.isZip == zipName;
    switch (url.scheme) {
    case board::UrlScheme::Local:
        sound = sound && !name.contains(';');
        break;
    case board::UrlScheme::Http:
    case board::UrlScheme::File:
        sound = sound && url.address == 0 && url.length == 0;
        break;
    case board::UrlScheme::Unusable:
        sound = name.isEmpty() && url.address == 0 && url.length == 0 && !url.isZip;
        break;
    case board::UrlScheme::Unread:
        sound = false;
        break;
    }
    if (!sound) {
        std::abort();
    }
    return 0;
}
