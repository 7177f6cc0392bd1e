#include "ScriptedBoard.h"

namespace {

struct Answer {
    const char* name; // the user-defined name that is answered, too
    std::size_t offset;
    Frame change; // of the acknowledgement, from that offset on
    bool kept;
    std::size_t size = 298;
};

const Answer kAnswers[] = {
    {"0123456789abcdef", 0, {}, true},
    {"the same camera again", 65, {0}, false},
    {"an error status!", 42, {0x80}, true},
    {"another's id", kIdAt, {0, 0}, false},
    {"from a DHCP client's port", 34, {0, 68}, false},
    {"another acknowledgement", kAckCode + 1, {0x81}, false},
    {"a length field that counts too little the wrong way round", 46, {1, 0}, false},
    {"cut short", 0, {}, false, 296},
};

TEST(Discovery, KeepsEachCameraThatAnswersThisCommandOnce) {
    ScriptedBoard scripted;
    GigeCamera& camera = *scripted.camera;
    std::vector<std::string> expected;
    scripted.board.onSent = [&](int port, const Frame& command) {
        std::uint8_t mac = 0;
        for (const Answer& answer : kAnswers) {
            Frame ack = ackTo(command, discoveryPayload(mac++, std::string(answer.name).substr(0, 16)));
            ack.resize(answer.size);
            scripted.arrive(port, with(ack, answer.offset, answer.change));
            answer.kept ? expected.push_back(answer.name) : void();
        }
    };
    scripted.arrive(1, ackTo(Frame(60), discoveryPayload(0x77, "waiting before")));
    EXPECT_EQ(camera.Discover(1, 0), 0);
    const Frame& sent = scripted.board.sent[1].at(0);
    EXPECT_EQ(sent.size(), 60U);
    EXPECT_NE(numberAt(sent, kIdAt), 0U);
    std::vector<std::string> kept;
    for (int i = 0; i < camera.discoveredCount(1); ++i) {
        kept.emplace_back(camera.GetUserName(1, i), 16);
    }
    EXPECT_EQ(kept, expected);
    EXPECT_EQ(camera.GetMacAddress(1, 1)[5], 2);
    EXPECT_EQ(camera.GetIPAddress(1, 1)[3], 100);
    EXPECT_STREQ(camera.GetManufactorName(1, 0), "Golden Optics");
    EXPECT_STREQ(camera.GetModellName(1, 0), "GO-1");
    EXPECT_STREQ(camera.GetDeviceVersion(1, 0), "1.0");
    EXPECT_STREQ(camera.GetManufacturerInfo(1, 0), "annotated");
    EXPECT_STREQ(camera.GetSerialNumber(1, 0), "G0001");
    EXPECT_EQ(camera.GetMacAddress(1, 2), nullptr);
    EXPECT_FALSE(camera.selectCamera(1, -1));
}

TEST(Discovery, OfAllPortsTakesLateAnswersOnTheirOwnPort) {
    ScriptedBoard scripted;
    Frame toPort1;
    scripted.board.onSent = [&](int port, const Frame& command) {
        if (port == 1) {
            toPort1 = command;
        } else if (port == 3) { // port 1 has been drained once by now
            scripted.arrive(1, ackTo(toPort1, discoveryPayload(1, "late")));
            const unsigned other = numberAt(command, kIdAt) ^ 1;
            scripted.arrive(3, with16(ackTo(command, discoveryPayload(3, "astray")), kIdAt, other));
        }
    };
    EXPECT_EQ(scripted.camera->DiscoverAll(0), 0);
    for (int port = 0; port < GigeCamera::kPorts; ++port) {
        EXPECT_EQ(scripted.board.sent[static_cast<std::size_t>(port)].size(), 1U) << port;
        EXPECT_EQ(scripted.camera->discoveredCount(port), port == 1 ? 1 : 0) << port;
    }
}

TEST(Discovery, ThroughTheSlotTakesAnyRequestIdAndNo65thCamera) {
    ScriptedBoard scripted;
    const Frame discovery = with(Frame(60), kAckCode, {0, 2});
    for (int mac = 100; mac < 164; ++mac) { // one is there already
        const Frame ack = ackTo(discovery, discoveryPayload(static_cast<std::uint8_t>(mac), ""));
        const int result = mac < 163 ? mac - 98 : 0;
        for (const auto& [size, expected] : {std::pair{297, 0}, {0, 0}, {3000, result}, {298, 0}}) {
            const QByteArray bytes = bytesOf(with16(ack, kIdAt, 0x7777)).leftJustified(size, '\0', true);
            EXPECT_EQ(scripted.camera->processDiscoveryAckPacket(3, bytes), expected) << mac << ' ' << size;
        }
    }
    EXPECT_EQ(scripted.camera->discoveredCount(3), GigeCamera::kMaxCameras);
}

} // namespace
