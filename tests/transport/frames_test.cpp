// What goes over the wire, byte by byte, and what of the wire is taken for what.
#include "ScriptedBoard.h"
#include "protocol/kept_control.h"

#include <numeric>

namespace {

// A camera that answers one command with the acknowledgement of the files, and compares that command.
class Golden : public ScriptedBoard {
public:
    explicit Golden(const std::string& name) : m_name(name) {
        answer([name](const Frame&) { return Frames{golden::load(name + "_ack")}; });
    }
    ~Golden() { EXPECT_EQ(board.sent[0], Frames{golden::load(m_name + "_cmd")}) << m_name; }

private:
    const std::string m_name;
};

TEST(Frames, CommandsAndAcknowledgementsAreAsTheStandardsWriteThem) {
    int value = 0;
    EXPECT_EQ(Golden("readreg").camera->ReadRegister(0, 0x0A00, &value), 0);
    EXPECT_EQ(value, 2);
    std::uint32_t values[3]{};
    std::size_t done = 0;
    EXPECT_EQ(Golden("readregs").camera->ReadRegisters(0, {{0x0A00, 0x0934, 0x0904}}, values, done), 0);
    EXPECT_THAT(values, testing::ElementsAre(2, 0xF9A00027, 1));
    EXPECT_EQ(done, 3U);
    EXPECT_EQ(
        Golden("readregs_part").camera->ReadRegisters(0, {{0x0A00, 0x0944, 0x0904}}, values, done), 0x8006);
    EXPECT_EQ(done, 1U);
    EXPECT_EQ(Golden("writereg").camera->WriteRegister(0, 0x0A00, 2), 0);
    char url[512] = "";
    EXPECT_EQ(Golden("readmem").camera->ReadMemory(0, 0x0200, 512, nullptr, url), 0);
    EXPECT_STREQ(url, "Local:go.zip;40000000;1A2B");
    Frame data(100);
    std::iota(data.begin(), data.end(), std::uint8_t{0});
    EXPECT_EQ(Golden("writemem").camera->WriteMemory(0, 0xA000, data.data(), 100), 0);

    const frame::ForcedAddress forced{
        {2, 0x11, 0x22, 0x33, 0x44, 0x55}, {169, 254, 7, 100}, {255, 255, 0, 0}, {}};
    EXPECT_EQ(Golden("forceip").camera->ForceIp(0, forced), 0);

    const Golden asked("discovery");
    UDPPacket packet;
    unsigned short length = 0;
    asked.camera->BuildGvcpDiscoveryPacket(0, &packet, &length, 0, 0);
    asked.camera->SendPacket(0, &packet, length);
    EXPECT_NE(asked.camera->ReceiveDiscoveryAckPacket(0, 0, 1), 0);
    EXPECT_EQ(asked.camera->discoveredCount(0), 1) << "this camera is known already";
}

TEST(Frames, AForcedAddressIsLearntWhenTheCameraSaysSo) {
    const frame::ForcedAddress forced{{2, 0x11, 0x22, 0x33, 0x44, 0x55}, {10, 1, 2, 3}, {255, 0, 0, 0}, {}};
    const frame::ForcedAddress anew{forced.mac, {}, {}, {}};
    const struct {
        const char* name;
        const frame::ForcedAddress& to;
        Answers camera;
        int result;
        int lastOctet;
    } rows[] = {
        {"done", forced, [](const Frame& c) { return Frames{ackTo(c, {})}; }, 0, 3},
        {"done, after answers to others", forced,
         [](const Frame& c) {
             return Frames{with16(ackTo(c, {}), kIdAt, 0x4711), ackTo(c, {})};
         },
         0, 3},
        {"refused", forced, [](const Frame& c) { return Frames{ackTo(c, {}, 0x8006)}; }, 0x8006, 100},
        {"silence", forced, [](const Frame&) { return Frames{}; }, kQueueTimeout, 100},
        {"silence of one that starts anew", anew, [](const Frame&) { return Frames{}; }, 0, 100},
        {"no word of the new address", anew, [](const Frame& c) { return Frames{ackTo(c, {})}; }, 0, 100},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        scripted.answer(row.camera);
        EXPECT_EQ(scripted.camera->ForceIp(0, row.to), row.result) << row.name;
        EXPECT_EQ(scripted.camera->GetIPAddress(0, 0)[3], row.lastOctet) << row.name;
        EXPECT_EQ(scripted.camera->currentCamera(0)->ip[3], row.lastOctet) << row.name;
    }
}

TEST(Frames, OnlyUdpForThisHostIsAnAnswerAndOnlyAnArpRequestIsAnswered) {
    const Frame request = golden::load("arp_request");
    const Frame ack = ackTo(golden::load("readreg_cmd"), big32(2));
    const struct {
        const char* name;
        Frame frame;
        bool answer;
        int analysed;
        Frames sent = {};
    } rows[] = {
        {"an acknowledgement", ack, true, 1},
        {"a discovery of another host", with(ack, kAckCode, {0, 2}), false, 1},
        {"TCP", with(ack, 23, {6}), false, 1},
        {"IPv6", with(ack, 12, {0x86, 0xDD}), false, 1},
        {"to a DHCP server", with(ack, 36, {0, 67}), false, 1},
        {"to a DHCP server in the other byte order", with(ack, 36, {67, 0}), false, 1},
        {"from a DHCP client to elsewhere", with(ack, 34, {0, 68}), true, 0},
        {"an ARP request", request, false, 0, {golden::load("arp_reply")}},
        {"for another address", with(request, 41, {43}), false, 0},
        {"cut before its target", Frame(request.begin(), request.begin() + 38), false, 0},
        {"a reply, which two hosts would answer for ever", with(request, 21, {2}), false, 0},
        {"no operation that there is", with(request, 21, {0}), false, 0},
        {"of another hardware", with(request, 15, {6}), false, 0},
        {"for another protocol", with(request, 16, {0x86, 0xDD}), false, 0},
        {"with other addresses", with(request, 18, {8}), false, 0},
        {"the first fragment of a datagram", with(ack, 20, {0x20}), false, 1},
        {"a later fragment", with(ack, 20, {0, 1}), false, 1},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        scripted.arrive(0, row.frame);
        scripted.arrive(0, with(ack, kIdAt, {0x47, 0x11}));
        UDPPacket packet;
        EXPECT_EQ(scripted.camera->ReceiveUdpPacket(0, &packet, nullptr, 10), 0) << row.name;
        EXPECT_EQ(frame::get16<frame::kRequestId>(packet) != 0x4711, row.answer) << row.name;
        EXPECT_EQ(scripted.board.sent[0], row.sent) << row.name;
        EXPECT_EQ(GigeCamera::AnalysePacket(packetOf(row.frame), 0), row.analysed) << row.name;
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
    for (int id = 0; id != 65535; id = nextId(0)) {
        EXPECT_FALSE(kept_control::isRequestId(static_cast<std::uint16_t>(id))) << "of who keeps control";
    }
    EXPECT_EQ(nextId(0), 1) << "0 is nobody's";
}

TEST(Frames, UdpChecksums) {
    const std::uint8_t host[] = {169, 254, 7, 42};
    const std::uint8_t device[] = {169, 254, 7, 100};
    // 0xA9FE + 0x072A + 0xA9FE + 0x0764 + 17 + length, the data, folded, and the one's complement
    Frame odd{0x12, 0x34, 0x56, 0x99};
    EXPECT_EQ(udp_sum_calc(3, host, device, odd.data()), 0x352C);
    EXPECT_EQ(odd, (Frame{0x12, 0x34, 0x56, 0})) << "the byte behind becomes 0";
    Frame zero{0x9D, 0x61};
    EXPECT_EQ(udp_sum_calc(2, host, device, zero.data()), 0) << "a sum of 0 stays 0";
}

TEST(Frames, MemoryIsCopiedOnlyWhenTheAcknowledgementHoldsAllOfIt) {
    const Frame ack = ackTo(golden::load("readmem_cmd"), Frame(4 + 16, 7));
    const struct {
        const char* name;
        std::size_t size;
        std::size_t capacity;
        Frame length;
        int result;
    } rows[] = {
        {"more than wanted", 70, 9, {0, 20}, 9},
        {"one byte short", 69, 16, {0, 20}, -1},
        {"no data at all", 50, 1, {0, 20}, -1},
        {"the length field counts the wrong way round", 70, 16, {20, 0}, 16},
        {"a length field one too low, that way", 70, 16, {19, 0}, -1},
        {"a length field of 0", 70, 16, {0, 0}, -1},
        {"more wanted than any frame holds", 2098, 100000, {0xFF, 0xFF}, -1},
        {"a size beyond the buffer", 5000, 2098, {0xFF, 0xFF}, -1},
    };
    for (const auto& row : rows) {
        const UDPPacket packet = packetOf(with(ack, 46, row.length));
        std::string buffer(16, 'x');
        EXPECT_EQ(frame::copyMemory(packet, row.size, buffer.data(), row.capacity), row.result) << row.name;
        const auto copied = static_cast<std::size_t>(std::max(row.result, 0));
        EXPECT_EQ(buffer, std::string(copied, 7) + std::string(16 - copied, 'x')) << row.name;
    }
}

} // namespace
