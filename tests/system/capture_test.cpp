// A whole session, recorded on the wire and read by an independent dissector.
#include "system/session.h"

#include <cstdio>
#include <set>
#include <sstream>

namespace {

struct ClosePipe {
    void operator()(std::FILE* pipe) const { ::pclose(pipe); }
};

// What tshark prints about the capture with these arguments.
std::string tshark(const std::string& arguments) {
    const std::string command =
        "tshark -r session.pcap -o ip.check_checksum:TRUE -o udp.check_checksum:TRUE " + arguments +
        " 2> tshark.txt";
    const std::unique_ptr<std::FILE, ClosePipe> pipe(::popen(command.c_str(), "r"));
    std::string output;
    std::array<char, 4096> piece{};
    for (std::size_t count = 1; count > 0; output.append(piece.data(), count)) {
        count = std::fread(piece.data(), 1, piece.size(), pipe.get());
    }
    return output;
}

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
    EXPECT_TRUE(softboard::stopCapture(0, 0));
    Gbe_freeCamera(camera);
}

TEST(Capture, OfASessionIsSoundToAnIndependentDissector) {
    ASSERT_FALSE(tshark("--version").empty()) << "tshark is not installed: run scripts/setup test";
    runSession();
    if (HasFatalFailure()) {
        return;
    }
    EXPECT_EQ(tshark("-Y '_ws.malformed || ip.checksum.status == 0 || udp.checksum.status == 0'"), "");
    EXPECT_EQ(tshark("-Y 'udp.port == 3956 && !gvcp'"), "") << "not recognised";

    std::istringstream commands(tshark("-Y gvcp -T fields -e gvcp.cmd.command -e gvcp.ack"));
    std::set<std::string> seen;
    for (std::string code; commands >> code;) {
        seen.insert(code);
    }
    for (const char* code :
         {"0x0002", "0x0003", "0x0080", "0x0081", "0x0082", "0x0083", "0x0084", "0x0085", "0x0086",
          "0x0087"}) {
        EXPECT_EQ(seen.count(code), 1U) << code << " is not in the capture";
    }
}

} // namespace
