#include "gvsp/rig.h"

#include <numeric>

namespace {

using namespace gvsp;
using namespace rig;
using std::chrono::milliseconds;

constexpr Sent kShort{.width = 49}; // the last of its ten data packets has 80 bytes

Settings settings(bool resend = false) {
    Settings settings;
    settings.payloadSize = 1000;
    settings.assumed = {0x01080001, 50, 20};
    settings.resend = resend;
    return settings;
}

std::vector<std::uint32_t> ids(std::uint32_t first, std::uint32_t last) {
    std::vector<std::uint32_t> all(last - first + 1);
    std::iota(all.begin(), all.end(), first);
    return all;
}

// Packets of a block: all of them in one, or those of the ids.
struct Part {
    Sent sent;
    std::vector<std::uint32_t> ids;
};

void send(Rig& rig, const Part& part) {
    if (!part.ids.empty()) {
        rig.send(part.sent, part.ids);
        return;
    }
    Bytes content = part.sent.leader();
    for (const Bytes& piece : {part.sent.trailer(), part.sent.data(1)}) {
        content.insert(content.end(), piece.begin(), piece.end());
    }
    rig.send(stream::packet(Format::AllIn, part.sent.block, 0, content, false));
}

using Map = std::vector<std::pair<std::size_t, std::size_t>>;

struct Row {
    const char* name;
    std::vector<Part> parts;
    ImageStatus status;
    std::size_t size;
    Map missing{};
    std::uint64_t malformed = 0;
    bool assumed = false;
};

constexpr auto kComplete = ImageStatus::Complete;
constexpr auto kIncomplete = ImageStatus::Incomplete;
constexpr auto kNotUnderstood = ImageStatus::NotUnderstood;
constexpr Sent kAny{};
constexpr Sent kOther{.type = 6};
constexpr Sent kChunks{.type = 4};
constexpr Sent kSmall{.width = 10, .height = 5};

const std::vector<Row>& rows() {
    static const std::vector<Row> kRows{
        {"lost leader", {{kAny, ids(1, 11)}}, kComplete, 1000, {}, 0, true},
        {"lost trailer", {{kAny, ids(0, 10)}}, kComplete, 1000},
        {"lost tail", {{kAny, ids(0, 7)}}, kIncomplete, 1000, {{700, 300}}},
        {"holes", {{kAny, {0, 1, 3, 4, 7, 10, 11}}}, kIncomplete, 1000, {{100, 100}, {400, 200}, {700, 200}}},
        {"nothing but leader and trailer", {{kAny, {0, 11}}}, kIncomplete, 1000, {{0, 1000}}},
        {"the last packet comes first", {{kShort, {10, 0, 2, 1, 3, 4, 5, 6, 7, 8, 9, 11}}}, kComplete, 980},
        {"from the last to the first", {{kShort, {11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}}}, kComplete, 980},
        {"no packet whose place is known", {{{.packetPayload = 90}, {0, 5}}}, kIncomplete, 1000, {{0, 1000}}},
        {"promised too much", {{{.promised = 500}, {0}}, {kAny, ids(1, 11)}}, kComplete, 1000, {}, 0, true},
        {"promised too little", {{{.promised = 1}, {0}}, {kAny, ids(1, 11)}}, kComplete, 1000, {}, 0, true},
        {"bytes that no packet carries",
         {{{.promised = 160, .height = 5}, {0}}, {kSmall, {1, 2}}},
         kIncomplete,
         800,
         {{50, 750}}},
        {"a payload that is no image", {{kOther, ids(0, 11)}}, kNotUnderstood, 1000},
        {"chunk data", {{kChunks, ids(0, 11)}}, kComplete, 1000, {}, 0, true},
        {"one packet is the block", {{kSmall, {}}}, kComplete, 50},
        {"behind the end",
         {{kAny, {0, 11}}, {{.height = 30}, {12}}, {kAny, ids(1, 10)}},
         kComplete,
         1000,
         {},
         1},
        {"other sizes",
         {{kAny, {0, 1, 2, 3, 5, 6}},
          {{.packetPayload = 120}, {7}},
          {{.packetPayload = 80}, {4}},
          {kAny, {4, 7, 8, 9, 10, 11}}},
         kComplete,
         1000,
         {},
         2},
    };
    return kRows;
}

TEST(Receiver, OneImage) {
    for (const std::size_t packetSize : {0, 136, 9000, 60}) { // not known; right; wrong
        for (const Row& row : rows()) {
            SCOPED_TRACE(row.name);
            Settings set = settings();
            set.packetSize = packetSize;
            Rig rig(set, 1000, 1);
            for (const Part& part : row.parts) {
                send(rig, part);
            }
            rig.wait(milliseconds(500));
            Image image;
            ASSERT_TRUE(rig.receiver.nextImage(image));
            EXPECT_EQ(image.status, row.status);
            EXPECT_EQ(image.size, row.size);
            Map missing;
            for (const Range& range : image.missing) {
                missing.emplace_back(range.offset, range.length);
            }
            EXPECT_EQ(missing, row.missing);
            EXPECT_EQ(image.geometryAssumed, row.assumed);
            EXPECT_EQ(image.payloadType, row.parts[0].sent.type);
            EXPECT_EQ(rig.receiver.counters().malformed, row.malformed);
            expectBytes(image, row.parts[0].sent);
            EXPECT_FALSE(rig.receiver.deadline());
        }
    }
}

TEST(Receiver, LongerThanTheBuffer) {
    for (const std::size_t size : {1, 99, 600, 650, 999}) {
        SCOPED_TRACE(size);
        Rig rig(settings(true), size, 1);
        rig.memory.front().resize(size); // for the sanitizer
        rig.send(Sent{});
        Image image;
        ASSERT_TRUE(rig.receiver.nextImage(image));
        EXPECT_EQ(image.status, kIncomplete);
        EXPECT_TRUE(image.truncated);
        EXPECT_EQ(image.size, size);
        EXPECT_TRUE(image.missing.empty());
        expectBytes(image, Sent{});
    }
}

std::vector<std::uint64_t> blocksOf(Rig& rig) {
    std::vector<std::uint64_t> blocks;
    for (Image image; rig.receiver.nextImage(image);) {
        blocks.push_back(image.block);
        EXPECT_EQ(image.status, kComplete);
        expectBytes(image, Sent{.block = image.block});
        rig.receiver.lend(image.buffer);
    }
    return blocks;
}
using Blocks = std::vector<std::uint64_t>;

TEST(Receiver, IdsWrapJumpAndBeginAgain) {
    struct Step {
        std::uint64_t block;
        std::uint64_t timestamp;
    };
    struct Case {
        std::vector<Step> steps;
        std::uint64_t lost;
        bool extended = false;
    };
    for (const Case& row : std::vector<Case>{
             {{{65534, 1}, {65535, 2}, {1, 3}, {2, 4}}, 0},
             {{{65535, 1}, {65536, 2}, {65537, 3}, {0x100000000, 4}}, 0, true},
             {{{5, 1}, {8, 2}, {9, 3}, {65535, 4}}, 2},
             {{{65535, 1}, {3, 2}}, 2},
             {{{1, 1}, {2, 2}, {1, 3}, {2, 4}}, 0},
             {{{500, 9}, {501, 10}, {1, 1}, {2, 2}}, 0},
             {{{40000, 1}, {1, 2}, {2, 3}}, 0}}) {
        Rig rig(settings());
        Blocks sent;
        for (const Step& step : row.steps) {
            rig.send(Sent{.block = step.block, .extended = row.extended, .timestamp = step.timestamp});
            sent.push_back(step.block);
        }
        EXPECT_EQ(blocksOf(rig), sent);
        EXPECT_EQ(rig.receiver.counters().lostBlocks, row.lost);
        rig.send(Sent{.block = sent.back(), .extended = row.extended}.packet(5));
        EXPECT_EQ(rig.receiver.counters().late, 1U);
    }
}

TEST(Receiver, WhatIsLeftOfBeforeARestartBeginsNothing) {
    struct Case {
        std::uint64_t before;
        bool extendedBefore, extended;
    };
    for (const Case& row :
         {Case{501, false, false},
          {40000, false, false},
          {501, true, true},
          {0x100000001, true, true},
          {7, true, false}}) {
        Rig rig(settings());
        const auto sentBefore = [&](std::uint64_t block, std::uint64_t time) {
            return Sent{.block = block, .extended = row.extendedBefore, .timestamp = time};
        };
        rig.send(sentBefore(row.before - 1, 8));
        rig.send(sentBefore(row.before, 9));
        rig.send(Sent{.block = 1, .extended = row.extended});
        rig.send(sentBefore(row.before, 9), {0, 5, 6});
        rig.send(Sent{.block = 2, .extended = row.extended, .timestamp = 2});
        EXPECT_EQ(blocksOf(rig), (Blocks{row.before - 1, row.before, 1, 2}));
        EXPECT_EQ(rig.receiver.counters().late, 3U);
        EXPECT_EQ(rig.receiver.counters().lostBlocks, 0U);
    }
}

// --- asking again ---

std::vector<std::uint32_t> wishes(Rig& rig) {
    std::vector<std::uint32_t> bounds;
    for (ResendWish wish; rig.receiver.nextWish(wish);) {
        bounds.insert(bounds.end(), {wish.first, wish.last});
    }
    return bounds;
}
using Bounds = std::vector<std::uint32_t>;

TEST(Resend, GapsAreAskedForInTime) {
    Rig rig(settings(true));
    rig.send(Sent{}, {0, 1, 4, 5, 7, 8});
    rig.wait(milliseconds(1) - Time(1));
    EXPECT_EQ(wishes(rig), Bounds{});
    rig.send(Sent{}, {6});
    rig.wait(Time(1));
    EXPECT_EQ(wishes(rig), (Bounds{2, 3})) << "and not what came by itself";
    rig.send(Sent{}, {3});
    rig.wait(milliseconds(10));
    EXPECT_EQ(wishes(rig), (Bounds{2, 2, 9, 11})) << "the rest, and the tail after a silence";
    rig.wait(milliseconds(100));
    EXPECT_EQ(wishes(rig), (Bounds{2, 2, 9, 11, 2, 2, 9, 11, 2, 2, 9, 11, 9, 11})) << "five times in all";
    EXPECT_EQ(rig.receiver.counters().resentPackets, 1U);
}

// Where the host or the wire stood still, what had been asked for comes when nobody waits for it any more.
TEST(Resend, AnAnswerThatComesAfterALongSilenceIsNoOtherImage) {
    for (const std::vector<std::uint32_t>& again : {ids(3, 3), ids(2, 11), ids(0, 11)}) {
        Rig rig(settings(true));
        rig.send(Sent{}, {0, 1, 8});
        rig.wait(milliseconds(20));
        EXPECT_NE(wishes(rig), Bounds{});
        rig.send(Sent{}, ids(2, 11));
        EXPECT_EQ(blocksOf(rig), Blocks{1});
        rig.wait(milliseconds(300));
        rig.send(Sent{}, again);
        rig.wait(milliseconds(300));
        EXPECT_EQ(blocksOf(rig), Blocks{});
        EXPECT_EQ(rig.receiver.counters().late, again.size());
        rig.send(Sent{.timestamp = 2});
        EXPECT_EQ(blocksOf(rig), Blocks{1}) << "the camera has begun anew";
    }
}

TEST(Resend, ALaterBlockShowsThatTheTailIsLost) {
    Rig rig(settings(true));
    rig.send(Sent{}, ids(0, 8));
    rig.send(Sent{.block = 2}, {0});
    rig.wait(milliseconds(1));
    EXPECT_EQ(wishes(rig), (Bounds{9, 11}));
}

TEST(Resend, WhatTheCameraDoesNotHaveIsNotAskedForAgain) {
    const auto refuse = [](Rig& rig, std::uint32_t id, Status status) {
        rig.send(stream::packet(Format::Payload, 1, id, {}, false, status));
    };
    struct Case {
        Status status;
        bool ends;
    };
    for (const Case& row :
         {Case{Status::PacketUnavailable, false}, Case{Status::Removed, false},
          Case{Status::RemovedWithAllBefore, true}, Case{Status::NotYetAvailable, false}}) {
        Rig rig(settings(true));
        rig.send(Sent{}, {0, 1, 3, 4, 6, 7, 8, 9, 10, 11});
        refuse(rig, 5, row.status);
        EXPECT_EQ(rig.receiver.waiting(), row.ends ? 1U : 0U);
        rig.wait(milliseconds(1));
        EXPECT_EQ(
            wishes(rig), row.ends                                ? Bounds{}
                         : row.status == Status::NotYetAvailable ? (Bounds{2, 2, 5, 5})
                                                                 : (Bounds{2, 2}));
        refuse(rig, 2, Status::PacketUnavailable);
        EXPECT_EQ(rig.receiver.waiting(), row.status == Status::NotYetAvailable ? 0U : 1U);
    }
}

// What it has not sent yet is no loss, and it answers all wishes when it goes on.
TEST(Resend, ACameraMayPauseInTheMiddleOfABlock) {
    Rig rig(settings(true));
    const Sent sent{.packetPayload = 10}; // the tail is more than may be asked for
    rig.send(sent, {0, 1, 3});
    rig.wait(milliseconds(80));
    EXPECT_EQ(wishes(rig), (Bounds{2, 2, 2, 2, 2, 2, 2, 2, 2, 2}));
    rig.send(sent, ids(4, 50));
    rig.send(sent, ids(52, 101));
    rig.wait(milliseconds(1));
    EXPECT_EQ(wishes(rig), (Bounds{51, 51}));
    rig.send(sent, {51});
    EXPECT_EQ(rig.receiver.waiting(), 0U);
    rig.send(sent, {2});
    EXPECT_EQ(rig.receiver.counters().complete, 1U);
}

TEST(Resend, NotWhenTooMuchIsLost) {
    Rig rig(settings(true));
    rig.send(Sent{.packetPayload = 10}, {0, 1, 60, 101}); // a quarter of 102 may be asked for
    rig.wait(milliseconds(20));
    EXPECT_EQ(wishes(rig), Bounds{});
    EXPECT_EQ(rig.receiver.waiting(), 0U);
    rig.wait(milliseconds(200));
    EXPECT_EQ(rig.receiver.waiting(), 1U);
}

} // namespace
