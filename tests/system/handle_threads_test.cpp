// Handles of one port, and one handle, used by several threads at once.
#include "system/session.h"

#include "api/handles.h"
#include "genicam/device/ImplGenICamCamera.h"

#include <atomic>

namespace {

constexpr int kRounds = 12;
using Mac = std::array<unsigned char, 6>;
constexpr Mac kFirst{2, 0, 0, 0, 0, 0x31};
constexpr Mac kOther{2, 0, 0, 0, 0, 0x32};

// Two cameras on port 0, the first of them also a handle's.
struct TwoCameras {
    TwoCameras() {
        session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:31"}}));
        station = session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:32"}}));
        EXPECT_EQ(Gbe_scanNetwork(session.board(), 0, 0), 0);
        EXPECT_EQ(Gbe_getCameraByMac(session.board(), 0, kFirst.data(), &first), 0);
        EXPECT_EQ(Gbe_getCameraByMac(session.board(), 0, kOther.data(), &other), 0);
    }
    ~TwoCameras() {
        Gbe_freeCamera(first);
        Gbe_freeCamera(other);
    }

    Session session;
    std::shared_ptr<simcam::Camera> station; // the other one
    CameraHandle* first = nullptr;
    CameraHandle* other = nullptr;
};

void connectAndRead(CameraHandle* camera) {
    long long value = 0;
    EXPECT_EQ(Gbe_connectCamera(camera), 0);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 7), 0);
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &value), 0);
    EXPECT_EQ(value, 7);
}

void connectAndDisconnect(TwoCameras& two) {
    connectAndRead(two.other);
    EXPECT_EQ(Gbe_disconnectCamera(two.other), 0);
}

void lookAtTheFirst(TwoCameras& two) {
    EXPECT_EQ(Gbe_invalidateCache(two.first), 0);
    EXPECT_EQ(Gbe_enableChecks(two.first, 1), 0);
    EXPECT_EQ(Gbe_enableStandardBehaviour(two.first, 0), 0);
    long long value = 0;
    EXPECT_EQ(Gbe_getIntegerValue(two.first, "Number", &value), GBE_ERROR_CAMERA_NOT_CONNECTED);
}

void freeTheFirstAndFindItAgain(TwoCameras& two) {
    Gbe_freeCamera(two.first);
    EXPECT_EQ(Gbe_getCameraByMac(two.session.board(), 0, kFirst.data(), &two.first), 0);
}

template<CameraHandle* TwoCameras::*camera> void tryToConnect(TwoCameras& two) {
    const int result = Gbe_connectCamera(two.*camera);
    EXPECT_TRUE(result == 0 || result == GBE_ERROR_PORT_NOT_AVAILABLE) << result;
    EXPECT_EQ(Gbe_disconnectCamera(two.*camera), 0);
}

void useTheOther(TwoCameras& two) {
    long long value = 0;
    const int result = Gbe_getIntegerValue(two.other, "Number", &value);
    EXPECT_TRUE(
        result == 0 || result == GBE_ERROR_CAMERA_NOT_CONNECTED || result == GBE_ERROR_TRANSPORT_LAYER ||
        result == GBE_ERROR_ILLEGAL_NODE || result == GBE_ERROR_PORT_NOT_AVAILABLE)
        << result;
    EXPECT_EQ(Gbe_invalidateCache(two.other), 0);
}

void connectTheOtherTwice(TwoCameras& two) {
    const int result = Gbe_connectCamera(two.other);
    EXPECT_TRUE(result == 0 || result == GBE_ERROR_CAMERA_NOT_CONNECTED || result == GBE_ERROR_CAMERA_BUSY)
        << result;
}

TEST(HandleThreads, DoNotReachEachOther) {
    using Work = void (*)(TwoCameras&);
    const struct {
        const char* name;
        Work one;
        Work another;
    } rows[] = {
        {"looked at while the other connects", connectAndDisconnect, lookAtTheFirst},
        {"freed while the other connects", connectAndDisconnect, freeTheFirstAndFindItAgain},
        {"both after the port", tryToConnect<&TwoCameras::other>, tryToConnect<&TwoCameras::first>},
        {"one handle, connected by two threads", connectTheOtherTwice, connectTheOtherTwice},
        {"one handle, disconnected while it is used",
         [](TwoCameras& two) { EXPECT_EQ(Gbe_disconnectCamera(two.other), 0); }, useTheOther},
    };
    TwoCameras two;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        two.station->pokeRegister(plain::kNumber, 0);
        if (row.another == useTheOther) {
            connectAndRead(two.other);
        }
        std::thread thread([&] {
            for (int round = 0; round < kRounds; ++round) {
                row.one(two);
            }
        });
        for (int round = 0; round < kRounds; ++round) {
            row.another(two);
        }
        thread.join();
        Gbe_disconnectCamera(two.other);
        connectAndDisconnect(two);
        EXPECT_EQ(two.station->peekRegister(plain::kNumber), 7U) << "its own camera";
    }
}

// As a listener in another thread may replace it; neither thread has an event loop.
TEST(HandleThreads, ATreeStaysForWhoeverIsInsideACall) {
    TwoCameras two;
    connectAndRead(two.other);
    std::atomic<bool> done = false;
    std::thread thread([&] {
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(Gbe_enableStandardBehaviour(two.other, round % 2 == 0), 0);
        }
        done = true;
    });
    while (!done) {
        useTheOther(two);
    }
    thread.join();
}

TEST(Handles, ThatAreLookedUpTouchNoDeviceOfOthers) {
    TwoCameras two;
    connectAndRead(two.other);
    two.station->log().clear();
    EXPECT_EQ(Gbe_invalidateCache(two.first), 0);
    long long value = 0;
    EXPECT_EQ(Gbe_getIntegerValue(two.other, "Number", &value), 0);
    EXPECT_EQ(two.station->log().count(gvcp::Command::ReadRegCmd), 0U) << "cached still";
    EXPECT_EQ(Gbe_enableChecks(two.first, 1), 0);
    EXPECT_FALSE(two.other->device()->isCheckingEnabled());
}

TEST(Gate, RefusesChangesWithinChangesAndFeaturesWithoutControl) {
    using api::Call;
    using api::State;
    const struct {
        State state;
        Call call;
        int result;
    } rows[] = {
        {State::Found, Call::Use, GBE_ERROR_CAMERA_NOT_CONNECTED},
        {State::Connected, Call::Connect, GBE_ERROR_CAMERA_NOT_CONNECTED},
        {State::Lost, Call::Connect, 0},
        {State::Lost, Call::Use, GBE_ERROR_CONNECTION},
        {State::Lost, Call::Look, 0},
        {State::Disconnected, Call::Move, 0},
        {State::Changing, Call::Disconnect, GBE_ERROR_CAMERA_BUSY},
        {State::Leaving, Call::Connect, GBE_ERROR_CAMERA_BUSY},
        {State::Changing, Call::Look, GBE_ERROR_CAMERA_NOT_CONNECTED},
        {State::Connected, Call::ConnectWithoutService, GBE_ERROR_CAMERA_ALREADY_CONNECTED},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(api::allowed(row.state, row.call), row.result);
    }
}

} // namespace
