#include "gvsp/Receiver.h"

#include "gvsp/stream.h"

#include <gtest/gtest.h>

#include <list>

namespace {

using namespace gvsp;
using std::chrono::milliseconds;
using stream::Bytes;
using stream::Sent;

constexpr std::uint8_t kUntouched = 0xEE;

// A receiver with buffers of its own and a clock that its user moves.
struct Rig {
    explicit Rig(Settings settings = {}, std::size_t bufferSize = 1000, unsigned count = 4)
        : receiver(settings) {
        for (unsigned i = 0; i < count; ++i) {
            memory.emplace_back(bufferSize, kUntouched);
            receiver.lend({memory.back().data(), bufferSize, i});
        }
    }
    void send(const Bytes& datagram) { receiver.packet(datagram, now); }
    void send(const Sent& sent, std::vector<std::uint32_t> without = {}) {
        for (std::uint32_t id = 0; id <= sent.trailerId(); ++id) {
            if (std::find(without.begin(), without.end(), id) == without.end()) {
                send(sent.packet(id));
            }
        }
    }
    std::list<Bytes> memory;
    Time now{milliseconds(1000)};
    Receiver receiver;
};

// Every byte is what was sent, or in the map.
void expectBytes(const Image& image, const Sent& sent) {
    std::vector<bool> missing(image.size);
    std::size_t count = 0;
    for (const Range& range : image.missing) {
        ASSERT_LE(range.offset + range.length, image.size);
        std::fill_n(missing.begin() + static_cast<std::ptrdiff_t>(range.offset), range.length, true);
        count += range.length;
    }
    EXPECT_EQ(count, image.missingBytes);
    for (std::size_t i = 0; i < image.size; ++i) {
        ASSERT_TRUE(missing[i] || image.buffer.data[i] == sent.at(i)) << "byte " << i;
    }
}

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
