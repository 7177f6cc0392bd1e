// Handles through their whole lives: found, connected, disconnected, moved, freed, in every order.
#include "system/session.h"

#include "protocol/bootstrap.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr std::uint32_t kNoControl = 0;
constexpr std::uint32_t kControl = 2;

using Mac = std::array<unsigned char, 6>;

Mac macOf(CameraHandle* camera) {
    Mac mac{};
    std::memcpy(mac.data(), Gbe_getCameraInfo(camera)->mac, mac.size());
    return mac;
}

std::string userNameOf(CameraHandle* camera) {
    const CameraInfo* info = Gbe_getCameraInfo(camera);
    return {info->userDefinedName, strnlen(info->userDefinedName, sizeof(info->userDefinedName))};
}

TEST(Boards, CheckTheirArguments) {
    Session session;
    BoardHandle* board = session.board();
    EXPECT_EQ(Gbe_scanNetwork(board, -2, 0), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_scanNetwork(board, 4, 0), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_getCameraCount(board, 4), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_getCameraCount(board, 0), 0) << "before a scan";
    BoardHandle* again = nullptr;
    EXPECT_EQ(Gbe_initBoard(0, 0, &again), 0);
    EXPECT_NE(again, board);
    Gbe_freeBoard(again); // closes the board under the other handle
    EXPECT_EQ(Gbe_scanNetwork(board, 0, 0), GBE_ERROR_BOARD_DOES_NOT_EXIST);
    EXPECT_EQ(Gbe_getCameraCount(board, 0), GBE_ERROR_BOARD_DOES_NOT_EXIST);
    CameraHandle* camera = nullptr;
    EXPECT_EQ(Gbe_getFirstCamera(board, 0, &camera), GBE_ERROR_NO_CAMERAS_FOUND);
}

TEST(Boards, TellALinkStateWithoutAHandle) {
    Rig rig(1, "phy = held");
    const auto camera = rig.hang(0, 2, plainCamera());
    const FakeService service;
    BoardHandle* board = nullptr;
    ASSERT_EQ(Gbe_initBoard(0, GBE_SERVICE_MODE, &board), 0);
    EXPECT_EQ(board, nullptr);
    const auto isUp = [](unsigned port) {
        int up = -1;
        EXPECT_EQ(Gbe_getLinkState(0, port, &up), 0);
        return up == 1;
    };
    EXPECT_TRUE(eventually([&] { return isUp(2); }));
    EXPECT_FALSE(isUp(1)) << "nothing hangs there";
    ASSERT_EQ(Gbe_initBoard(0, 0, &board), 0); // open already
    Gbe_freeBoard(board);
}

TEST(LookUp, GivesTheDocumentedCodes) {
    Session session;
    BoardHandle* board = session.board();
    session.rig.hang(
        0, 1, plainCamera({{"mac", "02:00:00:00:00:11"}, {"ip", "169.254.1.17"}, {"name", "twin"}}));
    session.rig.hang(
        0, 1, plainCamera({{"mac", "02:00:00:00:00:12"}, {"ip", "169.254.1.18"}, {"name", "twin"}}));
    session.rig.hang(0, 2, plainCamera({{"name", "sixteen letters!"}}));
    ASSERT_EQ(Gbe_scanNetwork(board, -1, 0), 0);
    ASSERT_EQ(Gbe_getCameraCount(board, 0), 0);
    ASSERT_EQ(Gbe_getCameraCount(board, 1), 2);

    const unsigned char unknown[6] = {2, 9};
    CameraHandle* camera = reinterpret_cast<CameraHandle*>(board);
    EXPECT_EQ(Gbe_getFirstCamera(board, 4, &camera), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_NE(camera, nullptr) << "nothing changes before the checks have passed";
    EXPECT_EQ(Gbe_getFirstCamera(board, 0, &camera), GBE_ERROR_NO_CAMERAS_FOUND);
    EXPECT_EQ(camera, nullptr);
    EXPECT_EQ(Gbe_getCameraByMac(board, 1, unknown, &camera), GBE_ERROR_CAMERA_DOES_NOT_EXIST);
    EXPECT_EQ(Gbe_getCameraByIp(board, 1, 0x01020304, &camera), GBE_ERROR_CAMERA_DOES_NOT_EXIST);
    for (const char* name : {"nobody", "twi", "Twin", "twins", ""}) {
        EXPECT_EQ(Gbe_getCameraByUserName(board, 1, name, &camera), GBE_ERROR_CAMERA_DOES_NOT_EXIST) << name;
    }
    EXPECT_EQ(
        Gbe_getCameraByUserName(board, 2, "sixteen letters!x", &camera), GBE_ERROR_CAMERA_DOES_NOT_EXIST);

    CameraHandle* alone = nullptr;
    ASSERT_EQ(Gbe_getCameraByUserName(board, 2, "sixteen letters!", &alone), 0);
    EXPECT_EQ(userNameOf(alone), "sixteen letters!") << "a full field has no NUL";
    EXPECT_EQ(Gbe_getFirstCamera(board, 2, &camera), GBE_ERROR_CAMERA_DOES_NOT_EXIST);
    EXPECT_EQ(Gbe_getCameraByMac(board, 2, macOf(alone).data(), &camera), GBE_ERROR_CAMERA_BUSY);

    CameraHandle* twin = nullptr;
    ASSERT_EQ(Gbe_getCameraByUserName(board, 1, "twin", &twin), GBE_WARNING_CAMERA_NOT_UNIQUE);
    EXPECT_EQ(Gbe_connectCamera(twin), 0);
    CameraHandle* other = nullptr;
    EXPECT_EQ(Gbe_getFirstCamera(board, 1, &other), 0);
    EXPECT_NE(macOf(other), macOf(twin));
    Gbe_freeCamera(twin);
    Gbe_freeCamera(other);
    ASSERT_EQ(Gbe_getCameraByIp(board, 1, 0x1101FEA9, &camera), 0);
    EXPECT_EQ(macOf(camera)[5], 0x11);
    CameraInfo* copy = nullptr;
    EXPECT_EQ(copyCameraInfo(camera, &copy), 0);
    EXPECT_EQ(std::memcmp(copy, Gbe_getCameraInfo(camera), sizeof(CameraInfo)), 0);
    std::free(copy);
}

TEST(Connection, RunsThroughItsStates) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera());
    CameraHandle* camera = session.connectFirst();
    EXPECT_EQ(station->report().privilege, kControl);
    EXPECT_EQ(station->peekRegister(bootstrap::kStreamChannelPort).value() & 0xFFFF, 1520U);
    EXPECT_EQ(station->peekRegister(bootstrap::kStreamChannelPacketSize).value() & 0xFFFF, 1500U);
    EXPECT_EQ(station->peekRegister(bootstrap::kStreamChannelDestination).value() & 0xFFFF00FF, 0xA9FE002AU);
    EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_CAMERA_NOT_CONNECTED);
    EXPECT_EQ(Gbe_connectCameraWithoutService(camera), GBE_ERROR_CAMERA_ALREADY_CONNECTED);
    long long value = 0;
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &value), 0);

    EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
    EXPECT_EQ(station->report().privilege, kNoControl);
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &value), GBE_ERROR_CAMERA_NOT_CONNECTED);
    EXPECT_EQ(Gbe_disconnectCamera(camera), 0) << "again does no harm";

    EXPECT_EQ(Gbe_connectCameraWithoutService(camera), 0);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 5), 0);
    EXPECT_EQ(station->peekRegister(plain::kNumber), 5U);
    CameraHandle* second = nullptr;
    EXPECT_EQ(Gbe_getFirstCamera(session.board(), 0, &second), GBE_ERROR_CAMERA_DOES_NOT_EXIST)
        << "in use again";
    Gbe_disconnectCamera(camera);
    ASSERT_EQ(Gbe_getFirstCamera(session.board(), 0, &second), 0);
    EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_CAMERA_BUSY) << "somebody else has taken it";
    EXPECT_EQ(Gbe_connectCamera(second), 0);
    Gbe_freeCamera(camera);
    EXPECT_EQ(Gbe_getIntegerValue(second, "Number", &value), 0) << "untouched by the other's end";
    EXPECT_EQ(station->report().privilege, kControl);
}

TEST(Connection, ThatFailsLeavesNothingBehind) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera({{"second-url", "{xml}"}}));
    CameraHandle* camera = session.findFirst();
    const struct {
        const char* name;
        const char* firstUrl;
        const char* installation;
        int expected;
    } rows[] = {
        {"no installation directory", "File:missing.xml", nullptr, GBE_ERROR_ENVIRONMENT_NOT_SET},
        {"no such file", "File:missing.xml", ".", GBE_ERROR_FILE_DOES_NOT_EXIST},
        {"second URL, after failures", "Http:x", ".", 0},
        {"file, after success", "File:missing.xml", ".", GBE_ERROR_FILE_DOES_NOT_EXIST},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<std::uint8_t> url(bootstrap::kUrlSize);
        std::copy_n(row.firstUrl, std::strlen(row.firstUrl), url.begin());
        ASSERT_TRUE(station->poke(bootstrap::kFirstUrl, url));
        row.installation != nullptr ? setenv("TAVODIR5", row.installation, 1) : unsetenv("TAVODIR5");
        EXPECT_EQ(Gbe_connectCamera(camera), row.expected);
        const bool connected = row.expected == 0;
        long long value = 0;
        EXPECT_EQ(
            Gbe_getIntegerValue(camera, "Number", &value), connected ? 0 : GBE_ERROR_CAMERA_NOT_CONNECTED);
        EXPECT_EQ(Gbe_invalidateCache(camera), 0);
        EXPECT_EQ(station->report().privilege, connected ? kControl : kNoControl);
        if (connected) {
            EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
        }
    }
    unsetenv("TAVODIR5");
    Gbe_freeCamera(camera);
}

TEST(Connection, HasItsPortForItself) {
    Session session;
    BoardHandle* board = session.board();
    const auto first = session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:31"}}));
    const auto other = session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:32"}}));
    ASSERT_EQ(Gbe_scanNetwork(board, 0, 0), 0);
    CameraHandle* a = nullptr;
    CameraHandle* b = nullptr;
    ASSERT_EQ(Gbe_getCameraByMac(board, 0, Mac{2, 0, 0, 0, 0, 0x31}.data(), &a), 0);
    ASSERT_EQ(Gbe_getCameraByMac(board, 0, Mac{2, 0, 0, 0, 0, 0x32}.data(), &b), 0);
    ASSERT_EQ(Gbe_connectCamera(a), 0);
    EXPECT_EQ(first->report().privilege, kControl) << "although the other one was looked up last";
    EXPECT_EQ(other->report().privilege, kNoControl);

    EXPECT_EQ(Gbe_connectCamera(b), GBE_ERROR_PORT_NOT_AVAILABLE);
    softboard::detach(0, 0, std::shared_ptr<ethernet::Endpoint>(first));
    ASSERT_EQ(Gbe_scanNetwork(board, 0, 0), 0);
    ASSERT_EQ(Gbe_getCameraCount(board, 0), 1) << "the connected camera is not found this time";
    softboard::attach(0, 0, std::shared_ptr<ethernet::Endpoint>(first));
    EXPECT_EQ(Gbe_setIntegerValue(a, "Number", 77), 0);
    EXPECT_EQ(first->peekRegister(plain::kNumber), 77U);
    EXPECT_EQ(other->peekRegister(plain::kNumber), 0U);

    Gbe_freeCamera(a);
    EXPECT_EQ(Gbe_connectCamera(b), 0);
    EXPECT_EQ(other->report().privilege, kControl);
}

TEST(Switching, TakesTheCameraAlongWithItsFeatures) {
    Session session(2);
    BoardHandle* other = session.boards[1];
    const auto station = session.rig.hang(0, 0, plainCamera());
    CameraHandle* camera = session.connectFirst();
    EXPECT_EQ(Gbe_switchCameraConnection(camera, nullptr, 0), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_switchCameraConnection(camera, other, 4), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_switchCameraConnection(camera, session.board(), 0), GBE_ERROR_BOARD_DOES_NOT_EXIST)
        << "occupied by itself";
    EXPECT_EQ(Gbe_switchCameraConnection(camera, other, 3), GBE_ERROR_NO_CAMERAS_FOUND);

    // Pulled, and plugged in elsewhere once it has given up hope for its heartbeats.
    softboard::detach(0, 0, std::shared_ptr<ethernet::Endpoint>(station));
    station->pokeRegister(bootstrap::kHeartbeatTimeout, 500);
    ASSERT_TRUE(eventually([&] { return station->report().privilege == kNoControl; }));
    softboard::attach(1, 3, std::shared_ptr<ethernet::Endpoint>(station));
    ASSERT_EQ(Gbe_scanNetwork(other, 3, 0), 0);
    ASSERT_EQ(Gbe_switchCameraConnection(camera, other, 3), 0);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 9), 0);
    EXPECT_EQ(station->peekRegister(plain::kNumber), 9U);
    EXPECT_EQ(Gbe_connectCameraWithoutService(camera), GBE_ERROR_CAMERA_ALREADY_CONNECTED);

    const auto stranger = session.rig.hang(1, 0, plainCamera());
    ASSERT_EQ(Gbe_scanNetwork(other, 0, 0), 0);
    EXPECT_EQ(Gbe_switchCameraConnectionWithoutService(camera, other, 0), GBE_ERROR_CAMERA_DOES_NOT_EXIST);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 10), GBE_ERROR_CAMERA_NOT_CONNECTED)
        << "disconnected at its old place";
    EXPECT_EQ(Gbe_connectCamera(camera), 0);
    EXPECT_EQ(stranger->report().privilege, kNoControl);
}

TEST(Freeing, WorksInEveryOrder) {
    for (const bool boardFirst : {false, true}) {
        for (const bool disconnectFirst : {false, true}) {
            SCOPED_TRACE(testing::Message() << boardFirst << disconnectFirst);
            Rig rig;
            const FakeService service;
            const auto station = rig.hang(0, 0, plainCamera());
            BoardHandle* board = nullptr;
            CameraHandle* camera = nullptr;
            ASSERT_EQ(Gbe_initBoard(0, 0, &board), 0);
            ASSERT_EQ(Gbe_scanNetwork(board, 0, 0), 0);
            ASSERT_EQ(Gbe_getFirstCamera(board, 0, &camera), 0);
            ASSERT_EQ(Gbe_connectCamera(camera), 0);
            if (disconnectFirst) {
                EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
            }
            if (boardFirst) {
                Gbe_freeBoard(board); // frees the camera too unless it was disconnected
                if (disconnectFirst) {
                    EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_BOARD_DOES_NOT_EXIST);
                    Gbe_freeCamera(camera);
                }
            } else {
                Gbe_freeCamera(camera);
                Gbe_freeBoard(board);
            }
            EXPECT_EQ(station->report().privilege, kNoControl);
            EXPECT_EQ(softboard::boardState(0).opens, 0U);
        }
    }
}

} // namespace
