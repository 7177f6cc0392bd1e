#include "board/description_url.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using board::DescriptionUrl;
using board::UrlScheme;
using namespace std::string_literals;

struct UrlRow {
    const char* name;
    std::string text;
    UrlScheme scheme;
    const char* fileName = "";
    unsigned address = 0;
    int length = 0;
    bool isZip = false;
};

const UrlRow kRows[] = {
    {"zipInCameraMemory", "Local:cam.zip;8000;1A2B", UrlScheme::Local, "cam.zip", 0x8000, 0x1A2B, true},
    {"negativeLengthIsKeptForTheReader", "Local:a;0;-10", UrlScheme::Local, "a", 0, -16, false},
    {"nulEndsTheText", "Local:a.xml;10;20\0garbage"s, UrlScheme::Local, "a.xml", 0x10, 0x20, false},
    {"fourPieces", "Local:x;10;20;", UrlScheme::Unusable},
    {"queryEndsALocalUrl", "Local:x.zip;10;20?SchemaVersion=1.1.0", UrlScheme::Local, "x.zip", 16, 32, true},
    {"queryEndsAFileUrl", "File:x.zip?SchemaVersion=1.1.0", UrlScheme::File, "x.zip", 0, 0, true},
    {"negativeAddress", "Local:x;-1;20", UrlScheme::Unusable},
    {"addressAbove32Bits", "Local:x;100000000;20", UrlScheme::Unusable},
    {"web", "Http://www.example.com/cam.zip", UrlScheme::Http, "//www.example.com/cam.zip", 0, 0, true},
    {"file", "File:cam.xml", UrlScheme::File, "cam.xml"},
    {"empty", "", UrlScheme::Unusable},
    {"otherScheme", "ftp:cam.xml", UrlScheme::Unusable},
};

TEST(Url, IsTakenApart) {
    for (const UrlRow& row : kRows) {
        SCOPED_TRACE(row.name);
        const DescriptionUrl url = board::parseDescriptionUrl(row.text);
        EXPECT_EQ(url.scheme, row.scheme);
        EXPECT_EQ(url.fileName, row.fileName);
        EXPECT_EQ(url.address, row.address);
        EXPECT_EQ(url.length, row.length);
        EXPECT_EQ(url.isZip, row.isZip);
    }
}

} // namespace
