#include "ScriptedBoard.h"

#include <gmock/gmock.h>

namespace {

struct Answer {
    const char* name; // the user-defined name that is answered, too
    std::function<Frame(Frame ack)> change;
};

Frame set(Frame frame, std::size_t offset, std::uint8_t value) {
    frame.at(offset) = value;
    return frame;
}

const Answer kAnswers[] = {
    {"0123456789abcdef", [](Frame ack) { return ack; }},
    {"the same camera again", [](Frame ack) { return set(std::move(ack), 65, 0); }},
    {"another's id", [](Frame ack) { return withId(ack, static_cast<std::uint16_t>(idOf(ack) ^ 1)); }},
    {"an error status!", [](Frame ack) { return set(std::move(ack), 42, 0x80); }},
    {"from a DHCP client's port", [](Frame ack) { return set(set(std::move(ack), 34, 0), 35, 68); }},
    {"another acknowledgement", [](Frame ack) { return set(std::move(ack), 45, 0x81); }},
    {"a length field that counts too little the wrong way round",
     [](Frame ack) { return set(set(std::move(ack), 46, 1), 47, 0); }},
    {"cut short",
     [](Frame ack) {
         ack.resize(296);
         return ack;
     }},
};

TEST(Discovery, KeepsEachCameraThatAnswersThisCommandOnce) {
    ScriptedBoard scripted;
    scripted.board.onSent = [&](int port, const Frame& command) {
        std::uint8_t mac = 0;
        for (const Answer& answer : kAnswers) {
            scripted.arrive(port, answer.change(ackTo(command, discoveryPayload(mac++, answer.name))));
        }
    };
    scripted.arrive(1, ackTo(Frame(60), discoveryPayload(0x77, "waiting from before")));
    EXPECT_EQ(scripted.camera->Discover(1, 0), 0);
    const Frame& sent = scripted.board.sent[1].at(0);
    EXPECT_EQ(sent.size(), 60U);
    EXPECT_NE(idOf(sent), 0);
    std::vector<std::string> kept;
    for (int i = 0; i < scripted.camera->discoveredCount(1); ++i) {
        kept.emplace_back(scripted.camera->GetUserName(1, i), 16);
    }
    EXPECT_THAT(kept, testing::ElementsAre("0123456789abcdef", "an error status!"));
    EXPECT_EQ(scripted.camera->GetMacAddress(1, 1)[5], 3);
    EXPECT_EQ(scripted.camera->GetIPAddress(1, 1)[3], 100);
    EXPECT_STREQ(scripted.camera->GetManufactorName(1, 0), "maker");
    EXPECT_STREQ(scripted.camera->GetModellName(1, 0), "model");
    EXPECT_STREQ(scripted.camera->GetDeviceVersion(1, 0), "version");
    EXPECT_STREQ(scripted.camera->GetManufacturerInfo(1, 0), "info");
    EXPECT_STREQ(scripted.camera->GetSerialNumber(1, 0), "serial");
    EXPECT_EQ(scripted.camera->GetMacAddress(1, 2), nullptr);
    EXPECT_FALSE(scripted.camera->selectCamera(1, 2));
    EXPECT_FALSE(scripted.camera->selectCamera(1, -1));
}

TEST(Discovery, OfAllPortsTakesLateAnswersOnTheirOwnPort) {
    ScriptedBoard scripted;
    Frame toPort1;
    scripted.board.onSent = [&](int port, const Frame& command) {
        const auto mac = static_cast<std::uint8_t>(port);
        if (port == 1) {
            toPort1 = command;
        } else if (port == 3) { // port 1 has been drained once by now
            scripted.arrive(1, ackTo(toPort1, discoveryPayload(mac, "late")));
            if (idOf(toPort1) != idOf(command)) {
                scripted.arrive(3, ackTo(toPort1, discoveryPayload(mac, "astray")));
            }
        }
    };
    EXPECT_EQ(scripted.camera->DiscoverAll(0), 0);
    const int counts[] = {0, 1, 0, 0};
    for (int port = 0; port < GigeCamera::kPorts; ++port) {
        EXPECT_EQ(scripted.board.sent[static_cast<std::size_t>(port)].size(), 1U) << port;
        EXPECT_EQ(scripted.camera->discoveredCount(port), counts[port]) << port;
    }
}

TEST(Discovery, The65thCameraIsDropped) {
    ScriptedBoard scripted;
    DiscoveryAckData ack{};
    for (int i = 1; i <= 64; ++i) { // one is there already
        ack.bytes[gvcp::discovery::kMac] = static_cast<std::uint8_t>(i);
        EXPECT_EQ(scripted.camera->storeDiscoveredCamera(2, &ack), i < 64 ? i + 1 : 0) << i;
    }
    EXPECT_EQ(scripted.camera->discoveredCount(2), GigeCamera::kMaxCameras);
}

TEST(Discovery, ThroughTheSlotTakesAnyRequestId) {
    ScriptedBoard scripted;
    const Frame good = ackTo(set(set(Frame(60), 44, 0), 45, 2), discoveryPayload(1, "one"));
    const struct {
        const char* name;
        Frame frame;
        int result;
    } rows[] = {
        {"good", withId(good, 0x7777), 2},
        {"again", good, 0},
        {"cut short", Frame(good.begin(), good.begin() + 297), 0},
        {"empty", {}, 0},
        {"larger than a frame", Frame(3000, 3), 0},
    };
    for (const auto& row : rows) {
        const QByteArray bytes(
            reinterpret_cast<const char*>(row.frame.data()), static_cast<int>(row.frame.size()));
        EXPECT_EQ(scripted.camera->processDiscoveryAckPacket(3, bytes), row.result) << row.name;
    }
}

} // namespace
