// Control of a camera that somebody else has, that is taken away, and that ends with the camera: what the
// handle's calls say of it, and that connecting again mends it.
#include "api/handles.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "simcam/Station.h"
#include "system/session.h"

#include <atomic>

namespace {

using simcam::Fault;
using tavo::ControlLoss;

constexpr std::uint32_t kBoardIp = 0xA9FE072A; // of port 0 of the first board
constexpr std::uint32_t kPeerIp = 0xA9FE0909;
constexpr unsigned kPeerIpInC = 0x0909FEA9;
constexpr const char* kLossDetails[] = {
    "",
    "the camera has been silent for longer than the 0.512 s that it keeps control for a silent host",
    "the camera has dropped control: it heard nothing of this host for 0.512 s",
    "another application, at 169.254.9.9, has taken control of the camera",
    "the camera has restarted",
};

// Another application on the camera's network.
void writePrivilege(simcam::Camera& camera, std::uint32_t ip, std::uint16_t port, std::uint32_t value) {
    const auto number = [&](std::uint32_t address) { return camera.peekRegister(address).value(); };
    const simcam::Mac mac = simcam::Mac{number(bootstrap::kMacHigh)} << 32 | number(bootstrap::kMacLow);
    const simcam::Station from(0x020000000077, {ip, 0xFFFF0000, 0});
    static std::uint16_t id = 0x7000;
    simcam::Writer message;
    message.u8(gvcp::kKey).u8(gvcp::kFlagAckRequired);
    message.u16(static_cast<std::uint16_t>(gvcp::Command::WriteRegCmd)).u16(8).u16(++id);
    message.u32(bootstrap::kControlChannelPrivilege).u32(value);
    const simcam::Bytes frame =
        from.datagram({mac, number(bootstrap::kCurrentIp), gvcp::kPort}, port, message.view());
    const auto before = camera.log().total();
    camera.receive(frame.data(), frame.size());
    EXPECT_TRUE(eventually([&] { return camera.log().total() > before; }));
}

class ControlTest : public testing::Test {
protected:
    void SetUp() override { station = session.rig.hang(0, 0, plainCamera({{"ip", "169.254.1.50"}})); }

    void peerTakes(std::uint32_t privilege = bootstrap::kPrivilegeControl) {
        writePrivilege(*station, kPeerIp, 50000, privilege);
    }
    void peerReleases() { peerTakes(bootstrap::kPrivilegeNone); }

    void connect() {
        camera = session.connectFirst();
        QObject::connect(
            camera->device(), &tavo::ImplGenICamCamera::signal_ControlChanged, camera->device(),
            [this](auto*, ControlLoss loss) { announced = loss; }, Qt::DirectConnection);
    }

    GbeControlStatus status() const {
        GbeControlStatus status{};
        EXPECT_EQ(Gbe_getControlStatus(camera, &status), 0);
        return status;
    }

    // Goes on without heartbeats, and with a camera that does not wait for them for long.
    void losePatience() {
        camera->heartbeat->setPeriod(1000000);
        unsigned char timeout[4] = {0, 0, 2, 0};
        camera->device()->getPort("Device")->write(timeout, bootstrap::kHeartbeatTimeout, sizeof timeout);
    }

    // Waits until the loss is announced. Feature calls then fail at once, cached or not, and without a frame.
    void expectLost(ControlLoss loss) {
        EXPECT_TRUE(eventually([&] { return announced == loss; }));
        const auto sent = softboard::portState(0, 0).framesSent;
        long long value = 0;
        EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &value), GBE_ERROR_CONNECTION);
        EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 1), GBE_ERROR_CONNECTION);
        EXPECT_STREQ(Gbe_getLastErrorDetail(), kLossDetails[static_cast<std::size_t>(loss)]);
        unsigned char bytes[4] = {};
        EXPECT_THROW(
            camera->device()->getPort("Device")->read(bytes, plain::kNumber, 4),
            tavo::GicConnectionException);
        EXPECT_EQ(softboard::portState(0, 0).framesSent, sent);
    }

    void expectRecovery() {
        ASSERT_EQ(Gbe_connectCamera(camera), 0);
        EXPECT_EQ(announced, ControlLoss::None);
        EXPECT_EQ(status().holder, GBE_CONTROL_SELF);
        EXPECT_EQ(status().loss, GBE_LOSS_NONE);
        EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 4711), 0);
        EXPECT_EQ(station->peekRegister(plain::kNumber), 4711U);
        EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_CAMERA_NOT_CONNECTED) << "connected already";
    }

    Session session;
    std::shared_ptr<simcam::Camera> station;
    CameraHandle* camera = nullptr;
    std::atomic<ControlLoss> announced{ControlLoss::None};
};

TEST_F(ControlTest, OfAnotherApplicationIsToldAtOnceAndNotDisturbed) {
    const struct {
        const char* name;
        std::uint32_t privilege;
        bool tellsWho;
        std::size_t writes; // that reach the camera from here
    } rows[] = {
        {"control", bootstrap::kPrivilegeControl, true, 0},
        {"exclusive access", bootstrap::kPrivilegeExclusive, true, 0},
        {"with others allowed to take over", bootstrap::kPrivilegeControl | 4, true, 0},
        {"the camera does not say who", bootstrap::kPrivilegeControl, false, 1},
        {"nor who, but that others may take over", bootstrap::kPrivilegeControl | 4, false, 0},
    };
    ASSERT_EQ(Gbe_scanNetwork(session.board(), 0, 0), 0);
    ASSERT_EQ(Gbe_getFirstCamera(session.board(), 0, &camera), 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        peerTakes(row.privilege);
        if (!row.tellsWho) {
            station->pokeRegister(bootstrap::kPrimaryApplicationIp, 0);
        }
        station->log().clear();
        EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_CAMERA_BUSY);
        EXPECT_STREQ(
            Gbe_getLastErrorDetail(),
            row.tellsWho ? "another application, at 169.254.9.9 UDP port 50000, controls the camera"
                         : "another application controls the camera");
        EXPECT_EQ(station->log().count(gvcp::Command::WriteRegCmd), row.writes);
        if (!row.tellsWho) { // the refused write has put it there again
            station->pokeRegister(bootstrap::kPrimaryApplicationIp, 0);
        }
        const GbeControlStatus told = status();
        EXPECT_EQ(told.holder, GBE_CONTROL_OTHER);
        EXPECT_EQ(told.loss, GBE_LOSS_NEVER_HELD);
        EXPECT_EQ(told.ip, row.tellsWho ? kPeerIpInC : 0U);
        EXPECT_EQ(station->report().privilege, row.privilege);
        peerReleases();
    }
    EXPECT_EQ(status().holder, GBE_CONTROL_NOBODY);
    constexpr auto kDenied = static_cast<std::uint32_t>(gvcp::Status::AccessDenied);
    station->faults().add({Fault::Kind::Status, kDenied, 1, gvcp::Command::ReadRegCmd});
    EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_CAMERA_BUSY) << "may not even read";
    EXPECT_EQ(Gbe_connectCamera(camera), 0);
}

TEST_F(ControlTest, ModesSayWhatOthersMayDoMeanwhile) {
    constexpr std::uint32_t kControl = bootstrap::kPrivilegeControl;
    constexpr std::uint32_t kExclusive = bootstrap::kPrivilegeExclusive;
    const struct {
        int mode;
        std::uint32_t peer; // what another application has before
        int code;
        std::uint32_t privilege; // that the camera has given then
    } rows[] = {
        {GBE_CONNECT_CONTROL, 0, 0, kControl},
        {GBE_CONNECT_REGISTERS, 0, 0, kControl}, // the next one has its features again
        {GBE_CONNECT_EXCLUSIVE, 0, 0, kExclusive},
        {GBE_CONNECT_READ_ONLY, 0, 0, 0},
        {GBE_CONNECT_CONTROL, kControl, GBE_ERROR_CAMERA_BUSY, kControl},
        {GBE_CONNECT_EXCLUSIVE, kControl, GBE_ERROR_CAMERA_BUSY, kControl},
        {GBE_CONNECT_READ_ONLY, kControl, 0, kControl},
        {GBE_CONNECT_READ_ONLY, kExclusive, GBE_ERROR_CAMERA_BUSY, kExclusive},
        {GBE_CONNECT_REGISTERS, kControl, GBE_ERROR_CAMERA_BUSY, kControl},
        {4, 0, GBE_ERROR_ILLEGAL_PARAMETER, 0},
    };
    camera = session.findFirst();
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.mode) + " beside " + std::to_string(row.peer));
        peerTakes(row.peer);
        EXPECT_EQ(Gbe_connectCameraWith(camera, row.mode), row.code);
        EXPECT_EQ(station->report().privilege, row.privilege);
        if (row.code == 0) {
            const bool reads = row.mode == GBE_CONNECT_READ_ONLY;
            EXPECT_EQ(Gbe_connectCameraWith(camera, row.mode), GBE_ERROR_CAMERA_ALREADY_CONNECTED);
            // A write that fails takes control before it is repeated.
            constexpr auto kBusyDevice = static_cast<std::uint32_t>(gvcp::Status::Busy);
            const bool isBare = row.mode == GBE_CONNECT_REGISTERS;
            if (!reads && !isBare) {
                station->faults().add({Fault::Kind::Status, kBusyDevice, 1, gvcp::Command::WriteRegCmd});
            }
            const int code = reads ? GBE_ERROR_NOT_WRITABLE : isBare ? GBE_ERROR_ILLEGAL_NODE : 0;
            EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 1), code);
            EXPECT_EQ(station->report().privilege, row.privilege);
            EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
        }
        peerReleases();
        EXPECT_EQ(station->report().privilege, 0U);
    }
    Gbe_freeCamera(camera);
}

TEST_F(ControlTest, TheHeartbeatTimeoutIsTheHandles) {
    const auto inCamera = [&] { return station->peekRegister(bootstrap::kHeartbeatTimeout).value(); };
    const auto afterHeartbeat = [&] {
        const auto before = station->log().count(gvcp::Command::WriteRegCmd);
        EXPECT_TRUE(eventually([&] { return station->log().count(gvcp::Command::WriteRegCmd) > before; }));
        return inCamera();
    };
    camera = session.findFirst();
    EXPECT_EQ(Gbe_setHeartbeatTimeout(camera, 20000), 0);
    EXPECT_EQ(Gbe_connectCamera(camera), 0);
    EXPECT_EQ(inCamera(), 20000U);
    EXPECT_EQ(afterHeartbeat(), 20000U);
    for (const unsigned refused : {1U, 2999U, 3600001U}) {
        EXPECT_EQ(Gbe_setHeartbeatTimeout(camera, refused), GBE_ERROR_ILLEGAL_VALUE);
    }
    EXPECT_EQ(Gbe_keepControlWhileStopped(camera, 3601), GBE_ERROR_ILLEGAL_VALUE);
    EXPECT_EQ(Gbe_keepControlWhileStopped(camera, 1), GBE_ERROR_PORT_NOT_AVAILABLE)
        << "of this process alone";
    for (const auto& [timeout, written] : {std::pair{3000U, 3000U}, {3600000U, 3600000U}, {0U, 8000U}}) {
        EXPECT_EQ(Gbe_setHeartbeatTimeout(camera, timeout), 0);
        EXPECT_EQ(inCamera(), written) << "at once";
        EXPECT_EQ(afterHeartbeat(), written);
    }
}

TEST_F(ControlTest, TakenAwayIsVisibleAndComesBackByConnecting) {
    connect();
    EXPECT_EQ(status().holder, GBE_CONTROL_SELF);
    writePrivilege(*station, kBoardIp, 3015, bootstrap::kPrivilegeNone);
    peerTakes();
    expectLost(ControlLoss::TakenOver);
    EXPECT_EQ(status().holder, GBE_CONTROL_OTHER);
    EXPECT_EQ(status().ip, kPeerIpInC);
    EXPECT_EQ(status().loss, GBE_LOSS_TAKEN_OVER);
    EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_CAMERA_BUSY);
    EXPECT_EQ(status().loss, GBE_LOSS_TAKEN_OVER);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 1), GBE_ERROR_CAMERA_NOT_CONNECTED);
    EXPECT_EQ(station->report().privilege, bootstrap::kPrivilegeControl) << "the peer's";
    peerReleases();
    expectRecovery();
    Gbe_disconnectCamera(camera);
    EXPECT_EQ(status().loss, GBE_LOSS_DISCONNECTED);
    Gbe_freeCamera(camera);
}

// Connecting prepares the camera with nine writes, and up to four times more while nobody has control.
TEST_F(ControlTest, IsTriedAgainAndAgain) {
    camera = session.findFirst();
    constexpr auto kBusyDevice = static_cast<std::uint32_t>(gvcp::Status::Busy);
    for (const int mode : {GBE_CONNECT_CONTROL, GBE_CONNECT_EXCLUSIVE}) {
        station->faults().add({Fault::Kind::Status, kBusyDevice, 4 * 9, gvcp::Command::WriteRegCmd});
        EXPECT_EQ(Gbe_connectCameraWith(camera, mode), 0);
        EXPECT_EQ(
            station->report().privilege,
            mode == GBE_CONNECT_CONTROL ? bootstrap::kPrivilegeControl : bootstrap::kPrivilegeExclusive);
        EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
    }
    Gbe_freeCamera(camera);
}

TEST_F(ControlTest, EndsWithARestartOfTheCamera) {
    connect();
    ASSERT_TRUE(eventually([&] { return station->peekRegister(bootstrap::kHeartbeatTimeout) == 8000U; }));
    station->reboot(std::chrono::milliseconds(100));
    expectLost(ControlLoss::Rebooted);
    EXPECT_EQ(status().holder, GBE_CONTROL_NOBODY);
    expectRecovery();
}

TEST_F(ControlTest, EndsWithSilenceAndIsExplainedAfterwards) {
    const auto plugIn = [](const std::shared_ptr<simcam::Camera>& one) {
        ASSERT_TRUE(softboard::detachAll(0, 0));
        ASSERT_TRUE(softboard::attach(0, 0, std::shared_ptr<ethernet::Endpoint>(one)));
    };
    connect();
    losePatience();
    ASSERT_TRUE(softboard::detachAll(0, 0));
    const auto stranger = session.rig.hang(0, 0, plainCamera({{"ip", "169.254.1.50"}})); // the same address
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 1), GBE_ERROR_CONNECTION) << "half a second has passed";
    expectLost(ControlLoss::Silent);
    EXPECT_EQ(status().holder, GBE_CONTROL_UNKNOWN);
    plugIn(station);
    EXPECT_EQ(status().holder, GBE_CONTROL_NOBODY);
    expectLost(ControlLoss::HeartbeatMissed);
    plugIn(stranger);
    EXPECT_EQ(Gbe_connectCamera(camera), GBE_ERROR_XML_READ) << "the handle's camera is not there";
    EXPECT_EQ(stranger->log().count(gvcp::Command::WriteRegCmd), 0U) << "it was spoken to";
    plugIn(station);
    expectRecovery();
}

} // namespace
