// gbe read, write, top, capture and report over a virtual Ethernet, while another program has images come.
#include "common/PcapngFile.h"
#include "process.h"
#include "support/net_namespace.h"
#include "system/dissector.h"

#include <gmock/gmock.h>

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <filesystem>
#include <iterator>
#include <map>

namespace {

using test::Outcome;
using test::Program;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kMac = "00:11:22:a3:b4:c5";
constexpr const char* kIp = "169.254.77.99";
constexpr const char* kOtherMac = "00:11:22:bf:0e:0d"; // of a camera without a name and a description

// For the first camera, unless the words say otherwise.
Outcome gbe(const QString& words) {
    return Program::run(
        GBE, (words.startsWith("--") ? QStringList{} : QStringList{"--mac", kMac}) + words.split(' '));
}

// The service on one side, a camera on the other.
class Tools : public testing::Test {
protected:
    void SetUp() override {
        if (!wire.error().empty()) {
            GTEST_SKIP() << wire.error();
        }
        inside.emplace(wire.host);
        service.emplace();
        ASSERT_TRUE(service->answers());
        const test_support::NetNamespace::Inside there(wire.camera);
        camera.emplace(
            GBE_SIMCAM,
            QStringList{
                "--interface", "camera0", "--control", "camera.sock", "--camera",
                QString("name=Gerda's,serial=SN-4711,mac=%1,ip=%2").arg(kMac, kIp), "--camera",
                QString("serial=SN-4712,mac=%1,ip=169.254.77.100,first-url=Local:no.xml;10000000;8,"
                        "second-url=http://camera/no.xml")
                    .arg(kOtherMac)});
        ASSERT_TRUE(camera->prints("camera 2: ready"));
    }

    const test_support::VirtualWire wire;
    const test::EnvironmentFile board{"LIOMOL_SOFTBOARD", "[board 0 port 0]\ninterface = host0\n"};
    std::optional<test_support::NetNamespace::Inside> inside;
    std::optional<test::ServiceProcess> service;
    std::optional<Program> camera;
};

TEST_F(Tools, RegistersByNameAndByAddress) {
    const struct {
        const char* words;
        int status;
        const char* out; // a part of it
        const char* err = "";
    } rows[] = {
        {"read SerialNumber", 0, "0x000000d8  SerialNumber    \"SN-4711\"\n"},
        {"read -q 0x8 8", 0, "0000001122a3b4c5\n"},
        {"read 0xd8 17", 0, "000000d8  53 4e 2d 34 37 31 31 00  "},
        {"read currentip", 0, "0xa9fe4d63  169.254.77.99\n"},
        {"read --json HeartbeatTimeout", 0, "\"name\": \"HeartbeatTimeout\""},
        {"write StreamChannelPacketDelay 0x00000064", 0, ""},
        {"read StreamChannelPacketDelay", 0, "0x00000064  100\n"},
        {"write 0xd08 00 00 01 00", 0, ""},
        {"read -q 0xd08", 0, "00000100\n"},
        {"write UserDefinedName --text bench", 0, ""},
        {"read -q UserDefinedName", 0, "62656e63680000000000000000000000\n"},
        {"read -o name.bin UserDefinedName", 0, ""},
        {"write UserDefinedName -i name.bin", 0, ""},
        {"read", 0, "UserDefinedName"},
        {"read Hartbeattimeout", 2, "", "HeartbeatTimeout?"},
        {"read Width", 2, "", "gbe get Width"},
        {"read Widht", 2, "", "nor a feature; Width?"},
        {"write HeartbeatTimeout 0123", 2, "", "has 4 bytes, not 2"},
        {"write 0xd08 012", 2, "", "is not bytes"},
        {"write SerialNumber --text x", 1, "", "SerialNumber: "},
        // The other camera.
        {"--mac 00:11:22:bf:0e:0d write 0xd08 00 00 01 00", 0, ""},
        {"--mac 00:11:22:bf:0e:0d read -q 0xd04 8", 0, "00000100\n"},
        {"--mac 00:11:22:bf:0e:0d write UserDefinedName --text bare", 0, ""},
        {"--mac 00:11:22:bf:0e:0d read", 0, "\"bare\""},
        {"--mac 00:11:22:bf:0e:0d write SerialNumber --text x", 1, "", "SerialNumber: "},
        {"--mac 00:11:22:bf:0e:0d write Width 00000000", 1, "", "xml read exception (-40020): first URL"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const Outcome outcome = gbe(row.words);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(row.out));
        EXPECT_THAT(outcome.err, HasSubstr(row.err));
        EXPECT_EQ(outcome.err.empty(), *row.err == '\0') << outcome.err;
    }
    const char* const script =
        "printf 'scan --json\nread -q 0xd8 8\n' | " GBE " --mac 00:11:22:bf:0e:0d shell";
    const Outcome shell = Program::run("/bin/sh", {"-c", script});
    EXPECT_EQ(shell.status, 0);
    EXPECT_THAT(shell.out, testing::EndsWith("]\n534e2d3437313200\n"));
    EXPECT_THAT(
        shell.err, testing::ContainsRegex("^gbe: .*\\(-40020\\): .*; registers and memory [^\n]*\n$"));
}

// A text in the format of OpenMetrics; its samples by name and labels.
std::map<std::string, double> readMetrics(const std::string& text) {
    static const QRegularExpression sample(
        R"re(^(\w+)(\{(?:\w+="(?:[^"\\]|\\["\\n])*",?)*\}) ([0-9.e+-]+)$)re");
    static const QRegularExpression meta("^# (TYPE|UNIT|HELP) (\\w+) (.+)$");
    std::map<std::string, double> samples;
    QStringList families;
    QString family;
    QString type;
    QStringList lines = QString::fromStdString(text).split('\n');
    EXPECT_EQ(lines.takeLast().toStdString(), "") << "behind the last line";
    EXPECT_EQ(lines.takeLast().toStdString(), "# EOF");
    for (const QString& line : lines) {
        SCOPED_TRACE(line.toStdString());
        if (const auto told = meta.match(line); told.hasMatch()) {
            if (told.captured(1) == "TYPE") {
                family = told.captured(2);
                type = told.captured(3);
                EXPECT_FALSE(families.contains(family)) << "in two pieces";
                families += family;
            }
            EXPECT_EQ(told.captured(2), family);
        } else if (const auto value = sample.match(line); value.hasMatch()) {
            const QStringList ends = type == "counter"   ? QStringList{"_total"}
                                     : type == "summary" ? QStringList{"_count", "_sum"}
                                                         : QStringList{""};
            const QString name = value.captured(1);
            EXPECT_TRUE(name.startsWith(family) && ends.contains(name.mid(family.size())));
            const std::string place = (name + value.captured(2)).toStdString();
            EXPECT_TRUE(samples.emplace(place, value.captured(3).toDouble()).second);
        } else {
            ADD_FAILURE() << "not understood";
        }
    }
    return samples;
}

TEST_F(Tools, SeeAndCaptureWhatAnotherProgramDoes) {
    Program stream(GBE, {"--mac", kMac, "stream", "--json"});
    ASSERT_TRUE(stream.prints("framesPerSecond"));
    QJsonObject link;
    const auto isSeen = [&] {
        const Outcome top = gbe("top --once --json --interval 0.1");
        const QJsonObject all = QJsonDocument::fromJson(top.out.c_str()).object();
        for (const QJsonValue& each : all["links"].toArray()) {
            link = each["camera"] == kMac ? each.toObject() : link;
        }
        const QJsonArray ports = all["ports"].toArray();
        return ports.size() == 4 && ports[0]["interface"] == "host0" && ports[0]["linkUp"] == true &&
               link["use"] == "control" && link["images"].toInt() > 0 && link["heartbeats"].toInt() > 0;
    };
    EXPECT_TRUE(eventually(isSeen)) << QJsonDocument(link).toJson().toStdString();
    EXPECT_EQ(link["program"], "gbe");
    EXPECT_EQ(link["streamOpen"], true);
    EXPECT_GT(link["roundTripMicroseconds"].toDouble(), 0);
    EXPECT_THAT(
        gbe("top --once --interval 0.1").out,
        AllOf(HasSubstr("Gerda's"), HasSubstr("  control"), HasSubstr("host0")));
    double images = 0;
    double isUp = 0;
    for (const auto& [name, value] : readMetrics(gbe("top --openmetrics").out)) {
        images += name.starts_with("liomol_images_total") ? value : 0;
        isUp += name.starts_with("liomol_link_up") && name.find("host0") != name.npos ? value : 0;
    }
    EXPECT_GT(images, 0);
    EXPECT_EQ(isUp, 1);

    std::filesystem::remove("beside.pcapng");
    Program capture(GBE, {"capture", "--stream", "-o", "beside.pcapng"});
    EXPECT_TRUE(eventually([] { return QFileInfo("beside.pcapng").size() > 100'000; }));
    capture.signal(SIGINT);
    const Outcome captured = capture.wait();
    EXPECT_EQ(captured.status, 0) << captured.err;
    EXPECT_THAT(captured.err, HasSubstr(" frames"));
    EXPECT_NE(tshark("beside.pcapng", "-c 1000 -Y 'udp.length > 1000'"), "");
    EXPECT_EQ(tshark("beside.pcapng", "-c 1000 -Y '_ws.malformed || udp.checksum.status == 0'"), "");
    EXPECT_EQ(
        Program::run("setpriv", {"--bounding-set=-net_raw", "--inh-caps=-net_raw", GBE, "capture", "-o", "x"})
            .status,
        7);
}

// These take longest: a ctest of their own.
class ToolsAndTheLink : public Tools {};

TEST_F(ToolsAndTheLink, IsWaitedForByStreamAndEndsGrab) {
    const auto start = [](const char* words) {
        return std::make_unique<Program>(
            "/bin/sh", QStringList{"-c", QString("exec " GBE " --mac %1 %2 2>&1").arg(kMac, words)});
    };
    const auto stream = start("stream");
    ASSERT_TRUE(stream->prints("\"framesPerSecond\":"));
    ASSERT_TRUE(wire.host.shell("ip link set host0 down"));
    EXPECT_TRUE(stream->prints("gbe: the link is gone: "));
    ASSERT_TRUE(wire.host.shell("ip link set host0 up"));
    EXPECT_TRUE(stream->prints("gbe: the link is back\n"));
    EXPECT_TRUE(stream->printsLike("\"framesPerSecond\":[1-9]"));
    ASSERT_TRUE(wire.host.shell("ip link set host0 down"));
    const Outcome lost = stream->wait();
    EXPECT_EQ(lost.status, 6);
    EXPECT_THAT(
        lost.out,
        AllOf(
            HasSubstr("\"whole\":true"),
            HasSubstr(
                "gbe: control of the camera is lost: the camera has been silent for longer than the ")));
    ASSERT_TRUE(wire.host.shell("ip link set host0 up"));
    EXPECT_TRUE(eventually([] { return gbe("info").status == 0; })) << "the kernel takes a moment";

    const auto images = start("grab --timeout 60 -n 100000 --json");
    ASSERT_TRUE(images->prints("\"blockId\":"));
    ASSERT_TRUE(wire.host.shell("ip link set host0 down"));
    const Outcome ended = images->wait();
    EXPECT_EQ(ended.status, 6);
    EXPECT_THAT(ended.out, testing::ContainsRegex("gbe: after [0-9]+ of 100000 images the link is gone: "));
}

TEST_F(ToolsAndTheLink, IsKeptWhileAProgramStandsStill) {
    const auto reads = [] {
        const Outcome outcome = Program::run(GBE_SIMCAM, {"control", "camera.sock", "1 statistics"});
        const auto found = QRegularExpression("readreg (\\d+)").match(QString::fromStdString(outcome.out));
        EXPECT_TRUE(found.hasMatch()) << outcome.out << outcome.err;
        return found.captured(1).toInt();
    };
    Program stream(GBE, {"--mac", kMac, "stream", "--json", "--keep-control", "60"});
    ASSERT_TRUE(stream.prints("framesPerSecond"));
    stream.signal(SIGSTOP);
    const int before = reads();
    EXPECT_TRUE(eventually([&] { return reads() > before + 2; })) << "somebody else's";
    stream.signal(SIGCONT);
    stream.signal(SIGINT);
    EXPECT_EQ(stream.wait().status, 0);
}

std::string bytesOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// All files of an archive, one behind the other.
std::string unpacked(const std::string& archive) {
    std::filesystem::remove_all("liomol-report");
    const Outcome tar = Program::run("tar", {"-xzvf", QString::fromStdString(archive)});
    EXPECT_EQ(tar.status, 0) << tar.err;
    std::string all;
    for (const char* name :
         {"README.txt", "versions.txt", "doctor.txt", "service.txt", "links.json", "softboard.conf",
          "camera.txt", "description.xml", "features.txt", "capture.pcapng"}) {
        EXPECT_THAT(tar.out, HasSubstr(name));
        all += bytesOf(std::filesystem::path("liomol-report") / name);
    }
    return all;
}

TEST_F(Tools, CaptureAroundACommandAndReport) {
    const Outcome around = gbe("capture -o around.pcapng -- set Width=640");
    EXPECT_EQ(around.status, 0) << around.err;
    EXPECT_EQ(tshark("around.pcapng", "-Y '_ws.malformed || udp.checksum.status == 0'"), "");
    EXPECT_NE(tshark("around.pcapng", "-Y 'gvcp.cmd.command == 0x0082'"), "");
    EXPECT_THAT(
        bytesOf("around.pcapng"), AllOf(HasSubstr("gbe set Width=640"), HasSubstr("ended with status 0")));
    EXPECT_EQ(gbe("capture -o failed.pcapng -- set Width=1").status, 5);

    const std::string ip("\xa9\xfe\x4d\x63", 4);
    const std::string mac("\x00\x11\x22\xa3\xb4\xc5", 6);
    const Outcome open = gbe("--port 0 report --yes -o open.tar.gz");
    EXPECT_EQ(open.status, 0) << open.err;
    EXPECT_THAT(
        unpacked("open.tar.gz"), AllOf(
                                     HasSubstr(kOtherMac), HasSubstr(kIp), HasSubstr("SN-4711"),
                                     HasSubstr("Gerda's"), HasSubstr(ip), HasSubstr(mac)));
    const Outcome anonymous = gbe("--port 0 report -o anonymous.tar.gz"); // nobody to ask
    EXPECT_EQ(anonymous.status, 0) << anonymous.err;
    const std::string all = unpacked("anonymous.tar.gz");
    for (const std::string& secret :
         {std::string(kMac), std::string(kOtherMac), std::string(kIp), std::string("SN-4711"),
          std::string("Gerda"), ip, mac, mac.substr(2)}) {
        EXPECT_EQ(all.find(secret), all.npos) << secret;
    }
    EXPECT_THAT(
        all,
        AllOf(
            HasSubstr("00:11:22:00:00:"), HasSubstr("serial-1"), HasSubstr("name-1"), HasSubstr("Width = ")));
    EXPECT_EQ(
        tshark(
            "liomol-report/capture.pcapng",
            "-Y '_ws.malformed || ip.checksum.status == 0 || udp.checksum.status == 0'"),
        "");
    EXPECT_NE(tshark("liomol-report/capture.pcapng", "-Y gvcp -V").find("serial-1"), std::string::npos);
}

} // namespace
