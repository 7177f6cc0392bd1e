// The address values that library, board, interface and programs share: texts, numbers, kinds.
#include "protocol/addresses.h"

#include <gtest/gtest.h>

namespace {

using net::Ipv4;
using net::Mac;

TEST(Addresses, TextsThatAreOneAndThatAreNot) {
    EXPECT_EQ(Mac::parse("00:1A:2b:3C:4d:5E").value_or(Mac{}).text(), "00:1a:2b:3c:4d:5e");
    for (const char* text :
         {"", "02:00:00:00:00", "02:00:00:00:00:0", "02-00:00:00:00:00", "02:00:00:00:00:0g",
          "02:00:00:00:00:00:", " 2:00:00:00:00:00", "02:00:00:00:00:00 "}) {
        EXPECT_FALSE(Mac::parse(text)) << text;
    }
    for (const char* text : {"0.0.0.0", "169.254.7.42", "255.255.255.255", "10.0.100.9"}) {
        EXPECT_EQ(Ipv4::parse(text).value_or(Ipv4{}).text(), text);
    }
    for (const char* text :
         {"", "1.2.3", "1.2.3.4.", "1.2.3.4.5", "256.1.1.1", "01.2.3.4", "1..2.3", " 1.2.3.4", "1.2.3.0x4",
          "1.2.3.4444", "-1.2.3.4"}) {
        EXPECT_FALSE(Ipv4::parse(text)) << text;
    }
}

TEST(Addresses, OrdersOfNumbers) {
    constexpr Ipv4 ip{192, 168, 1, 20};
    static_assert(ip.number() == 0xC0A80114 && Ipv4::fromNumber(ip.number()) == ip);
    static_assert(ip.lowFirst() == 0x1401A8C0 && Ipv4::fromLowFirst(ip.lowFirst()) == ip);
    static_assert(Ipv4::maskOf(0).isNone() && Ipv4::maskOf(24) == Ipv4{255, 255, 255, 0});
    static_assert(Ipv4::maskOf(32) == Ipv4{255, 255, 255, 255});
}

TEST(Addresses, WhatAStationCanBear) {
    static_assert(Mac{2, 0, 0, 0, 0, 1}.isStation() && !Mac{}.isStation() && !Mac{1}.isStation());
    static_assert(Ipv4{223, 255, 255, 1}.isStation() && !Ipv4{224}.isStation());
    static_assert(!Ipv4{127, 0, 0, 1}.isStation() && !Ipv4{0, 1, 2, 3}.isStation());
    static_assert(Ipv4{255, 255, 192, 0}.isMask() && !Ipv4{255, 0, 255, 0}.isMask());
    static_assert(!Ipv4{}.isMask() && !Ipv4::maskOf(32).isMask());
    constexpr Ipv4 mask{255, 255, 255, 240};
    static_assert(net::isInsideSubnet({10, 0, 0, 17}, mask) && !net::isInsideSubnet({10, 0, 0, 16}, mask));
    static_assert(!net::isInsideSubnet({10, 0, 0, 31}, mask));
    static_assert(net::sameSubnet({10, 0, 0, 17}, {10, 0, 0, 30}, mask));
    static_assert(!net::sameSubnet({10, 0, 0, 17}, {10, 0, 0, 33}, mask));
}

} // namespace
