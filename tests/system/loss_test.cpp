// A camera on a real wire that is pulled for longer than its heartbeats allow, and comes back.
#include "support/net_namespace.h"
#include "support/wired_camera.h"
#include "system/session.h"

namespace {

TEST(Loss, OfAWireEndsWithConnectingAgain) {
    const test_support::VirtualWire wire; // made while the process has one thread
    if (!wire.error().empty()) {
        GTEST_SKIP() << wire.error();
    }
    const test_support::NetNamespace::Inside inside(wire.host);
    const Session session(1, "[board 0 port 0]\ninterface = host0");
    WiredCamera station(wire.camera, "camera0", plainCamera({{"ip", "169.254.1.65"}}));
    CameraHandle* camera = session.connectFirst();
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Number", 7), 0);

    ASSERT_TRUE(wire.camera.shell("ip link set camera0 down"));
    EXPECT_TRUE(eventually([&] { return Gbe_setIntegerValue(camera, "Number", 8) == GBE_ERROR_CONNECTION; }));
    GbeControlStatus status{};
    EXPECT_EQ(Gbe_getControlStatus(camera, &status), 0);
    EXPECT_EQ(status.loss, GBE_LOSS_SILENT);
    ASSERT_TRUE(wire.camera.shell("ip link set camera0 up"));
    EXPECT_TRUE(eventually([] { return softboard::portState(0, 0).linkUp; }));
    EXPECT_TRUE(eventually([&] { return Gbe_connectCamera(camera) == 0; }));
    long long value = 0;
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &value), 0);
    EXPECT_EQ(value, 7) << "nothing was written meanwhile";
}

} // namespace
