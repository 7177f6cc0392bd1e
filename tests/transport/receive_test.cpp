// The data queue's framing, and what hostile words in it do.
#include "ScriptedBoard.h"

namespace {

using transport_error::kOversized;
using transport_error::kTruncated;
using Words = std::vector<std::uint32_t>;

const Frame kAck = ackTo(Frame(60), big32(2));

Words words(std::uint32_t length, std::size_t count, bool ended) {
    Words words{length};
    for (std::size_t at = 0; at < 2 * count; at += 2) {
        words.push_back(at < kAck.size() ? kAck[at] | (static_cast<unsigned>(kAck[at + 1]) << 8) : 0xAAAA);
    }
    words.back() |= ended ? 0x10000U : 0U;
    return words;
}

TEST(Receive, TakesAFrameOutWholeAndKeepsTheQueueInStep) {
    const struct {
        const char* name;
        Words queued;
        int result;
        unsigned length;
    } rows[] = {
        {"a frame", words(60, 30, true), 0, 60},
        {"the largest frame", words(2098, 1049, true), 0, 2098},
        {"an odd frame, its last byte in a word", words(61, 31, true), 0, 61},
        {"an odd frame without its last byte", words(61, 30, true), 0, 61},
        {"no end mark", words(60, 30, false), kTruncated, 0},
        {"no data", {0}, kTruncated, 0},
        {"words missing", words(60, 29, true), kTruncated, 0},
        {"nothing but a length", {60}, kQueueTimeout, 0},
        {"one byte too long", words(2099, 1050, true), kOversized, 0},
        {"too long and unended", words(2100, 1050, false), kTruncated, 0},
        {"as long as any frame can be", words(16384, 8192, true), kOversized, 0},
        {"no length: the queue is emptied", {16385, 1, 2, 3}, kOversized, 0},
        {"a negative length", {0x80000000, 1, 2, 3}, kOversized, 0},
        {"the largest number", {0xFFFFFFFF, 1, 2, 3}, kOversized, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedBoard scripted;
        scripted.board.queues[0].assign(row.queued.begin(), row.queued.end());
        UDPPacket packet;
        packet.bytes.fill(0xEE);
        unsigned length = 0;
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, &length, 10), row.result);
        EXPECT_EQ(length, row.length);
        if (row.result == 0) {
            EXPECT_TRUE(std::equal(kAck.begin(), kAck.begin() + 60, packet.at(0)));
            const auto behind = std::count(packet.at(row.length), packet.at(UDPPacket::kSize), 0);
            EXPECT_EQ(static_cast<std::size_t>(behind), UDPPacket::kSize - row.length);
        }
        scripted.arrive(0, with(kAck, kIdAt, {0x47, 0x11}));
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, nullptr, 10), 0) << "out of step";
        EXPECT_EQ(frame::get16<frame::kRequestId>(packet), 0x4711);
    }
}

TEST(Receive, TakesNoShorteningOfAFrameForMoreThanItHolds) {
    for (std::size_t size = 0; size <= kAck.size(); ++size) {
        ScriptedBoard scripted;
        int value = -1;
        scripted.answer([size](const Frame& command) {
            Frame ack = ackTo(command, big32(2));
            ack.resize(size);
            return Frames{ack};
        });
        EXPECT_EQ(scripted.camera->ReadRegister(0, 0x0A00, &value) == 0, size >= 54) << size;
        EXPECT_EQ(value, size >= 54 ? 2 : -1) << size;
    }
}

TEST(Send, WritesHalfwordsAndCanPrepareAFrame) {
    ScriptedBoard scripted;
    scripted.arrive(2, kAck);
    EXPECT_EQ(scripted.camera->ReceiveUdpPacket(2, nullptr, nullptr, 0), 0) << "thrown away";
    EXPECT_EQ(scripted.camera->ReceiveUdpPacket(2, nullptr, nullptr, 0), kQueueTimeout);
    const Frame data{1, 2, 3, 4, 5};
    EXPECT_EQ(scripted.camera->SendPacket(2, data.data(), 5), 0);
    EXPECT_EQ(scripted.camera->SendPacket(2, data.data(), 1), 0);
    EXPECT_EQ(scripted.board.sent[2], (Frames{{1, 2, 3, 4}, {}})) << "an odd byte stays behind";
    scripted.board.broken.insert("GigeWriteComplete2");
    EXPECT_EQ(scripted.camera->SendPacket(2, data.data(), 4), kRegisterError);

    EXPECT_EQ(scripted.camera->PrepareWriteRegister(1, 0x0A00, 2), 0);
    EXPECT_TRUE(scripted.board.sent[1].empty());
    EXPECT_EQ(scripted.board.writes.back(), Writes::value_type("GigeReqIdEnable1", 1));
    EXPECT_EQ(scripted.camera->SendPreparedPacket(1), 0);
    EXPECT_EQ(scripted.board.sent[1].at(0).size(), 60U);
}

} // namespace
