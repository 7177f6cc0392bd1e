// Handles of one port, and one handle, used by several threads at once.
#include "system/session.h"

#include "api/handles.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/features.h"

#include <atomic>

namespace {

constexpr int kRounds = 40;
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
    Gbe_prefetch(two.other, nullptr, 0);
    EXPECT_EQ(Gbe_invalidateCache(two.other), 0);
}

void connectTheOtherTwice(TwoCameras& two) {
    const int result = Gbe_connectCamera(two.other);
    EXPECT_TRUE(result == 0 || result == GBE_ERROR_CAMERA_NOT_CONNECTED || result == GBE_ERROR_CAMERA_BUSY)
        << result;
}

void writeTheOther(TwoCameras& two) {
    for (const char* const entry : {"Mono8", "Mono12Packed"}) {
        EXPECT_EQ(Gbe_setIntegerValue(two.other, "Number", 7), 0);
        EXPECT_EQ(Gbe_setEnumerationValue(two.other, "PixelFormat", entry), 0);
    }
}

// The values are those that another thread writes; the port is watched meanwhile, and others come and go on
// it.
void readTheOther(TwoCameras& two) {
    long long value = 0;
    const char* entry = "";
    EXPECT_EQ(Gbe_invalidateCache(two.other), 0);
    EXPECT_EQ(Gbe_getIntegerValue(two.other, "Number", &value), 0);
    EXPECT_TRUE(value == 7 || value == 0) << value;
    EXPECT_EQ(Gbe_getEnumerationValue(two.other, "PixelFormat", &entry), 0);
    EXPECT_EQ(std::string(entry).rfind("Mono", 0), 0U) << entry;
    EXPECT_EQ(Gbe_invalidateCache(two.other), 0);
    EXPECT_EQ(Gbe_prefetch(two.other, nullptr, 0), 0);
    std::string error;
    EXPECT_TRUE(softboard::startCapture(0, 0, "watched.pcap", error)) << error;
    const auto bystander = two.session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:77"}}));
    EXPECT_TRUE(softboard::detach(0, 0, std::shared_ptr<ethernet::Endpoint>(bystander)));
    EXPECT_TRUE(softboard::stopCapture(0, 0));
}

TEST(HandleThreads, DoNotReachEachOther) {
    using Work = void (*)(TwoCameras&);
    const struct {
        const char* name;
        Work one;
        Work another;
        bool isConnected = false;
    } rows[] = {
        {"looked at while the other connects", connectAndDisconnect, lookAtTheFirst},
        {"freed while the other connects", connectAndDisconnect, freeTheFirstAndFindItAgain},
        {"both after the port", tryToConnect<&TwoCameras::other>, tryToConnect<&TwoCameras::first>},
        {"one handle, connected by two threads", connectTheOtherTwice, connectTheOtherTwice},
        {"one handle, disconnected while it is used",
         [](TwoCameras& two) { EXPECT_EQ(Gbe_disconnectCamera(two.other), 0); }, useTheOther, true},
        {"one handle, written and read", writeTheOther, readTheOther, true},
    };
    TwoCameras two;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        two.station->pokeRegister(plain::kNumber, 0);
        if (row.isConnected) {
            EXPECT_EQ(Gbe_connectCamera(two.other), 0);
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
    constexpr int kReplacements = 250; // a dozen does not meet a call often enough
    TwoCameras two;
    connectAndRead(two.other);
    std::atomic<bool> done = false;
    std::thread thread([&] {
        for (int round = 0; round < kReplacements; ++round) {
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

} // namespace
