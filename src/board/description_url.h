// Where a camera says that its description lies: the text of a URL register, taken apart.
//
// GigE Vision 1.2, "First choice of URL": "Local:" names a range of camera memory, "File:" a file on the
// host, "Http:" a place on the web.
#pragma once

#include <string>
#include <string_view>

namespace board {

// What kind of place a URL names; the numbers are the results of GenICamPortWrapper::ReadXMLUrl.
enum class UrlScheme : int {
    Unusable = -2, // -ENOENT
    Unread = 0,    // the register could not be read
    Local = 1,
    Http = 2,
    File = 3,
};

struct DescriptionUrl {
    UrlScheme scheme = UrlScheme::Unread;
    std::string fileName; // bytes as they came
    unsigned address = 0; // of the document in camera memory; "Local:" only
    int length = 0;     // of the document in bytes, as the camera gave it: it may be negative; "Local:" only
    bool isZip = false; // the file name ends with ".zip"
};

// Takes a URL apart; prefixes and ".zip" count in any letter case. Bytes are taken as Latin-1, and a NUL ends
// the text. Never fails: text that is no URL of the three kinds is Unusable.
DescriptionUrl parseDescriptionUrl(std::string_view text);

} // namespace board
