// The whole main job over a virtual Ethernet: the service and gbe on one side, a camera in software on the
// other, each a process in a network namespace of its own.
#include "apps/process.h"
#include "support/net_namespace.h"
#include "support/write_file.h"
#include "system/dissector.h"

#include <gmock/gmock.h>

#include <QtCore/QFile>

#include <cstdlib>
#include <memory>

namespace {

using test::Outcome;
using test::Program;
using test_support::NetNamespace;
using test_support::VirtualWire;
using testing::HasSubstr;

const char* const kBoard = "[board 0]\n[board 0 port 0]\ninterface = host0\n";

class WireTest : public testing::Test {
protected:
    // Made while the process has one thread.
    static void SetUpTestSuite() {
        s_wire = std::make_unique<VirtualWire>();
        writeFile("board.conf", kBoard);
        qputenv("LIOMOL_SOFTBOARD", "board.conf");
    }
    static void TearDownTestSuite() { s_wire.reset(); }

    void SetUp() override {
        if (!s_wire->error().empty()) {
            GTEST_SKIP() << s_wire->error();
        }
    }

    // Takes every right from a program but that to raw frames, so that it stands like one of an ordinary user
    // who was given that. It stays root, of the machine or of the test's own user namespace, and may pass
    // through folders: the build may lie where no other user gets in.
    static QStringList onlyRawFrames() {
        return {"setpriv", "--inh-caps=-all", "--bounding-set=-all,+net_raw,+dac_override", "--no-new-privs"};
    }

    // An ordinary user, without any right; of the group video or not.
    static QStringList user(bool member) {
        return {"setpriv", "--reuid=12345", "--regid=12345", member ? "--groups=video" : "--clear-groups"};
    }

    void startService(const QStringList& as, const QStringList& arguments = {}) {
        m_as = as;
        m_service = start(s_wire->host, GBE_SERVICE, QStringList{"--state", "state"} + arguments);
        ASSERT_TRUE(eventually(test::serviceAnswers));
    }
    void startAll(const QStringList& as = {}, const QStringList& arguments = {}) {
        startService(as, arguments);
        m_camera = start(
            s_wire->camera, GBE_SIMCAM,
            {"--interface", "camera0", "--camera", "mac=02:00:00:00:00:41,ip=169.254.1.65,name=over there"});
        ASSERT_TRUE(eventually([&] {
            return start(s_wire->host, GBE, {"scan"})->wait().out.find("over there") != std::string::npos;
        }));
    }
    void stopAll() {
        for (Program* program : {m_camera.get(), m_service.get()}) {
            program->signal(SIGTERM);
            const Outcome outcome = program->wait();
            EXPECT_EQ(outcome.status, 0);
            EXPECT_EQ(outcome.err, "");
        }
    }

    std::unique_ptr<Program> start(const NetNamespace& space, const char* file, QStringList arguments) const {
        const NetNamespace::Inside inside(space);
        const QStringList all = m_as + QStringList{file} + arguments;
        return std::make_unique<Program>(all[0].toUtf8().constData(), all.mid(1));
    }
    // A program that must succeed; `out` is what it prints, in parts, '|' between them.
    static void expectOutput(Program& program, const char* out) {
        SCOPED_TRACE(out);
        const Outcome outcome = program.wait();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        for (const QString& part : QString(out).split('|')) {
            EXPECT_THAT(outcome.out, HasSubstr(part.toStdString()));
        }
    }
    void expectOutput(const QStringList& gbe, const char* out) const {
        SCOPED_TRACE(gbe.join(' ').toStdString());
        expectOutput(*start(s_wire->host, GBE, gbe), out);
    }

    static inline std::unique_ptr<VirtualWire> s_wire;
    QStringList m_as;
    std::unique_ptr<Program> m_camera;
    std::unique_ptr<Program> m_service;
};

TEST_F(WireTest, TheMainJobIsSoundToAnIndependentDissector) {
    const auto recorder = start(s_wire->host, "dumpcap", {"-q", "-i", "host0", "-w", "wire.pcapng"});
    ASSERT_TRUE(eventually([] { return QFile("wire.pcapng").size() > 0; }));
    startAll();
    // These look without taking control, beside those that do.
    const auto info = start(s_wire->host, GBE, {"info", "--mac", "02:00:00:00:00:41"});
    const auto cameras = start(s_wire->host, EXAMPLES "list_cameras", {});
    expectOutput(
        {"set", "--mac", "02:00:00:00:00:41", "Width=640", "PixelFormat=Mono16", "DeviceUserID=here"}, "");
    expectOutput({"--port", "0", "get", "Width", "PixelFormat", "DeviceUserID"}, "640|Mono16|here");
    expectOutput(*info, "02:00:00:00:00:41|SimCam 2M");
    expectOutput(*cameras, "02:00:00:00:00:41");
    expectOutput(*start(s_wire->host, EXAMPLES "acquire", {}), "the camera has sent ");
    stopAll();
    recorder->signal(SIGINT);
    EXPECT_EQ(recorder->wait().status, 0);
    expectSoundSession("wire.pcapng");
}

TEST_F(WireTest, AWatchEndsWithTheReasonWhenTheCameraIsLost) {
    startAll();
    const auto holder =
        start(s_wire->host, "/bin/sh", {"-c", "echo 'watch DeviceUptime' | " GBE " --port 0 shell"});
    ASSERT_TRUE(holder->prints("DeviceUptime"));
    const Outcome beside = start(s_wire->host, GBE, {"--port", "0", "save", "-"})->wait();
    EXPECT_EQ(beside.status, 0);
    EXPECT_THAT(beside.err, HasSubstr("selectors are left where they are"));
    EXPECT_THAT(beside.out, HasSubstr("\nWidth=1920\n"));
    const auto reader = start(s_wire->host, GBE, {"--port", "0", "watch", "DeviceUptime"});
    ASSERT_TRUE(reader->prints("DeviceUptime"));
    m_camera->signal(SIGKILL);
    for (Program* const watch : {holder.get(), reader.get()}) {
        const Outcome outcome = watch->wait();
        EXPECT_EQ(outcome.status, 6);
        EXPECT_THAT(outcome.err, HasSubstr("lost: the camera does not answer any more\n"));
    }
}

TEST_F(WireTest, TheRightToRawFramesIsEnough) {
    startAll(onlyRawFrames());
    expectOutput({"--port", "0", "set", "Width=320"}, "");
    const auto stream = start(s_wire->host, GBE, {"--port", "0", "stream", "--exclusive"});
    EXPECT_TRUE(stream->prints("\n"));
    EXPECT_THAT(start(s_wire->host, GBE, {"--port", "0", "get", "Width"})->wait().err, HasSubstr("(-40022)"));
    stream->signal(SIGINT);
    EXPECT_EQ(stream->wait().status, 0);
    expectOutput({"--port", "0", "get", "Width"}, "320");
    stopAll();
}

// As it is installed: the system's file names the interface, and the group may run who lends sockets.
TEST_F(WireTest, MembersOfTheGroupNeedNoRight) {
    writeFile(LIOMOL_BOARD_FILE, kBoard);
    writeFile("service.conf", "socket-group = video\n");
    // An earlier test's locks are root's, and what takes their place would not be this test's alone.
    if (std::system(
            "rm -rf locks pictures && mkdir -m 0777 pictures && chmod 0755 . && chmod 0644 " LIOMOL_BOARD_FILE
            " && mkdir -p lender && install -m 0750 -g video " BUILT_NETPORT " lender/ && "
            "setcap cap_net_raw+ep " LIOMOL_NETPORT) != 0) {
        GTEST_SKIP() << "no group video, or files in this folder can have no capability";
    }
    if (std::system((user(true).join(' ') + " " GBE " --version >version").toLocal8Bit()) != 0) {
        GTEST_SKIP() << "other users get not into the build's folder";
    }
    const QByteArray elsewhere = qgetenv("LIOMOL_SOFTBOARD");
    qunsetenv("LIOMOL_SOFTBOARD");
    startAll({}, {"--config", "service.conf"});
    m_as = user(true);
    expectOutput({"--port", "0", "set", "Width=320", "Height=240"}, "");
    expectOutput({"--port", "0", "get", "Width"}, "320");
    expectOutput({"--port", "0", "grab", "-n", "3", "-o", "pictures/%d.png"}, "320x240");
    expectOutput({"doctor"}, "All is well.");
    m_as = user(false);
    EXPECT_THAT(
        start(s_wire->host, GBE, {"doctor"})->wait().out,
        HasSubstr("FAIL  port 0    no right to raw frames on host0\n"
                  "        mend    sudo usermod -aG video $USER, then log in again\n"));
    m_as = user(true);
    ASSERT_EQ(std::system("chmod 0666 " LIOMOL_BOARD_FILE), 0);
    const Outcome outcome = start(s_wire->host, GBE, {"--port", "0", "get", "Width"})->wait();
    EXPECT_THAT(
        outcome.err, HasSubstr("softboard: " LIOMOL_BOARD_FILE ":2: no right to use network interface "
                               "host0 for raw frames: " LIOMOL_BOARD_FILE
                               " may be written by others than root, so that it is not believed\n"));
    m_as.clear();
    stopAll();
    qputenv("LIOMOL_SOFTBOARD", elsewhere);
}

} // namespace
