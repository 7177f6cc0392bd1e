// What goes over the wire, byte by byte, and what of the wire is taken for what.
#include "ScriptedBoard.h"
#include "support/golden.h"

#include <gmock/gmock.h>

#include <numeric>

namespace {

UDPPacket packetOf(const Frame& frame) {
    UDPPacket packet;
    packet.clear();
    std::copy(frame.begin(), frame.end(), packet.bytes.begin());
    return packet;
}

// One command against a camera that answers with the acknowledgement of the files.
template<class Command> void exchange(const std::string& name, Command command) {
    ScriptedBoard scripted;
    scripted.answer([&](const Frame&) { return std::vector<Frame>{golden::load(name + "_ack")}; });
    command(*scripted.camera);
    ASSERT_EQ(scripted.board.sent[0].size(), 1U) << name;
    EXPECT_EQ(scripted.board.sent[0].front(), golden::load(name + "_cmd")) << name;
}

TEST(Frames, CommandsAndAcknowledgementsAreAsTheStandardsWriteThem) {
    exchange("readreg", [](GigeCamera& camera) {
        int value = 0;
        EXPECT_EQ(camera.ReadRegister(0, 0x0A00, &value), 0);
        EXPECT_EQ(value, 2);
    });
    exchange("writereg", [](GigeCamera& camera) { EXPECT_EQ(camera.WriteRegister(0, 0x0A00, 2), 0); });
    exchange("readmem", [](GigeCamera& camera) {
        char url[512];
        EXPECT_EQ(camera.ReadMemory(0, 0x0200, 512, nullptr, url), 0);
        EXPECT_STREQ(url, "Local:go.zip;40000000;1A2B");
    });
    exchange("writemem", [](GigeCamera& camera) {
        Frame data(100);
        std::iota(data.begin(), data.end(), std::uint8_t{0});
        EXPECT_EQ(camera.WriteMemory(0, 0xA000, data.data(), 100), 0);
    });
    exchange("discovery", [](GigeCamera& camera) {
        UDPPacket packet;
        unsigned short length = 0;
        camera.BuildGvcpDiscoveryPacket(0, &packet, &length, 0, 0);
        camera.SendPacket(0, &packet, length);
        EXPECT_NE(camera.ReceiveDiscoveryAckPacket(0, 0, 1), 0);
        EXPECT_EQ(camera.discoveredCount(0), 1) << "this camera is known already";
    });
}

TEST(Frames, AnArpRequestForThePortIsAnsweredAndTheWaitGoesOn) {
    Frame forOther = golden::load("arp_request");
    forOther[41] = 43;
    const Frame ack = ackTo(golden::load("readreg_cmd"), bigEndian(2));
    const struct {
        const char* name;
        Frame frame;
        std::vector<Frame> sent;
    } rows[] = {
        {"a request", golden::load("arp_request"), {golden::load("arp_reply")}},
        {"for another address", forOther, {}},
        {"cut before its target", Frame(forOther.begin(), forOther.begin() + 38), {}},
        {"a reply, which two hosts would answer for ever",
         [] {
             Frame reply = golden::load("arp_request");
             reply[21] = 2;
             return reply;
         }(),
         {}},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        scripted.arrive(0, row.frame);
        scripted.arrive(0, ack);
        UDPPacket packet;
        unsigned length = 0;
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, &length, 10), 0) << row.name;
        EXPECT_EQ(Frame(packet.at(0), packet.at(length)), ack) << row.name;
        EXPECT_EQ(scripted.board.sent[0], row.sent) << row.name;
    }
}

TEST(Frames, RequestIdsCountByPortAndWrap) {
    ScriptedBoard scripted;
    UDPPacket packet;
    unsigned short length = 0;
    const auto nextId = [&](int port) {
        scripted.camera->BuildGvcpReadRegisterPacket(port, &packet, &length, 0);
        return frame::get16<frame::kRequestId>(packet);
    };
    EXPECT_EQ(nextId(0), 1);
    EXPECT_EQ(nextId(0), 2);
    EXPECT_EQ(nextId(1), 1);
    scripted.camera->BuildGvcpDiscoveryPacket(0, &packet, &length, 1, 0x1234);
    EXPECT_EQ(frame::get16<frame::kRequestId>(packet), 0x1234);
    EXPECT_EQ(packet.bytes[43], 0x01) << "an odd flag forbids broadcast answers";
    EXPECT_EQ(nextId(0), 3) << "an id that is given leaves the port's alone";
    while (nextId(0) != 65535) {
    }
    EXPECT_EQ(nextId(0), 0) << "0 is not skipped";
}

TEST(Frames, WithoutASelectedCameraCommandsGoToZeroAddresses) {
    ScriptedBoard scripted;
    GigeCamera fresh(&scripted.design, &scripted.board);
    EXPECT_EQ(fresh.currentCamera(0), nullptr);
    EXPECT_EQ(fresh.WriteRegister(0, 0x0A00, 2), kQueueTimeout);
    const Frame& sent = scripted.board.sent[0].at(0);
    EXPECT_EQ(
        Frame(sent.begin(), sent.begin() + 12), (Frame{0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(Frame(sent.begin() + 30, sent.begin() + 34), Frame(4));
}

TEST(Frames, UdpChecksums) {
    const std::uint8_t host[] = {169, 254, 7, 42};
    const std::uint8_t device[] = {169, 254, 7, 100};
    struct Row {
        const char* name;
        Frame data;
        unsigned short length;
        std::uint16_t sum;
        Frame after;
    };
    const Row rows[] = {
        // 0xA9FE + 0x072A + 0xA9FE + 0x0764 + 17 + length, folded, and the one's complement
        {"nothing", {}, 0, 0x9D63, {}},
        {"even", {0x12, 0x34}, 2, 0x8B2D, {0x12, 0x34}},
        {"odd: the byte behind becomes 0", {0x12, 0x34, 0x56, 0x99}, 3, 0x352C, {0x12, 0x34, 0x56, 0}},
        {"a sum of 0 stays 0", {0x9D, 0x61}, 2, 0x0000, {0x9D, 0x61}},
    };
    for (Row row : rows) {
        EXPECT_EQ(udp_sum_calc(row.length, host, device, row.data.data()), row.sum) << row.name;
        EXPECT_EQ(row.data, row.after) << row.name;
    }
    UDPPacket packet;
    packet.bytes.fill(0xFF);
    frame::udpChecksum(packet, 0xFFFF); // as much as there is
    EXPECT_NE(frame::get16<net::kUdpChecksum>(packet), 0);
}

TEST(Frames, OnlyUdpForThisHostIsAnAnswer) {
    const Frame ack = ackTo(golden::load("readreg_cmd"), bigEndian(2));
    const struct {
        const char* name;
        std::vector<std::pair<std::size_t, std::uint8_t>> changes;
        frame::Kind kind;
        int analysed;
    } rows[] = {
        {"an acknowledgement", {}, frame::Kind::Answer, 1},
        {"a discovery of another host", {{44, 0}, {45, 2}}, frame::Kind::Ignored, 1},
        {"TCP", {{23, 6}}, frame::Kind::Ignored, 1},
        {"IPv6", {{12, 0x86}, {13, 0xDD}}, frame::Kind::Ignored, 1},
        {"to a DHCP server", {{36, 0}, {37, 67}}, frame::Kind::Ignored, 1},
        {"to a DHCP server in the other byte order", {{36, 67}, {37, 0}}, frame::Kind::Ignored, 1},
        {"from a DHCP client to elsewhere", {{34, 0}, {35, 68}}, frame::Kind::Answer, 0},
        {"ARP", {{13, 6}}, frame::Kind::Arp, 0},
    };
    for (const auto& row : rows) {
        Frame frame = ack;
        for (const auto& [offset, value] : row.changes) {
            frame[offset] = value;
        }
        EXPECT_EQ(frame::classify(packetOf(frame)), row.kind) << row.name;
        EXPECT_EQ(GigeCamera::AnalysePacket(packetOf(frame), 0), row.analysed) << row.name;
    }
    EXPECT_EQ(frame::classify(packetOf({})), frame::Kind::Ignored);
}

TEST(Frames, MemoryIsCopiedOnlyWhenTheAcknowledgementHoldsAllOfIt) {
    const Frame ack = ackTo(golden::load("readmem_cmd"), Frame(4 + 16, 7));
    const struct {
        const char* name;
        std::size_t size;
        std::size_t capacity;
        std::uint8_t length[2];
        int result;
    } rows[] = {
        {"as much as wanted", 70, 16, {0, 20}, 16},
        {"more than wanted", 70, 9, {0, 20}, 9},
        {"nothing wanted", 70, 0, {0, 20}, 0},
        {"one byte short", 69, 16, {0, 20}, -1},
        {"no data at all", 50, 1, {0, 20}, -1},
        {"the length field counts the wrong way round", 70, 16, {20, 0}, 16},
        {"a length field of 0", 70, 16, {0, 0}, -1},
        {"more wanted than any frame holds", 2098, 100000, {0xFF, 0xFF}, -1},
        {"a size beyond the buffer", 5000, 2098, {0xFF, 0xFF}, -1},
    };
    for (const auto& row : rows) {
        UDPPacket packet = packetOf(ack);
        std::copy_n(row.length, 2, packet.at(46));
        std::string buffer(16, 'x');
        EXPECT_EQ(frame::copyMemory(packet, row.size, buffer.data(), row.capacity), row.result) << row.name;
        const auto copied = static_cast<std::size_t>(std::max(row.result, 0));
        EXPECT_EQ(buffer, std::string(copied, 7) + std::string(16 - copied, 'x')) << row.name;
    }
}

} // namespace
