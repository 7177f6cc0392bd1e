// The text of a camera's URL register: whatever it holds, the outcome is one of the documented schemes, and
// the fields agree with it.
#include "board/description_url.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const board::DescriptionUrl url =
        board::parseDescriptionUrl(std::string_view(reinterpret_cast<const char*>(data), size));
    const bool zipName = url.fileName.endsWith(QLatin1String(".zip"), Qt::CaseInsensitive);
    bool sound = url.isZip == zipName;
    switch (url.scheme) {
    case board::UrlScheme::Local:
        sound = sound && !url.fileName.contains(QLatin1Char(';'));
        break;
    case board::UrlScheme::Http:
    case board::UrlScheme::File:
        sound = sound && url.address == 0 && url.length == 0;
        break;
    case board::UrlScheme::Unusable:
        sound = url.fileName.isEmpty() && url.address == 0 && url.length == 0 && !url.isZip;
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
