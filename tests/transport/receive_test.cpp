// The data queue's framing, and what hostile words in it do.
#include "ScriptedBoard.h"

#include <gmock/gmock.h>

namespace {

using transport_error::kOversized;
using transport_error::kTruncated;

const Frame kAck = ackTo(Frame(60), bigEndian(2));

std::vector<std::uint32_t> words(std::uint32_t length, std::size_t count, bool ended) {
    std::vector<std::uint32_t> words{length};
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = 2 * i;
        words.push_back(
            at + 1 < kAck.size() ? kAck[at] | (static_cast<unsigned>(kAck[at + 1]) << 8) : 0xAAAA);
    }
    if (ended && count != 0) {
        words.back() |= 0x10000;
    }
    return words;
}

TEST(Receive, AFrameIsTakenOutWholeAndTheQueueStaysInStep) {
    const struct {
        const char* name;
        std::vector<std::uint32_t> queued;
        int result;
        unsigned length;
        bool inStep;
    } rows[] = {
        {"a frame", words(60, 30, true), 0, 60, true},
        {"the largest frame", words(2098, 1049, true), 0, 2098, true},
        {"an odd frame, its last byte in a word", words(61, 31, true), 0, 61, true},
        {"an odd frame without its last byte", words(61, 30, true), 0, 61, true},
        {"the largest odd frame", words(2097, 1049, true), 0, 2097, true},
        {"no end mark", words(60, 30, false), kTruncated, 0, true},
        {"no data", {0}, kTruncated, 0, true},
        {"words missing", words(60, 29, true), kTruncated, 0, false},
        {"nothing but a length", {60}, kQueueTimeout, 0, false},
        {"one byte too long", words(2099, 1050, true), kOversized, 0, true},
        {"the smallest even frame too long", words(2100, 1050, true), kOversized, 0, true},
        {"too long and unended", words(2100, 1050, false), kTruncated, 0, true},
        {"several buffers long", words(9000, 4500, true), kOversized, 0, true},
        {"as long as any frame can be", words(16384, 8192, true), kOversized, 0, true},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        scripted.board.queues[0].assign(row.queued.begin(), row.queued.end());
        if (row.inStep) {
            scripted.arrive(0, withId(kAck, 0x4711));
        }
        UDPPacket packet;
        packet.bytes.fill(0xEE);
        unsigned length = 0;
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, &length, 10), row.result) << row.name;
        EXPECT_EQ(length, row.length) << row.name;
        if (row.result == 0) {
            EXPECT_TRUE(std::equal(kAck.begin(), kAck.begin() + 60, packet.at(0))) << row.name;
            EXPECT_TRUE(std::all_of(
                packet.at(row.length), packet.at(UDPPacket::kSize),
                [](std::uint8_t byte) { return byte == 0; }))
                << row.name << ": nothing of an earlier frame behind this one";
        }
        if (row.inStep) {
            EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, &length, 10), 0) << row.name;
            EXPECT_EQ(frame::get16<frame::kRequestId>(packet), 0x4711) << row.name;
        }
    }
}

TEST(Receive, AQueueOutOfStepIsEmptied) {
    for (const std::uint32_t garbage :
         {16385U, 0x10800U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        ScriptedBoard scripted;
        scripted.board.queues[0] = {garbage, 1, 2, 3};
        UDPPacket packet;
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, nullptr, 10), kOversized) << garbage;
        scripted.arrive(0, kAck);
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, nullptr, 10), 0) << garbage;
    }
}

TEST(Receive, EveryShorteningOfAFrameIsHarmless) {
    for (std::size_t size = 0; size <= kAck.size(); ++size) {
        ScriptedBoard scripted;
        int value = -1;
        scripted.answer([&](const Frame& command) {
            const Frame ack = ackTo(command, bigEndian(2));
            return std::vector<Frame>{Frame(ack.begin(), ack.begin() + static_cast<std::ptrdiff_t>(size))};
        });
        const int result = scripted.camera->ReadRegister(0, 0x0A00, &value);
        EXPECT_EQ(result == 0, size >= 54) << size;
        EXPECT_EQ(value, size >= 54 ? 2 : -1) << size;
    }
}

TEST(Receive, WithoutABufferTheNextFrameIsThrownAway) {
    ScriptedBoard scripted;
    Frame arp(60);
    arp[12] = 8;
    arp[13] = 6;
    scripted.arrive(3, arp);
    unsigned length = 0;
    EXPECT_EQ(scripted.camera->ReceiveUdpPacket(3, nullptr, &length, 0), 0);
    EXPECT_EQ(length, 60U);
    EXPECT_EQ(scripted.camera->ReceiveUdpPacket(3, nullptr, nullptr, 0), kQueueTimeout);
    EXPECT_EQ(scripted.camera->ReceiveUdpPacket(4, nullptr, nullptr, 0), transport_error::kBadPort);
}

TEST(Send, FramesGoOutInHalfwords) {
    ScriptedBoard scripted;
    const Frame data{1, 2, 3, 4, 5};
    EXPECT_EQ(scripted.camera->SendPacket(2, data.data(), 5), 0);
    EXPECT_EQ(scripted.camera->SendPacket(2, data.data(), 1), 0);
    EXPECT_EQ(scripted.board.sent[2], (std::vector<Frame>{{1, 2, 3, 4}, {}})) << "an odd byte stays behind";
    scripted.board.broken.insert("GigeWriteComplete2");
    EXPECT_EQ(scripted.camera->SendPacket(2, data.data(), 4), kRegisterError);

    scripted.board.writes.clear();
    EXPECT_EQ(scripted.camera->PrepareWriteRegister(1, 0x0A00, 2), 0);
    EXPECT_TRUE(scripted.board.sent[1].empty());
    EXPECT_EQ(scripted.board.writes.back(), (std::pair<std::string, std::uint64_t>("GigeReqIdEnable1", 1)));
    EXPECT_EQ(scripted.camera->SendPreparedPacket(1), 0);
    EXPECT_EQ(scripted.board.sent[1].at(0).size(), 60U);
}

} // namespace
