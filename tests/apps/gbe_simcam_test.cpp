// gbe-simcam: its commands on cameras without a wire, and the whole program on one end of a virtual wire.
// The tests of gbe and of the whole system talk to its cameras.
#include "process.h"

#include "Console.h"
#include "bounds.h"
#include "configuration.h"
#include "pictures/picture_file.h"
#include "pictures/read_png.h"
#include "simcam/text.h"
#include "support/net_namespace.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace gbe_simcam;
using testing::HasSubstr;

class GbeSimcam : public testing::Test {
protected:
    void SetUp() override {
        if (!wire.error().empty()) {
            GTEST_SKIP() << wire.error();
        }
        ASSERT_TRUE(wire.host.shell("ip addr add 169.254.7.42/16 dev host0"));
    }
    static std::string control(const QStringList& words) {
        const auto outcome = test::Program::run(GBE_SIMCAM, QStringList{"control", "sock"} + words);
        return std::to_string(outcome.status) + " " + outcome.out + outcome.err;
    }

    const test_support::VirtualWire wire;
};

TEST_F(GbeSimcam, IsControlledAndKeepsItsState) {
    const test_support::NetNamespace::Inside inside(wire.camera);
    test::Program program(
        GBE_SIMCAM, {"--interface", "camera0", "--control", "sock", "--camera",
                     "mac=02:11:22:33:44:55,ip=169.254.7.100,name=left\\, eye,state=kept", "--camera",
                     "ip=10.0.0.2,registers=plain"});
    EXPECT_TRUE(eventually([] { return control({"list"}).starts_with("0 "); }));
    const std::string tooLong(5000, 'x');
    const struct {
        const char* command;
        const char* reply; // the exit status, and text within the output
    } rows[] = {
        {"", "0"},
        {"list", "0, 10.0.0.2 mask 255.255.0.0, controlled by nobody\nwire: "},
        {"0 list", "1'0' is neither list, help, quit, all nor a camera from 1 to 2\n"},
        {"1 fault delay=500 x3 readreg", "0"},
        {"all fault silent forever", "0"},
        {"2 fault", "0silent=0 forever"},
        {"all fault clear", "0"},
        {"1 link drop=2", "1link fault 'drop=2' is not understood"},
        {"1 slow-write 2000 UserSetSave;50", "0"},
        {"1 set Width 640", "0"},
        {"1 get Width 2", "0640\n1200\n"},
        {"2 get StreamChannelSourcePort", "020202\n"},
        {"1 get 0xA110", "00x00000280\n"},
        {"1 get UserDefinedName", "0left, eye\n"},
        {"1 set UserDefinedName right eye", "0"},
        {"all get UserDefinedName", "01 right eye\n2 "},
        {"1 set Width wide", "1'wide' is not a value for Width"},
        {"1 get 0x9000", "1nothing is at 0x00009000"},
        {"1 set 0x48000000 1", "10x48000000 does not take this value"},
        {"1 set WidthMax 5", "0"},                     // read-only for others
        {"2 get Width", "1'Width' is not a register"}, // its registers are somebody else's
        {"1 reboot=0", "0"},
        {"1 get Width", "01920"},
        {"1 statistics", "0readreg 0\n"},
        {tooLong.c_str(), "1gbe-simcam: the line is too long\n"},
    };
    for (const auto& row : rows) {
        const std::string got = control({row.command});
        EXPECT_EQ(got[0], row.reply[0]) << row.command << ": " << got;
        EXPECT_THAT(got, HasSubstr(row.reply + 1)) << row.command;
        EXPECT_EQ(got == "0 ", row.reply == std::string("0")) << row.command;
    }
    EXPECT_EQ(
        test::Program::run(GBE_SIMCAM, {"--interface", "camera0", "--control", "sock"}).err,
        "gbe-simcam: control socket 'sock' is in use by another process\n");
    EXPECT_EQ(control({"quit"}), "0 ");
    const auto outcome = program.wait();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(
        outcome.out, HasSubstr("camera 1: ready, MAC 02:11:22:33:44:55, address 169.254.7.100 mask "
                               "255.255.0.0 (as set), on camera0\n"));
    EXPECT_EQ(access("sock", F_OK), -1) << "removed";
    test::Program next(GBE_SIMCAM, {"--interface", "camera0", "--control", "sock", "--camera", "state=kept"});
    EXPECT_TRUE(eventually([] { return control({"1 get UserDefinedName"}) == "0 right eye\n"; }));
}

TEST_F(GbeSimcam, FindsAnAddressOnAQuietWire) {
    const test_support::NetNamespace::Inside inside(wire.camera);
    test::Program program(GBE_SIMCAM, {"--interface", "camera0", "--camera", "probe-second=20"});
    EXPECT_TRUE(program.prints("mask 255.255.0.0 (link-local), on camera0\n"));
}

TEST_F(GbeSimcam, SaysWhyItDoesNotStart) {
    std::ofstream("bad.conf") << "[camera]\nmac = 02:00:00:00:00:01\n[board 0]\n";
    std::ofstream("state") << "PersistentIp = 0A\n";
    const struct {
        QStringList arguments;
        const char* error;
    } rows[] = {
        {{}, "--interface or --tap is wanted (see --help)"},
        {{"--interface", "camera0", "--camera", "mac=02:00:00:00:00:01", "--camera", "mac=02:00:00:00:00:01"},
         "two cameras have the MAC address 02:00:00:00:00:01"},
        {{"--interface", "camera0", "--config", "bad.conf"}, "bad.conf:3: not a section: [camera] is one"},
        {{"--interface", "camera0", "--camera", "state=state"},
         "camera 1: camera: state 'state': line 1 is not what a camera keeps"},
        {{"control", "none", "list"}, "no gbe-simcam listens on 'none'"},
    };
    const test_support::NetNamespace::Inside inside(wire.camera);
    for (const auto& row : rows) {
        const auto outcome = test::Program::run(GBE_SIMCAM, row.arguments);
        EXPECT_GT(outcome.status, 0) << row.error;
        EXPECT_THAT(outcome.err, testing::StartsWith("gbe-simcam: "));
        EXPECT_THAT(outcome.err, HasSubstr(row.error));
    }
}

TEST(PngPictures, AreReadAsTheyWereWritten) {
    const std::vector<std::uint8_t> bytes = {0, 1, 2, 127, 128, 200, 254, 255, 3,
                                             4, 5, 6, 7,   8,   9,   10,  11,  12};
    for (const bool colour : {false, true}) {
        const std::uint32_t width = colour ? 3 : 9;
        pictures::save("a.png", pictures::FileFormat::Png, {bytes, width, 2, colour, false});
        const auto picture = pictures::readPng("a.png");
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->colour, colour);
        EXPECT_EQ(picture->width * 100 + picture->height, width * 100 + 2);
        ASSERT_EQ(picture->samples.size(), bytes.size());
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            EXPECT_EQ(picture->samples[i], bytes[i] * 257);
        }
        std::filesystem::resize_file("a.png", std::filesystem::file_size("a.png") - 20);
        EXPECT_FALSE(pictures::readPng("a.png")) << "cut off";
    }
    EXPECT_FALSE(pictures::readPng("none.png"));
}

} // namespace
