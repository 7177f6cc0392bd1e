#include "util/MacAddress.h"

#include <gtest/gtest.h>

namespace {

TEST(MacAddress, TextsThatAreAddressesAndTextsThatAreNot) {
    const struct {
        const char* name;
        const char* text;
        const char* expected; // null: refused
    } rows[] = {
        {"mixed case", "00:1A:2b:3C:4d:5E", "00:1a:2b:3c:4d:5e"},
        {"all ones", "FF:FF:FF:FF:FF:FF", "ff:ff:ff:ff:ff:ff"},
        {"dash", "00-1A-2b-3C-4d-5E", nullptr},
        {"one dash", "00:1A:2b:3C:4d-5E", nullptr},
        {"one-digit group", "0:1A:2b:3C:4d:5E", nullptr},
        {"seven groups", "00:1A:2b:3C:4d:5E:6F", nullptr},
        {"five groups", "00:1A:2b:3C:4d", nullptr},
        {"leading blank", " 00:1A:2b:3C:4d:5E", nullptr},
        {"trailing line end", "00:1A:2b:3C:4d:5E\n", nullptr},
        {"no hexadecimal digit", "00:1A:2b:3C:4d:5G", nullptr},
        {"empty", "", nullptr},
    };
    for (const auto& row : rows) {
        const QByteArray text(row.text);
        for (const bool asBytes : {false, true}) {
            MacAddress address(1, 2, 3, 4, 5, 6);
            const bool taken =
                asBytes ? address.setAddress(text) : address.setAddress(QString::fromLatin1(text));
            EXPECT_EQ(taken, row.expected != nullptr) << row.name;
            EXPECT_EQ(address.toAscii(), row.expected ? row.expected : "01:02:03:04:05:06") << row.name;
        }
        EXPECT_EQ(MacAddress(text).toString(), row.expected ? row.expected : "00:00:00:00:00:00") << row.name;
    }
}

TEST(MacAddress, TheFirstDifferingByteOrders) {
    for (int i = 0; i < 6; ++i) {
        unsigned char low[6] = {9, 9, 9, 9, 9, 9};
        unsigned char high[6] = {9, 9, 9, 9, 9, 9};
        high[i] = 0x80; // above 9 as an unsigned byte only
        if (i < 5) {
            low[i + 1] = 0xFF;
        }
        EXPECT_LT(MacAddress(low), MacAddress(high)) << i;
        EXPECT_FALSE(MacAddress(high) < MacAddress(low)) << i;
        EXPECT_NE(MacAddress(low), MacAddress(high)) << i;
    }
    EXPECT_FALSE(MacAddress::broadcast() < MacAddress::broadcast());
}

TEST(MacAddress, OnlyAllOnesIsBroadcast) {
    EXPECT_TRUE(MacAddress::broadcast().isBroadcast());
    EXPECT_FALSE(MacAddress(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE).isBroadcast());
}

} // namespace
