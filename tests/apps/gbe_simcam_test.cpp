// gbe-simcam: its commands on cameras without a wire, and the whole program on one end of a virtual wire.
// The tests of gbe and of the whole system talk to its cameras.
#include "process.h"

#include "Console.h"
#include "bounds.h"
#include "configuration.h"
#include "simcam/text.h"
#include "support/net_namespace.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using namespace gbe_simcam;
using testing::HasSubstr;

// --- commands ---

class NoWire : public Wire {
public:
    void send(const std::uint8_t*, std::size_t) override {}
    std::span<const std::uint8_t> receive(Clock::time_point) override {
        std::unique_lock lock(m_mutex);
        m_wake.wait(lock, [this] { return m_over; });
        return {};
    }
    void interrupt() override {
        const std::scoped_lock lock(m_mutex);
        m_over = true;
        m_wake.notify_all();
    }
    Counters counters() override { return {1, 2, 3}; }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_over = false;
};

TEST(GbeSimcamConsole, TakesCommands) {
    std::string error;
    std::vector<ethernet::Settings> settings(2);
    settings[0] = {{"ip", "10.0.0.1"}};
    settings[1] = {{"ip", "10.0.0.2"}, {"description-text", "<RegisterDescription/>"}};
    ASSERT_TRUE(complete(settings, "seed", error));
    std::vector<Segment::Member> members;
    for (const auto& one : settings) {
        members.push_back({simcam::parseMac(one.at("mac")).value(), simcam::Camera::make(one, error)});
    }
    Segment segment(std::make_unique<NoWire>(), std::move(members));
    bool quit = false;
    Console console(segment, [&quit] { quit = true; });
    const struct {
        std::string command;
        bool ok;
        const char* reply; // within it
    } rows[] = {
        {"", true, ""},
        {"list", true,
         ", 10.0.0.2 mask 255.255.0.0, controlled by nobody|wire: 2 frames in, 1 out, 3 dropped"},
        {"0 list", false, "'0' is neither list, help, quit, all nor a camera from 1 to 2"},
        {"1 fault delay=500 x3 readreg", true, ""},
        {"all fault silent forever", true, ""},
        {"2 fault", true, "silent=0 forever"},
        {"all fault clear", true, ""},
        {"1 link drop=2", false, "link fault 'drop=2' is not understood"},
        {"1 slow-write 2000 UserSetSave;50", true, ""},
        {"1 set Width 640", true, ""},
        {"1 get Width 2", true, "640|1200"},
        {"1 get 0xA110", true, "0x00000280"},
        {"1 set UserDefinedName left eye", true, ""},
        {"all get UserDefinedName", true, "1 left eye|2 "},
        {"1 set Width wide", false, "'wide' is not a value for Width"},
        {"1 get 0x9000", false, "nothing is at 0x00009000"},
        {"1 set 0x48000000 1", false, "0x48000000 does not take this value"},
        {"1 set WidthMax 5", true, ""},                      // read-only for others
        {"2 get Width", false, "'Width' is not a register"}, // its registers are somebody else's
        {"1 reboot=0", true, ""},
        {"1 get Width", true, "1920"},
        {"1 statistics", true, "readreg 0|"},
        {std::string(kMaxCommand + 1, 'x'), false, "a command of more than 4096 bytes"},
        {"quit", true, ""},
    };
    for (const auto& row : rows) {
        const Reply reply = console.run(row.command);
        std::string all;
        for (const std::string& line : reply.lines) {
            all += (all.empty() ? "" : "|") + line;
        }
        EXPECT_EQ(all.empty(), *row.reply == '\0') << row.command;
        EXPECT_EQ(reply.ok, row.ok) << row.command << ": " << all;
        EXPECT_THAT(all, HasSubstr(row.reply)) << row.command;
    }
    EXPECT_TRUE(quit);
}

// --- the program ---

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
                     "ip=169.254.7.100,latency=0"});
    EXPECT_TRUE(eventually([] { return control({"list"}).starts_with("0 "); }));
    EXPECT_EQ(control({"1", "get", "UserDefinedName"}), "0 left, eye\n");
    EXPECT_EQ(control({std::string(5000, 'x').c_str()}), "1 gbe-simcam: the line is too long\n");
    EXPECT_EQ(
        test::Program::run(GBE_SIMCAM, {"--interface", "camera0", "--control", "sock"}).err,
        "gbe-simcam: control socket 'sock' is in use by another process\n");
    EXPECT_EQ(control({"1 set UserDefinedName right"}), "0 ");
    EXPECT_EQ(control({"quit"}), "0 ");
    const auto outcome = program.wait();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(
        outcome.out, HasSubstr("camera 1: ready, MAC 02:11:22:33:44:55, address 169.254.7.100 mask "
                               "255.255.0.0 (as set), on camera0\n"));
    EXPECT_EQ(access("sock", F_OK), -1) << "removed";
    test::Program next(GBE_SIMCAM, {"--interface", "camera0", "--control", "sock", "--camera", "state=kept"});
    EXPECT_TRUE(eventually([] { return control({"1 get UserDefinedName"}) == "0 right\n"; }));
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
        {{"--interface", "camera0", "--camera", "ip=10.0.0.1,ip=10.0.0.1"}, "'ip' is given twice"},
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
    const auto outcome = test::Program::run(
        "setpriv", {"--bounding-set=-net_raw", "--inh-caps=-net_raw", GBE_SIMCAM, "--interface", "camera0"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("setcap cap_net_raw+ep"));
}

} // namespace
