// Verbs that keep, watch and script features, as real processes. Each has a camera in software of its own, so
// that what belongs together runs in one shell.
#include "process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

namespace {

using test::Outcome;
using test::Program;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;

class SettingsVerbs : public test::WithService {
protected:
    static Outcome shell(const QString& script, const QString& options = {}) {
        return Program::run("/bin/sh", {"-c", "printf '" + script + "' | " GBE " shell " + options});
    }
};

TEST_F(SettingsVerbs, AFileRestoresACameraInAShell) {
    const Outcome all = shell(R"(# a comment
scan
gbe set Width=1904 OffsetX=16 GammaEnable=true
save a.txt
set OffsetX=0 Width=640 GammaEnable=false
get -q GevCCP
load --dry-run a.txt
load --verify a.txt
get -q "Width" OffsetX
save b.txt
diff a.txt b.txt
set Width=320
diff a.txt camera
exit
)");
    EXPECT_EQ(all.status, 1) << "of diff";
    EXPECT_EQ(all.err, "gbe: line 13: ends the script, with status 1\n");
    EXPECT_THAT(all.out, MatchesRegex(R"(BOARD .*
0 .*SimCam.*
ControlAccess
line [0-9]+: Width: 640 would become 1904
line [0-9]+: OffsetX: 0 would become 16
line [0-9]+: GammaEnable: false would become true
line [0-9]+: Gamma: would become 1; now: feature not available .*
4 to be set, [0-9]+ were so already
3 set, [0-9]+ were so already
1904
16
-Width=1904
\+Width=320
)"));
}

TEST_F(SettingsVerbs, AScriptEndsAtItsFirstMistakeUnlessItKeepsGoing) {
    const struct {
        const char* script;
        const char* options;
        int status;
        const char* err;
        const char* out;
    } rows[] = {
        {"get -q Width\nset Width=1\nget -q Height\n", "", 5, "gbe: line 2: Width: illegal value.*\n",
         "1920\n"},
        {"set Width=1\nget -q Height\nget Nothing\nget -q Width", "-k", 5,
         "gbe: line 1: Width: .*\ngbe: line 3: Nothing: .*\n", "1200\n1920\n"},
        {"get \"Width\nget Width\n", "", 2, "gbe: line 1: a quotation mark is not closed\n", ""},
        {"shell", "", 2, "gbe: line 1: this is one already\n", ""},
        {"get -q Width\nexit now\n", "", 2, "gbe: line 2: not expected here: now\n", "1920\n"},
        {"save s.txt\nset Width=640\ndiff s.txt\nget Width", "", 1,
         "gbe: line 3: ends the script, with status 1\n", "-Width=1920\n+Width=640\n"},
        {"load none.txt", "", 2, "gbe: line 1: none.txt: No such file or directory\n", ""},
        {"wait Width=1920 GammaEnable=0\nwait --timeout 0.01 \"Width<1920\"", "", 1,
         "gbe: line 2: not within 0.01 s: Width is 1920\n", ""},
        {"wait Width", "", 2, "gbe: line 1: .* is no condition, as in Width=640 or Gain>=1.5\n", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        const Outcome outcome = shell(row.script, row.options);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_THAT(outcome.err, MatchesRegex(row.err));
        EXPECT_EQ(outcome.out, row.out);
    }
    writeFile("bad.txt", "Width=640\nHeight\n");
    const Outcome bad = Program::run(GBE, {"load", "bad.txt"});
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.err, "gbe: bad.txt: line 2: \"Height\" has no value\n");
}

TEST_F(SettingsVerbs, WatchTellsOfWhatTheCameraChangesUntilItIsStopped) {
    const Outcome three = Program::run(GBE, {"watch", "-n", "2", "DeviceUptime"});
    EXPECT_EQ(three.status, 0);
    EXPECT_THAT(three.out, MatchesRegex("([0-9:.]+  DeviceUptime  [0-9]+\n){3}"));
    Program endless(GBE, {"watch", "--json", "Width", "DeviceUptime"});
    ASSERT_TRUE(endless.prints(R"("feature":"Width")"));
    ASSERT_TRUE(endless.prints(R"("feature":"DeviceUptime")"));
    endless.signal(SIGINT);
    EXPECT_EQ(endless.wait().status, 0);
}

// The most memory of all processes that were waited for so far.
long mostMemory() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss; // KiB
}

TEST_F(SettingsVerbs, AShellDoesNotGrow) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "what is freed is kept there";
#endif
    const auto run = [](int lines) {
        const QString count = QString::number(lines);
        const Outcome outcome =
            Program::run("/bin/sh", {"-c", "yes 'get -q Width' | head -n " + count + " | " GBE " shell"});
        EXPECT_EQ(outcome.out.size(), static_cast<std::size_t>(lines) * 5);
        return mostMemory();
    };
    const long before = run(50);
    EXPECT_LT(run(1000) - before, 1024) << "a KiB a line";
}

} // namespace
