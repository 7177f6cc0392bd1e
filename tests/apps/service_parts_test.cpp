#include "Keep.h"
#include "Request.h"
#include "Server.h"
#include "Settings.h"
#include "local_mac.h"
#include "support/golden.h"
#include "support/write_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <random>
#include <thread>
#include <tuple>

namespace {

using namespace gbe_service;
using testing::HasSubstr;

TEST(ServiceRequests, LinesThatAreRequestsAndLinesThatAreNot) {
    const unsigned any = 4294967295;
    const struct {
        std::string line;
        RequestKind kind;
        std::optional<unsigned> board;
        std::optional<unsigned> port;
        std::string text = {};
    } rows[] = {
        {"RESCAN", RequestKind::Rescan, {}, {}},
        {"RESCAN BOARD 4294967295 PORT 1", RequestKind::Rescan, any, 1},
        {"CONFIGURE BOARD 0 PORT 3 IP whatever", RequestKind::Configure, 0, 3, "whatever"},
    };
    for (const auto& row : rows) {
        const auto request = parseRequest(row.line);
        ASSERT_TRUE(request) << row.line;
        EXPECT_EQ(
            std::tie(request->kind, request->board, request->port, request->text),
            std::tie(row.kind, row.board, row.port, row.text))
            << row.line;
    }
    for (const char* line :
         {" RESCAN", "RESCAN ", "rescan", "RESCAN\r", "RESCAN PORT 1", "RESCAN BOARD  2", "RESCAN BOARD -1",
          "RESCAN BOARD +1", "RESCAN BOARD 0x1", "RESCAN BOARD 4294967296", "STATUS BOARD 0",
          "STATUS BOARD 0 PORT 3 X", "CONFIGURE BOARD 0 PORT 3 IP", "OPEN"}) {
        EXPECT_FALSE(parseRequest(line)) << line;
    }
    EXPECT_FALSE(parseRequest(std::string("RESCAN\0", 7)));
}

// A process may call itself whatever it likes, and be stopped or not.
TEST(ServiceKeeps, BelieveTheKernelAboutProcessesAndSockets) {
    const std::string numbers = " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 777 20\n";
    const struct {
        std::string text;
        bool isStat;
        bool isStopped;
    } rows[] = {
        {"9 (name) T" + numbers, true, true},  {"9 (name) t" + numbers, true, true},
        {"9 (name) S" + numbers, true, false}, {"9 (a) T 1) S" + numbers, true, false},
        {"9 (name) T 1 2 3", false, false},    {"9 (name) TT" + numbers, false, false},
        {"9 name T" + numbers, false, false},  {"", false, false},
    };
    for (const auto& row : rows) {
        const auto stat = parseStat(row.text);
        ASSERT_EQ(stat.has_value(), row.isStat) << row.text;
        EXPECT_EQ(stat && stat->isStopped(), row.isStopped) << row.text;
        EXPECT_EQ(stat ? stat->start : 777, 777U) << row.text;
    }
    const char* const sockets = "sk               RefCnt Type Proto  Iface R Rmem   User   Inode\n"
                                "00000000d00f     3      3    0003   2     1 0      1000   4711\n"
                                "00000000d00f     3      3    0003   12    1 0      0      4711";
    EXPECT_TRUE(hasPacketSocket(sockets, 1000, 2));
    EXPECT_TRUE(hasPacketSocket(sockets, 0, 12));
    EXPECT_FALSE(hasPacketSocket(sockets, 1000, 12));
    EXPECT_FALSE(hasPacketSocket("", 0, 0));
}

TEST(ServiceKeeps, SendOneHarmlessCommandForALimitedTimeOfEachStop) {
    const KeepRoute route{
        {2, 0, 0, 0, 0, 1}, {2, 0x11, 0x22, 0x33, 0x44, 0x55}, {169, 254, 7, 42}, {169, 254, 7, 100}, 3015};
    EXPECT_THAT(buildKeepFrame(route, 1), testing::ElementsAreArray(golden::load("readreg_cmd")));
    StopWatch watch(std::chrono::seconds(2));
    const std::tuple<int, bool, bool> looks[] = {{0, false, false}, {1, true, true},  {2, true, true},
                                                 {3, true, false},  {9, true, false}, {10, false, false},
                                                 {11, true, true},  {13, true, false}};
    for (const auto& [second, stopped, due] : looks) {
        EXPECT_EQ(watch.isDue(stopped, 0, StopWatch::Time(std::chrono::seconds(second))), due) << second;
    }
}

// Also of threads beside the first one, which a debugger may step alone.
TEST(ServiceKeeps, KnowHowLongAllThreadsOfAProcessHaveRun) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const std::optional<Peer> self = Peer::of(ends[0]);
    ASSERT_TRUE(self);
    constexpr std::int64_t kTime = 50'000'000; // nanoseconds
    const auto before = self->look();
    std::thread([] {
        timespec used{};
        while (used.tv_sec == 0 && used.tv_nsec < kTime) {
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        }
    }).join();
    const auto after = self->look();
    ASSERT_TRUE(before && after);
    EXPECT_GE(after->ran, before->ran + kTime);
    close(ends[0]);
    close(ends[1]);
}

// Whatever happens between two looks: a debugger's step is over long before the next one.
TEST(ServiceKeeps, GiveEachStopItsTime) {
    using std::chrono::milliseconds;
    for (unsigned seed = 0; seed < 50; ++seed) {
        std::mt19937 random(seed);
        const auto chance = [&](unsigned percent) { return random() % 100 < percent; };
        const std::chrono::seconds longest(1 + seed % 5);
        StopWatch watch(longest);
        StopWatch::Time now(milliseconds(1));
        bool stopped = false;
        std::uint64_t ran = 1;
        StopWatch::Time seen{}; // when a look has shown this stop first; 0: none has
        for (unsigned step = 0; step < 500; ++step) {
            now += milliseconds(random() % 500);
            if (chance(30)) { // runs for a moment
                ran += 1 + random() % 1000;
                stopped = chance(80);
                seen = {};
            }
            if (stopped && seen == StopWatch::Time{}) {
                seen = now;
            }
            EXPECT_EQ(watch.isDue(stopped, ran, now), stopped && now - seen < longest)
                << "seed " << seed << " step " << step;
        }
    }
}

TEST(ServiceMacs, LocalOnesDifferAndAreTaken) {
    std::set<Mac> all;
    for (unsigned place = 0; place < 32; ++place) {
        const Mac mac = localMac(place / 4, place % 4);
        EXPECT_EQ(mac[0], 0x02);
        EXPECT_TRUE(all.insert(mac).second);
    }
}

TEST(ServiceSettings, AddressesThatAStationCanHave) {
    const std::pair<const char*, const char*> rows[] = {
        {"169.254.1.2", "169.254.1.2 255.255.0.0"},
        {"192.168.0.10", "192.168.0.10 255.255.255.0"},
        {"10.0.0.0/7", ""},
        {"10.0.0.2/30", "10.0.0.2 255.255.255.252"},
        {"10.0.0.2/31", ""},
        {"10.0.0.2/x", ""},
        {"127.0.0.1", ""},
    };
    for (const auto& [text, expected] : rows) {
        const auto port = parsePortIp(text);
        EXPECT_EQ(port ? port->ip.text() + " " + port->mask.text() : "", expected) << text;
    }
}

TEST(ServiceSettings, ConfigurationFiles) {
    const struct {
        const char* text;
        const char* error; // null: taken
    } rows[] = {
        {"# nothing\n\n  boards = 2, 0 \nidle-limit=5\nsocket-group = g\n[board 0 port 2]\n mac = "
         "02:00:00:00:00:12\nip = 10.0.0.1/8",
         nullptr},
        {"boards = 0,8\n", "file:1: not a list of boards"},
        {"idle-limit = 0\n", "file:1: not a number of seconds"},
        {"colour = red\n", "file:1: unknown key: colour"},
        {"[board 0 port 4]\n", "file:1: not a section"},
        {"[board 0 port 1]\nmac = 03:00:00:00:00:00\n", "file:2: not the MAC address of a station"},
        {"[board 0 port 1]\nboards = 1\n", "file:2: unknown key of a port"},
        {"[board 0 port 1]\nmac = 02:00:00:00:00:01\n[board 0 port 2]\nmac = 02:00:00:00:00:01\n",
         "file:4: this MAC address is another port's"},
    };
    Settings settings;
    std::string error;
    for (const auto& row : rows) {
        writeFile("file", row.text);
        Settings bad;
        EXPECT_EQ(readSettings("file", row.error ? bad : settings, error), row.error == nullptr) << row.text;
        EXPECT_THAT(error, HasSubstr(row.error ? row.error : "")) << row.text;
    }
    EXPECT_EQ(settings.boards, (std::vector<unsigned>{0, 2}));
    EXPECT_EQ(settings.idleLimit, std::chrono::seconds(5));
    EXPECT_EQ(settings.mac(0, 2).text(), "02:00:00:00:00:12");
    EXPECT_EQ(settings.ips.at({0, 2}).mask.text(), "255.0.0.0");
    EXPECT_EQ(settings.mac(0, 1), localMac(0, 1));
    const Mac card{2, 0, 0, 0, 0, 0x77};
    EXPECT_EQ(settings.mac(0, 1, card), card);
    EXPECT_FALSE(readSettings("absent", settings, error));
}

TEST(ServiceSettings, TheAddressBookOutlivesTheProcessAndBadFiles) {
    std::string error;
    AddressBook book("folder/book");
    ASSERT_TRUE(book.load(error)) << "no file yet";
    ASSERT_TRUE(book.set({0, 1}, "10.0.0.1", error)) << error;
    ASSERT_TRUE(book.set({7, 3}, "10.0.0.2/8", error)) << error;
    AddressBook again("folder/book");
    ASSERT_TRUE(again.load(error)) << error;
    EXPECT_EQ(again.ip({0, 1}).value().ip.text(), "10.0.0.1");
    EXPECT_EQ(again.ip({7, 3}).value().mask.text(), "255.0.0.0");
    EXPECT_FALSE(again.ip({0, 0}));
    for (const char* bad : {"board 0 port 9 ip 10.0.0.1\n", "board 0 port 1 ip 300.0.0.1\n"}) {
        writeFile("folder/book", bad);
        EXPECT_FALSE(AddressBook("folder/book").load(error)) << bad;
        EXPECT_THAT(error, HasSubstr("folder/book:1: ")) << bad;
    }
    writeFile("blocked", "");
    AddressBook blocked("blocked/book");
    EXPECT_FALSE(blocked.set({0, 0}, "10.0.0.1", error)) << "no folder can be made there";
    EXPECT_FALSE(blocked.ip({0, 0}));
}

TEST(ServiceSocketPlace, FolderSocketAndLockAreMadeForOwnerAndGroup) {
    std::string error;
    {
        Server server("deep/er/sock");
        ASSERT_TRUE(server.listen("", error)) << error;
        struct stat status {};
        ASSERT_EQ(stat("deep/er/sock", &status), 0);
        EXPECT_TRUE(S_ISSOCK(status.st_mode));
        EXPECT_EQ(status.st_mode & 0777, 0660u);
        ASSERT_EQ(stat("deep/er/sock.lock", &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
        EXPECT_FALSE(Server("deep/er/sock").listen("", error));
        EXPECT_THAT(error, HasSubstr("runs already"));
        EXPECT_EQ(stat("deep/er/sock", &status), 0) << "the refused one took nothing away";
    }
    EXPECT_FALSE(QFile::exists("deep/er/sock"));
    writeFile("file", "precious");
    for (const auto& [path, group, mistake] :
         {std::tuple{"file", "", "exists and is not a socket"}, {"sock", "no-such-group", "no such group"}}) {
        EXPECT_FALSE(Server(path).listen(group, error)) << path;
        EXPECT_THAT(error, HasSubstr(mistake)) << path;
    }
    EXPECT_TRUE(QFile::exists("file"));
}

} // namespace
