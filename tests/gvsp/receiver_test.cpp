#include "gvsp/rig.h"

namespace {

using namespace gvsp;
using std::chrono::milliseconds;
using namespace rig;

TEST(Receiver, ImagesOfBothKindsOfIdsComeInOrder) {
    for (const bool extended : {false, true}) {
        Rig rig;
        for (const std::uint64_t block : {65534, 65535, extended ? 65536 : 1, extended ? 65537 : 2}) {
            Sent sent{.block = block, .extended = extended, .timestamp = 1};
            rig.send(sent);
            Image image;
            ASSERT_TRUE(rig.receiver.nextImage(image));
            EXPECT_EQ(image.status, ImageStatus::Complete);
            EXPECT_EQ(image.block, block);
            EXPECT_EQ(image.size, sent.size());
            EXPECT_EQ(image.geometry.width, 50U);
            expectBytes(image, sent);
            rig.receiver.lend(image.buffer);
        }
        EXPECT_EQ(rig.receiver.counters().complete, 4U);
        EXPECT_EQ(rig.receiver.counters().lostBlocks, 0U);
    }
}

} // namespace
