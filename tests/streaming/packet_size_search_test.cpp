// The search for the packet size, on paths that carry anything.
#include "streaming/PacketSizeSearch.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using streaming::PacketSizeSearch;

TEST(PacketSizeSearch, FindsTheLargestThatPassesInFewRounds) {
    for (const unsigned most : {576U, 1000U, 1500U, 1502U, 8228U, 9000U, 16384U}) {
        for (unsigned carried = 400; carried <= 16400; carried += carried < 1600 ? 1 : 97) {
            PacketSizeSearch search(most);
            int rounds = 0;
            for (auto sizes = search.next(); !sizes.empty(); sizes = search.next()) {
                ASSERT_LE(++rounds, 6) << most << " " << carried;
                ASSERT_LE(sizes.size(), PacketSizeSearch::kAtOnce);
                ASSERT_TRUE(std::is_sorted(sizes.begin(), sizes.end()));
                ASSERT_LE(sizes.back(), most);
                unsigned largest = search.best();
                for (const unsigned size : sizes) {
                    largest = size <= carried ? std::max(largest, size) : largest;
                }
                search.arrived(largest);
            }
            const unsigned best = std::min(most, carried) / 4 * 4;
            ASSERT_EQ(search.best(), best >= PacketSizeSearch::kLeast ? best : 0) << most << " " << carried;
        }
    }
}

} // namespace
