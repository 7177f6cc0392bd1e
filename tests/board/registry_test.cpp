// Opening and closing boards, and which cameras are taken.
#include "board/GenICamPortWrapper.h"
#include "board/camera.h"
#include "liomol/exceptions.h"
#include "softboard/softboard.h"
#include "support/fake_service.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Wrapper = GenICamPortWrapper;

std::string portTwoUnknown(const std::string& line) {
    return line == "STATUS BOARD 0 PORT 2" ? "510 no such port\n" : FakeService::healthy(line);
}

std::string silentAboutTheLink(const std::string&) {
    return "200-PORT 0 MAC 02:00:00:00:00:00\n200 OK\n";
}

TEST(Boards, OpenOnlyOnAnEthernetBoardWhileTheServiceAnswersForAllPorts) {
    const struct {
        const char* name;
        const char* boardKeys;
        FakeService::Answer service; // none: it does not run
        int board;
        int flags;
        int result;
        std::size_t questions;
    } rows[] = {
        {"all is well", "", FakeService::healthy, 0, 0, 0, 4},
        {"no service", "", nullptr, 0, 0, -1, 0},
        {"service that does not know port 2", "", portTwoUnknown, 0, 0, -1, 3},
        {"service that tells no link state", "", silentAboutTheLink, 0, 0, -1, 1},
        {"service mode asks nobody and brings the PHYs up", "phy = held", nullptr, 0, Wrapper::kServiceMode,
         0, 0},
        {"no such board", "", FakeService::healthy, 1, 0, -1, 0},
        {"board number below the range", "", FakeService::healthy, -1, 0, -1, 0},
        {"board number above the range", "", FakeService::healthy, 8, 0, -1, 0},
        {"other kind of board", "caminterface = CameraLink", FakeService::healthy, 0, 0, -1, 0},
        {"firmware without an applet", "firmware = 99.0", FakeService::healthy, 0, 0, -1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Rig rig(1, row.boardKeys);
        const auto service = row.service ? std::make_unique<FakeService>(row.service) : nullptr;
        EXPECT_EQ(Wrapper::initBoard(row.board, row.flags), row.result);
        EXPECT_EQ(Wrapper::getBoard(row.board) != nullptr, row.result == 0);
        EXPECT_EQ(softboard::boardState(0).opens, row.result == 0 ? 1U : 0U);
        EXPECT_FALSE(Wrapper::isBoardInitialized(row.board));
        if (service) {
            EXPECT_EQ(service->requests().size(), row.questions);
        }
        if (row.flags != 0) {
            constexpr unsigned short kAfterReset =
                0x1140; // the control register's reset bit has cleared itself
            EXPECT_EQ(softboard::phyRegister(0, 3, 0), kAfterReset);
        }
        EXPECT_EQ(Wrapper::freeBoard(row.board), 0);
        EXPECT_EQ(Wrapper::getBoard(row.board), nullptr);
        EXPECT_EQ(softboard::boardState(0).opens, 0U);
    }
}

TEST(Boards, TakeEachPortsAddressFromTheServiceOnce) {
    const Rig rig(2);
    const FakeService service([](const std::string& line) {
        const char* const more = line.ends_with("PORT 2") ? "200-PORT 2 IP 10.1.2.3\n"
                                 : line.ends_with("PORT 3")
                                     ? "200-PORT 3 MASK 255.0.0.0\n200-PORT 3 IP 10.0.0.1\n"
                                     : "";
        return more + FakeService::healthy(line);
    });
    ASSERT_EQ(Wrapper::initBoard(1, 0), 0);
    ASSERT_EQ(Wrapper::initBoard(1, 0), 0);
    EXPECT_EQ(
        service.requests(), (std::vector<std::string>{
                                "STATUS BOARD 1 PORT 0", "STATUS BOARD 1 PORT 1", "STATUS BOARD 1 PORT 2",
                                "STATUS BOARD 1 PORT 3"}));
    for (int port = 0; port < Wrapper::kPorts; ++port) {
        const MacBytes expected{2, 0, 0, 0, 1, static_cast<std::uint8_t>(port)};
        EXPECT_EQ(Wrapper::getBoard(1)->portMac(port), expected) << port;
    }
    const unsigned ips[][2] = {
        {0xA9FE082A, 0xFFFF0000},
        {0xA9FE082B, 0xFFFF0000},
        {0x0A010203, 0xFFFFFF00},
        {0x0A000001, 0xFF000000}};
    for (int port = 0; port < Wrapper::kPorts; ++port) {
        EXPECT_EQ(Wrapper::getBoard(1)->getPortIP(port), ips[port][0]) << port;
        EXPECT_EQ(Wrapper::getBoard(1)->getPortMask(port), ips[port][1]) << port;
    }
    Wrapper::freeBoard(1);
}

TEST(Selection, ByUserNameTakesTheLastRecordWhicheverMatches) {
    const Rig rig;
    const FakeService service;
    ASSERT_EQ(Wrapper::initBoard(0, 0), 0);
    GigeCamera* const board = Wrapper::getBoard(0);
    for (const std::string name : {"left", "right"}) {
        DiscoveryAckData ack{};
        ack.bytes[gvcp::discovery::kMac] = 2;
        ack.bytes[gvcp::discovery::kMac + 5] = static_cast<std::uint8_t>(name.size());
        name.copy(reinterpret_cast<char*>(&ack.bytes[gvcp::discovery::kUserDefinedName]), name.size());
        board->storeDiscoveredCamera(2, &ack);
    }
    unsigned char mac[6] = {};
    bool isUnique = false;
    EXPECT_TRUE(camera(board, 2).selectCameraViaUserName("left", mac, &isUnique));
    EXPECT_TRUE(isUnique);
    EXPECT_EQ(mac[5], 5);
    Wrapper::freeBoard(0);
}

TEST(Rescan, AsksTheServiceForAllBoards) {
    EXPECT_THROW(Wrapper::discoverAll(), tavo::GicConnectionException);
    {
        const FakeService service;
        EXPECT_NO_THROW(Wrapper::discoverAll());
        EXPECT_EQ(service.requests(), std::vector<std::string>{"RESCAN"});
    }
}

} // namespace
