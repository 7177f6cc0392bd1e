// A whole session, recorded on the wire and read by an independent dissector.
#include "system/dissector.h"
#include "system/session.h"

namespace {

void runSession() {
    Session session;
    const auto station = session.rig.hang(0, 0, {});
    std::string error;
    ASSERT_TRUE(softboard::startCapture(0, 0, "session.pcap", error)) << error;
    CameraHandle* camera = session.connectFirst();
    long long width = 0;
    const char* text = nullptr;
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &width), 0);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Width", 640), 0);
    EXPECT_EQ(Gbe_setEnumerationValue(camera, "PixelFormat", "Mono16"), 0);
    EXPECT_EQ(Gbe_getStringValue(camera, "DeviceModelName", &text), 0);
    EXPECT_EQ(Gbe_setStringValue(camera, "DeviceUserID", "recorded"), 0);
    EXPECT_EQ(Gbe_startAcquisition(camera), 0);
    EXPECT_EQ(Gbe_stopAcquisition(camera), 0);
    EXPECT_TRUE(eventually([&] { return station->peekRegister(0x0938) == 8000U; })); // a heartbeat
    EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
    EXPECT_EQ(
        Gbe_forceCameraIp(session.board(), 0, Gbe_getCameraInfo(camera)->mac, 0x0901FEA9, 0xFFFF, 0), 0);
    EXPECT_TRUE(softboard::stopCapture(0, 0));
    Gbe_freeCamera(camera);
}

TEST(Capture, OfASessionIsSoundToAnIndependentDissector) {
    runSession();
    if (!HasFatalFailure()) {
        expectSoundSession("session.pcap");
        EXPECT_EQ(
            tshark("session.pcap", "-Y 'gvcp.cmd.command == 4 || gvcp.ack == 5' -T fields -e frame.len"),
            "106\n60\n")
            << "an address is forced and acknowledged";
    }
}

} // namespace
