// Every example of gbe's help, run as it is printed: with a real gbe-service and the default board in
// software.
#include "process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

class GbeInAShell : public test::WithService {};

// Where "gbe" is this one.
QString shellPath() {
    return QString("PATH=%1:$PATH\n").arg(QFileInfo(GBE).path());
}

TEST_F(GbeInAShell, RunsTheExamplesOfEachVerbAsPrinted) {
    const test::Outcome outcome =
        test::Program("/bin/bash", {"-c", shellPath() + RUN_EXAMPLES}).wait(5 * test::kDeadlineMs);
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

TEST_F(GbeInAShell, CompletesFromWhatItKeptOfACamera) {
    EXPECT_EQ(test::Program::run(GBE, {"get", "Width"}).status, 0); // now it knows the camera
    const struct {
        const char* line;
        const char* words;
    } rows[] = {
        {"gbe des", "describe"},
        {"gbe ip s", "show set"},
        {"gbe help ip p", "port"},
        {"gbe get --js", "--json"},
        {"gbe get Wid", "WidthMax Width"},
        {"gbe get -q Wid", "WidthMax Width"}, // a flag takes no word
        {"gbe set ReverseX", "ReverseX="},
        {"gbe set PixelFormat=Mono12", "Mono12 Mono12Packed"}, // bash has cut the word at "="
        {"gbe set ReverseX=t", "true"},
        {"gbe exec StatisticsR", "StatisticsReset"},
        {"gbe --mac 02:53:43:00:00:0", "01"},
        {"gbe --ip 1.2.3.4 get Wid", ""}, // no camera that it knows
        {"gbe list --visibility ", "beginner expert guru invisible"},
        {"gbe grab --format p", "png pnm"},
        {"gbe xml -o ", ""},
    };
    QString script = shellPath() + ". " COMPLETION "\n";
    std::string expected;
    for (const auto& [line, words] : rows) {
        script +=
            QString(
                "COMP_LINE='%1' COMP_POINT=%2; COMPREPLY=(); _gbe 2>/dev/null; echo \"${COMPREPLY[*]}\"\n")
                .arg(line)
                .arg(std::string(line).size());
        expected += std::string(words) + "\n";
    }
    EXPECT_EQ(test::Program::run("/bin/bash", {"-c", script}).out, expected);
}

TEST_F(GbeInAShell, TakesTheCameraFromTheEnvironment) {
    const struct {
        const char* line;
        int status;
        const char* err;
    } rows[] = {
        {"GBE_CAMERA=port:0 gbe info", 0, ""},
        {"GBE_CAMERA=port:1 gbe info", 3, "gbe: camera on board 0 port 1: no cameras found (-40023)"},
        {"GBE_CAMERA=board:3,port:1 gbe --port 0 info", 0, ""}, // the command line wins
        {"GBE_CAMERA=port:0,name:a,b gbe info", 3, "gbe: camera \"a,b\": camera does not exist (-40024)"},
        {"GBE_CAMERA=name: gbe info", 2, "gbe: GBE_CAMERA: \"\" is not a name\n"},
        {"GBE_CAMERA=port:4 gbe info", 2, "gbe: GBE_CAMERA: \"4\" is not a number from 0 to 3\n"},
    };
    for (const auto& [line, status, err] : rows) {
        const test::Outcome outcome = test::Program::run("/bin/bash", {"-c", shellPath() + line});
        EXPECT_EQ(outcome.status, status) << line;
        EXPECT_THAT(outcome.err, testing::StartsWith(err)); // behind it: why
        EXPECT_EQ(outcome.err.empty(), status == 0);
    }
}

} // namespace
