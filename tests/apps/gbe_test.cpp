// gbe and the example programs as real processes, with a real gbe-service and the default board in software.
#include "process.h"
#include "support/german_locale.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using test::fault;
using test::Outcome;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

Outcome gbe(const QStringList& arguments) {
    return test::Program::run(GBE, arguments);
}

// Runs gbe with each row's arguments, a few at a time: most of a run is waiting for answers to a scan.
template<typename Rows, typename Check> void runAll(const Rows& rows, Check check) {
    constexpr std::size_t kAtOnce = 8;
    for (std::size_t first = 0; first < std::size(rows); first += kAtOnce) {
        const std::size_t count = std::min(kAtOnce, std::size(rows) - first);
        std::vector<std::unique_ptr<test::Program>> programs;
        for (std::size_t i = first; i < first + count; ++i) {
            programs.push_back(std::make_unique<test::Program>(GBE, rows[i].arguments));
        }
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE(rows[first + i].arguments.join(' ').toStdString());
            check(rows[first + i], programs[i]->wait());
        }
    }
}

class Gbe : public test::WithService {};

TEST_F(Gbe, WhatItPrintsAndNoFileMore) {
    const QStringList before = QDir().entryList(QDir::AllEntries);
    const struct {
        QStringList arguments;
        const char* out; // matched in parts, '|' between them
    } rows[] = {
        {{"boards"}, "BOARD|PORT 0|\n0      up      down"},
        {{"scan"}, "BOARD  PORT  MAC|  IP  |\n0      0     |  169.254."},
        {{"info", "--port", "0"}, "MAC|Manufacturer|Model|Serial number"},
        {{"--port", "0", "get", "Width", "PixelFormat"}, "Width        1920\n|PixelFormat  Mono8\n"},
        {{"--port", "0", "exec", "TimestampLatch"}, ""},
        {{"rescan", "--port", "1"}, ""},
        {{"list", "--port", "0"}, "ImageFormatControl\n|  Width |integer|PixelFormat|Mono8"},
        {{"list", "AnalogControl", "--selectors"}, "  Gain[GainSelector=Red]  |  GammaEnable  "},
        {{"list", "--match", "EXPOSUREt", "--json"}, "\"name\": \"ExposureTime\"|\"value\": 10000\n"},
        {{"get", "-q", "DeviceClockFrequency", "ReverseX", "LineStatusAll", "UserData"},
         "74250000\nfalse\n0x0\n0x00000000000000000000000000000000\n"},
        {{"set", "ExposureTime=9.9s", "ExposureTime+=100ms", "Width-=1904", "Height=0x10"}, ""},
        {{"describe", "Gamma"}, "Available by  GammaEnable = false|Limits        0.25 to 4|GammaReg"},
        {{"describe", "Width", "--json"},
         "\"lockedBy\": [\n        \"TLParamsLocked = 0\"|\"OffsetX\": [\n            \"limits\""},
        {{"--port", "0", "xml"}, "<?xml|<RegisterDescription|</RegisterDescription>"},
        {{"--version"}, "gbe 0."},
    };
    runAll(rows, [](const auto& row, const Outcome& outcome) {
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        for (const QString& part : QString(row.out).split('|')) {
            EXPECT_THAT(outcome.out, HasSubstr(part.toStdString()));
        }
    });
    EXPECT_EQ(QDir().entryList(QDir::AllEntries), before);
}

TEST_F(Gbe, MistakesAreOneLineWithTheCode) {
    const struct {
        QStringList arguments;
        std::string err;
        int status = 1;
    } rows[] = {
        {{"--port", "0", "get", "Widht"},
         "gbe: Widht: " + fault(GBE_ERROR_ILLEGAL_NODE, ": no such feature; Width, WidthMax?")},
        {{"--port", "0", "get", "Nonsense"},
         "gbe: Nonsense: " + fault(GBE_ERROR_ILLEGAL_NODE, ": no such feature")},
        {{"--port", "0", "set", "Width=1000000"},
         "gbe: Width: " + fault(GBE_ERROR_ILLEGAL_VALUE, ": 1000000 is not within 16..1920 px in steps of 4"),
         5},
        {{"--port", "0", "set", "ExposureTime=-1"},
         "gbe: ExposureTime: " + fault(GBE_ERROR_ILLEGAL_VALUE, ": -1 is not within 10..10000000 us"),
         5},
        {{"--mac", "02:00:00:00:00:99", "info"},
         "gbe: camera 02:00:00:00:00:99 on board 0: " +
             fault(
                 GBE_ERROR_CAMERA_DOES_NOT_EXIST,
                 ": no camera that the last scan of the port has found has the address 02:00:00:00:00:99"),
         3},
        {{"--port", "0", "set", "TriggerMode=Maybe"},
         "gbe: TriggerMode: " + fault(GBE_ERROR_ILLEGAL_VALUE, ": Maybe is none of Off, On"),
         5},
        {{"--port", "0", "exec", "Width"}, "gbe: Width: is no command; its kind is integer\n"},
        {{"--port", "0", "set", "DeviceModelName=x"},
         "gbe: DeviceModelName: " + fault(GBE_ERROR_NOT_WRITABLE, ": read-only: the description says so"),
         5},
        {{"--port", "0", "set", "Width=wide"}, "gbe: Width: \"wide\" is not a number\n", 5},
        {{"set", "Width=16.5px"}, "gbe: Width: \"16.5px\" is not an integer\n", 5},
        {{"set", "ExposureTime=1kg"}, "gbe: ExposureTime: \"1kg\": its unit is us\n", 5},
        {{"set", "ReverseX+=1"}, "gbe: ReverseX: only numbers go in steps; its kind is boolean\n", 5},
        {{"set", "Width-=1908"},
         "gbe: Width: " + fault(GBE_ERROR_ILLEGAL_VALUE, ": 12 is not within 16..1920 px in steps of 4"),
         5},
        {{"set", "UserData=0x00"},
         "gbe: UserData: " + fault(GBE_ERROR_ILLEGAL_REGISTER_LENGTH, ": it has 16 bytes, and 1 were given"),
         5},
        {{"list", "AnalogContrl"}, "gbe: AnalogContrl: no such category; AnalogControl?\n", 2},
        {{"--port", "0", "set", "TimestampLatch=1"},
         "gbe: TimestampLatch: is a command: gbe exec TimestampLatch\n"},
        {{"--board", "3", "rescan"}, "gbe: rescan: board 3 cannot be opened\n"},
        {{"ip", "port", "0:1", "10.0.0.255/24"}, "gbe: port 0:1: not an IPv4 address of a station\n"},
        {{"ip", "port", "0:1", "ten"},
         "gbe: \"ten\" is not an IPv4 address with the length of its mask\n",
         2},
        {{"--port", "1", "info"},
         "gbe: camera on board 0 port 1: " +
             fault(GBE_ERROR_NO_CAMERAS_FOUND, ": no camera has answered a scan of board 0 port 1 so far"),
         3},
        {{"--port", "0", "xml", "-o", "no/such/folder"}, "gbe: no/such/folder: No such file or directory\n"},
    };
    runAll(rows, [](const auto& row, const Outcome& outcome) {
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.err, row.err);
        EXPECT_EQ(outcome.out, "");
    });
    const Outcome some = gbe({"--port", "0", "get", "Widht", "Width", "Hieght"});
    EXPECT_EQ(some.status, 1);
    EXPECT_EQ(some.out, "Width  1920\n");
    EXPECT_EQ(
        some.err,
        "gbe: Widht: " + fault(GBE_ERROR_ILLEGAL_NODE, ": no such feature; Width, WidthMax?") +
            "gbe: Hieght: " + fault(GBE_ERROR_ILLEGAL_NODE, ": no such feature; Height, HeightMax?"));
    const struct {
        QStringList arguments;
        std::string err; // behind "gbe: "
    } misread[] = {
        {{}, "which verb? (see gbe --help)"},
        {{"ip"}, "which verb? (see gbe ip --help)"},
        {{"jump"}, "no such verb: jump (see gbe --help)"},
        {{"gte", "Width"}, "no such verb: gte; get? (see gbe --help)"},
        {{"get", "--jsn"}, "unknown option --jsn; --json? (see gbe get --help)"},
        {{"--port", "4", "scan"}, "--port: \"4\" is not a number from 0 to 3 (see gbe scan --help)"},
        {{"scan", "--mac", "x"}, "--mac: \"x\" is not a MAC address (see gbe scan --help)"},
        {{"get"}, "NAME is required (see gbe get --help)"},
        {{"help", "gte"}, "no such verb: gte; get? (see gbe --help)"},
        {{"list", "--visibility", "all"},
         "--visibility: \"all\" is none of beginner, expert, guru, invisible (see gbe list --help)"},
        {{"grab", "-n", "0"}, "--count: \"0\" is not a number from 1 to 1000000000 (see gbe grab --help)"},
        {{"stream", "--seconds", "nan"},
         "--seconds: \"nan\" is not a number from 0.001 to 1000000 (see gbe stream --help)"},
    };
    runAll(misread, [](const auto& row, const Outcome& outcome) {
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.err, "gbe: " + row.err + "\n");
    });
}

TEST_F(Gbe, JsonIsJson) {
    const QJsonDocument scan = QJsonDocument::fromJson(gbe({"scan", "--json"}).out.c_str());
    ASSERT_EQ(scan.array().size(), 1);
    const QJsonObject camera = scan.array()[0].toObject();
    EXPECT_EQ(camera["port"].toInt(-1), 0);
    const Outcome info = gbe({"info", "--json", "--mac", camera["mac"].toString()});
    EXPECT_EQ(QJsonDocument::fromJson(info.out.c_str()).object(), camera) << info.err;
    const Outcome get = gbe({"--port", "0", "get", "--json", "Width", "Gain", "ReverseX", "PixelFormat"});
    const QJsonObject values = QJsonDocument::fromJson(get.out.c_str()).object();
    EXPECT_EQ(values["Width"], QJsonValue(1920)) << get.err;
    EXPECT_TRUE(values["Gain"].isDouble());
    EXPECT_EQ(values["ReverseX"], QJsonValue(false));
    EXPECT_EQ(values["PixelFormat"], QJsonValue("Mono8"));
    const Outcome doctor = gbe({"doctor", "--json"});
    EXPECT_EQ(QJsonDocument::fromJson(doctor.out.c_str()).object()["problems"], QJsonValue(0)) << doctor.out;
    const QJsonArray ports = QJsonDocument::fromJson(gbe({"ip", "show", "--json"}).out.c_str()).array();
    EXPECT_EQ(ports[0].toObject()["cameras"].toArray()[0].toObject()["mac"], camera["mac"]);
}

TEST_F(Gbe, TheFirstCameraIsTheFirstOfTheList) {
    const test::EnvironmentFile board(
        "LIOMOL_SOFTBOARD", "[board 0 port 0 camera]\nmac = 02:00:00:00:00:09\n"
                            "[board 0 port 0 camera]\nmac = 02:00:00:00:00:02\nname = low\n"
                            "[board 0 port 1 camera]\nmac = 02:00:00:00:00:01\n");
    EXPECT_THAT(gbe({"scan"}).out, MatchesRegex("BOARD.*\n.*:00:02 .*\n.*:00:09 .*\n.*:00:01 .*\n"));
    EXPECT_EQ(gbe({"get", "-q", "DeviceUserID"}).out, "low\n");
    EXPECT_THAT(
        gbe({"diff", "camera", "camera:nam:low"}).err, StartsWith("gbe: camera:nam:low: \"nam:low\""));
}

// Cameras in another subnet than the port are found, marked and brought in.
TEST_F(Gbe, AddressesAreShownAndSet) {
    const test::EnvironmentFile board(
        "LIOMOL_SOFTBOARD", "[board 0 port 0 camera]\nname = far\nip = 10.1.2.3\nmask = 255.255.255.0\n"
                            "[board 0 port 1 camera]\nip = 10.1.2.3\nmac = 02:00:00:00:00:99\n");
    const struct {
        QStringList arguments;
        std::string text; // of whichever output the exit status goes with
        int status = 0;
    } rows[] = {
        {{"scan"}, "  10.1.2.3 (other subnet)  "},
        {{"ip", "show"}, "2     02:"},
        {{"ip", "set", "far", "169.254.7.100"}, ": 10.1.2.3 -> 169.254.7.100\n"},
        {{"ip", "set", "02:00:00:00:00:99", "10.1.2.4", "--mask", "8"}, "-> 10.1.2.4 (other subnet)\n"},
        {{"ip", "set", "far", "169.254.7.101", "--json"}, "\"ip\": \"169.254.7.101\""},
        {{"ip", "set", "far", "auto"}, ": looks for an address itself"},
        {{"ip", "set", "10.1.2.3", "169.254.7.100"}, "gbe: 2 cameras are \"10.1.2.3\": name one by", 1},
        {{"--port", "2", "ip", "set", "02:00:00:00:00:98", "169.254.7.100"}, fault(GBE_ERROR_CONNECTION), 6},
        {{"ip", "set", "far", "169.254.7.42"}, "gbe: 169.254.7.42: is the address of port 0 itself\n", 1},
    };
    runAll(rows, [](const auto& row, const Outcome& outcome) {
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_THAT(row.status == 0 ? outcome.out : outcome.err, HasSubstr(row.text));
        EXPECT_EQ(row.status == 0 ? outcome.err : outcome.out, "");
    });
}

TEST_F(Gbe, SaysWhyACameraIsNotToBeHad) {
    const test::EnvironmentFile board(
        "LIOMOL_SOFTBOARD", "[board 0 port 0 camera]\nfaults = status=0x8006 forever readreg\n"
                            "[board 0 port 1 camera]\nfaults = silent forever readreg\n"
                            "[board 0 port 3 camera]\nfaults = status=0x8006 x1 readreg\n"
                            "[board 0 port 2 camera]\nfirst-url = Local:x.xml;10000000;8\nsecond-url = "
                            "http://camera/x.xml\n");
    const struct {
        QStringList arguments;
        std::string text;
        int status = 1;
    } rows[] = {
        {{"--port", "0", "get", "Width"},
         fault(GBE_ERROR_CAMERA_BUSY, ": another application has exclusive control of the camera"),
         4},
        {{"--port", "3", "get", "Width"}, "who controls it: control is taken for that\n", 0},
        {{"--port", "1", "get", "Width"}, fault(GBE_ERROR_XML_READ, ": the camera does not answer"), 6},
        {{"--port", "2", "get", "Width"},
         fault(
             GBE_ERROR_XML_READ,
             ": first URL \"Local:x.xml;10000000;8\": the camera was to give 8 bytes at 0x10000000: it answers "
             "GEV_STATUS_INVALID_ADDRESS (0x8003); second URL \"http://camera/x.xml\": nothing is fetched from "
             "the web")},
    };
    runAll(rows, [](const auto& row, const Outcome& outcome) {
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_THAT(outcome.err, HasSubstr(row.text));
    });
}

// The camera lives in the process that has opened the board: what is set is seen in the same run only.
TEST_F(Gbe, TheDemoTellsTheMainJob) {
    const Outcome outcome = gbe({"demo"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.err, "");
    for (const char* part :
         {"board 0 is open", "PixelFormat            Mono8 -> Mono16", "TimestampLatch         done",
          "  feature locked\n", "  feature not writable\n", "  illegal value\n", "  illegal node\n",
          "stopped"}) {
        EXPECT_THAT(outcome.out, HasSubstr(part));
    }
    // Numbers are the camera's, which leaves images out when it is short of time.
    std::size_t images = 0;
    for (std::size_t at = 0; (at = outcome.out.find(": 1920x1200 Mono8", at)) != std::string::npos; ++at) {
        ++images;
    }
    EXPECT_EQ(images, 5U) << outcome.out;
}

TEST_F(Gbe, TheExamplesRun) {
    const struct {
        const char* name;
        const char* out;
        QStringList arguments = {};
    } rows[] = {
        {"list_cameras", "port 0: "},
        {"read_write", "Width is 1920\nWidth was set to 960\n"},
        {"acquire", "the camera has sent "},
        {"save_image", "1920x1200 Mono8: image.pnm\n"},
        {"several_cameras", "Width 1920, read 100 times\n"},
        {"settings", "", {"save", "kept.txt"}},
        {"qt_signals", "Width is now 1920\n"},
#ifdef HAS_QT_WINDOW
        {"qt_window", "PayloadSize is now ", {"0", "0", "try"}},
#endif
    };
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::vector<std::unique_ptr<test::Program>> programs; // side by side: they mostly wait
    for (const auto& row : rows) {
        const std::string file = std::string(EXAMPLES) + row.name;
        programs.push_back(std::make_unique<test::Program>(file.c_str(), row.arguments));
        EXPECT_GT(test::Program::run(file.c_str(), {"3"}).status, 0) << "no such board";
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        const Outcome outcome = programs[i]->wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(rows[i].out));
    }
    const std::string kept = test::Program::run(EXAMPLES "settings", {"restore", "kept.txt"}).out;
    EXPECT_THAT(kept, HasSubstr(" values: 0 set, ")) << "of a camera that has them";
    EXPECT_THAT(kept, HasSubstr(", 0 refused\n"));
}

TEST_F(Gbe, APortKeepsTheAddressThatItWasGiven) {
    const Outcome given = gbe({"ip", "port", "0:2", "192.168.0.250/24"});
    EXPECT_EQ(given.status, 0) << given.err;
    EXPECT_EQ(given.out, "port 0:2: 192.168.0.250/24, for boards that are opened from now on\n");
    EXPECT_THAT(gbe({"ip", "show"}).out, HasSubstr("  192.168.0.250/24"));
    // The same from C, which the service's own address book tells of.
    EXPECT_EQ(Gbe_setPortAddress(0, 2, 0x0103A8C0, 0x00FFFFFF), 0);
    EXPECT_THAT(test::RawClient().ask("STATUS BOARD 0 PORT 2"), HasSubstr("PORT 2 IP 192.168.3.1\n"));
    EXPECT_EQ(Gbe_setPortAddress(0, 2, 0xFF03A8C0, 0x00FFFFFF), GBE_ERROR_ILLEGAL_PARAMETER) << "a broadcast";
    EXPECT_EQ(Gbe_rescan(3, -1), GBE_ERROR_BOARD_DOES_NOT_EXIST);
    char text[64];
    unsigned size = sizeof text;
    EXPECT_EQ(Gbe_askService("OPEN MAC x", text, &size), GBE_ERROR_TRANSPORT_LAYER);
    EXPECT_STREQ(text, "510 not a MAC address");
    size = 3;
    EXPECT_EQ(Gbe_askService("COUNT BOARDS", text, &size), GBE_ERROR_BUFFER_TOO_SMALL);
    EXPECT_EQ(Gbe_askService("COUNT\nBOARDS", text, &size), GBE_ERROR_ILLEGAL_PARAMETER);
}

TEST_F(Gbe, NumbersHaveAPointInEveryLocale) {
    ASSERT_TRUE(test_support::makeGermanLocale());
    for (const auto& [arguments, error] :
         {std::pair{"set ExposureTime=1700.5", ""},
          {"set ExposureTime=1700,5", "is not a number"},
          {"wait --timeout 59.5 Width=1920", ""},
          {"get AcquisitionFrameRate", ""}}) {
        const QString all = QString("LOCPATH=. LC_ALL=de_DE.UTF-8 " GBE " --port 0 ") + arguments;
        const Outcome outcome = test::Program::run("/usr/bin/env", all.split(' '));
        EXPECT_THAT(outcome.err, HasSubstr(error));
        EXPECT_EQ(outcome.err.empty(), *error == '\0');
        EXPECT_THAT(outcome.out, Not(HasSubstr(",")));
    }
}

TEST_F(Gbe, OutputThatCannotBeWrittenIsAnError) {
    for (const char* const line :
         {"list >/dev/full", "--help >/dev/full", "watch DeviceUptime >/dev/full",
          "get --json Width >/dev/full", "save - >/dev/full", "xml >/dev/full", "read -o - 0 4 >/dev/full",
          "list >&-"}) {
        const Outcome outcome = test::Program::run("/bin/sh", {"-c", QString(GBE " --port 0 ") + line});
        EXPECT_EQ(outcome.status, 1) << line;
        EXPECT_THAT(outcome.err, StartsWith("gbe: standard output: ")) << line;
    }
}

TEST_F(Gbe, TheDoctorGivesSilentCamerasTheirTimeAndNoMore) {
    std::string cameras;
    for (int i = 0; i < 64; ++i) {
        cameras += "[board 0 port 0 camera]\nfaults = silent forever readreg\n";
    }
    const test::EnvironmentFile board("LIOMOL_SOFTBOARD", cameras);
    const Outcome outcome = gbe({"--port", "0", "doctor"}); // within the deadline of a program
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        outcome.out,
        AllOf(
            HasSubstr("--    cameras   found by a scan: 64\n"), HasSubstr("camera    02:53:43:00:00:"),
            HasSubstr("--    cameras   not looked at: ")));
}

TEST(GbeWithoutService, SaysSo) {
    EXPECT_THAT(
        gbe({"doctor"}).out, AllOf(
                                 HasSubstr("FAIL  service   does not run: "),
                                 HasSubstr("--    board 0   not looked at\n1 problem.")));
    for (const char* command : {"boards", "scan", "demo"}) {
        const Outcome outcome = gbe({command});
        EXPECT_EQ(outcome.status, 8);
        EXPECT_THAT(
            outcome.err, HasSubstr(fault(
                             GBE_ERROR_BOARD_INITIALIZATION,
                             ": gbe-service does not run (at service.sock: No such file or directory)")));
    }
}

} // namespace
