#include "util/MacAddress.h"

#include <gtest/gtest.h>

namespace {

// Which texts are addresses, the shared value type knows.
TEST(MacAddress, TakesATextWholeOrNotAtAll) {
    for (const char* const text : {"00:1A:2b:3C:4d:5E", "0:1A:2b:3C:4d:5E", "00-1A-2b-3C-4d-5E"}) {
        const bool isOne = text[2] == ':';
        for (const bool asBytes : {false, true}) {
            MacAddress address(1, 2, 3, 4, 5, 6);
            EXPECT_EQ(
                asBytes ? address.setAddress(QByteArray(text))
                        : address.setAddress(QString::fromLatin1(text)),
                isOne);
            EXPECT_EQ(address.toAscii(), isOne ? "00:1a:2b:3c:4d:5e" : "01:02:03:04:05:06") << text;
        }
        EXPECT_EQ(MacAddress(QByteArray(text)).toString(), isOne ? "00:1a:2b:3c:4d:5e" : "00:00:00:00:00:00");
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
    EXPECT_TRUE(MacAddress::broadcast().isBroadcast());
    EXPECT_FALSE(MacAddress(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE).isBroadcast());
}

} // namespace
