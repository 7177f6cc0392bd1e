// The configuration file: what it says, every mistake, and where it comes from; and what the hardware
// library's calls alone cannot show: faults by their decisions, and the data queue's way of ending a wait.
#include "softboard/configuration.h"

#include "softboard/DataQueue.h"
#include "softboard/FaultyLink.h"
#include "softboard/Hardware.h"
#include "softboard/Hub.h"
#include "softboard/hw_results.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>

#include <cstdlib>
#include <fstream>
#include <thread>

namespace {

using softboard::Configuration;
using softboard::parseConfiguration;

TEST(Configuration, TakesEverythingThatIsDocumented) {
    const char* const text = "# a comment\n; another\r\n[board 1]\n  serial =  0x1234 \r\nfirmware = 1.17\n"
                             "caminterface = CoaXPress\nphy = held\nnegotiation_ms = 1500\n\n"
                             "[ board 1  port 3 ]\ncapture = a b.pcap\nqueue_words = 4096\nfault_seed = 99\n"
                             "fault_drop = 0.5\nreceive_fault_drop = 1e-1\nsend_fault_delay_min_ms = 1.5\n"
                             "[board 1 port 3 camera]\nName = x = y # z\n[board 1 port 3 camera]\n"
                             "[board 6 port 0]\n";
    Configuration c;
    std::string error;
    ASSERT_TRUE(parseConfiguration(text, "f", c, error)) << error;
    EXPECT_FALSE(c[0].present);
    EXPECT_TRUE(c[6].present) << "a port's section makes the board exist";
    EXPECT_EQ(c[6].serial, 0x2A0D) << "boards without a serial number differ";
    EXPECT_EQ(c[1].serial, 0x1234);
    EXPECT_EQ(c[1].firmwareMajor, 1);
    EXPECT_EQ(c[1].firmwareMinor, 17);
    EXPECT_EQ(c[1].camInterface, "CoaXPress");
    EXPECT_EQ(c[1].phy, softboard::PhyPowerOn::Held);
    EXPECT_EQ(c[1].negotiation.count(), 1500);
    const softboard::PortConfiguration& port = c[1].ports[3];
    EXPECT_EQ(port.capture, "a b.pcap");
    EXPECT_EQ(port.queueWords, 4096U);
    EXPECT_EQ(port.faults.seed, 99U);
    EXPECT_EQ(port.faults.send.drop, 0.5);
    EXPECT_EQ(port.faults.receive.drop, 0.1);
    EXPECT_EQ(port.faults.send.delayMin.count(), 1500);
    EXPECT_EQ(port.faults.receive.delayMin.count(), 1000);
    ASSERT_EQ(port.cameras.size(), 2U);
    EXPECT_EQ(port.cameras[0].settings, (ethernet::Settings{{"Name", "x = y # z"}}));
    EXPECT_EQ(port.cameras[1].place, "f:19");
    ASSERT_TRUE(parseConfiguration(softboard::kDefaultConfiguration, "default", c, error)) << error;
}

TEST(Configuration, NamesThePlaceOfEveryMistake) {
    std::string cameras;
    for (std::size_t i = 0; i <= softboard::kMostCameras; ++i) {
        cameras += "[board 0 port 0 camera]\n";
    }
    const std::pair<std::string, std::string> rows[] = {
        {"serial = 1\n", "f:1: key \"serial\" before the first section"},
        {"[board 8]", "f:1: no board \"8\": boards are 0 to 7"},
        {"[board 0]\n[board 1]\n[board 0]\n", "f:3: a section of this name came before"},
        {"[board 0]\nSerial = 1\n", "f:2: unknown key \"Serial\""},
        {"[board 0]\nserial = 1\nserial = 1\n", "f:3: key \"serial\" twice in one section"},
        {"[board 0 port 0]\nmac = 02:00:00:00:00:01\n", "f:1: \"mac\" is for a port with an \"interface\""},
        {"[board 0 port 0]\nmac = 03:00:00:00:00:01\n",
         "f:2: \"mac\" wants the address of one station like 02:00:00:00:00:01, not \"03:00:00:00:00:01\""},
        {"[board 0 port 0]\ninterface = e\n[board 1 port 2]\ninterface = e\n",
         "f:3: another port has this interface: give each a \"mac\" of its own"},
        {cameras, "f:129: more than 128 cameras on one port"},
        {std::string(softboard::kLargestConfiguration + 1, '\n'), "f: larger than 1048576 bytes"},
    };
    Configuration c;
    std::string error;
    for (const auto& [text, complaint] : rows) {
        EXPECT_FALSE(parseConfiguration(text, "f", c, error)) << text.substr(0, 100);
        EXPECT_EQ(error, complaint) << text.substr(0, 100);
    }
    const std::pair<std::string, std::string> values[] = {
        // both sides of each limit
        {"serial = 2147483647", "serial = 0x80000000"},
        {"firmware = 2.255", "firmware = 2.256"},
        {"[board 1 port 0]\nqueue_words = 1024", "[board 1 port 0]\nqueue_words = 1023"},
        {"[board 1 port 0]\nfault_drop = 1", "[board 1 port 0]\nfault_drop = 1.01"},
    };
    for (const auto& [good, bad] : values) {
        EXPECT_TRUE(parseConfiguration("[board 0]\n" + good, "f", c, error)) << error;
        EXPECT_FALSE(parseConfiguration("[board 0]\n" + bad, "f", c, error)) << bad;
        EXPECT_NE(error.find(" wants "), std::string::npos) << error;
    }
}

TEST(Configuration, KeepsTheEarlierOneWhenANewOneFails) {
    std::string error;
    ASSERT_TRUE(softboard::loadConfiguration("[board 5]\n", error));
    EXPECT_FALSE(softboard::loadConfiguration("[board 4]\n[board 4 port 0]\ncapture = no/folder/x\n", error));
    EXPECT_EQ(error, "configuration:2: cannot make capture file no/folder/x: No such file or directory");
    EXPECT_FALSE(softboard::loadConfiguration("[board 4 port 2 camera]\nno such setting = 1\n", error));
    EXPECT_EQ(error.rfind("configuration:1: camera: ", 0), 0U) << error;
    EXPECT_TRUE(softboard::boardState(5).present);
    EXPECT_FALSE(softboard::boardState(4).present);
}

// What a fresh process prints and gives when its environment names a file.
[[noreturn]] void openBoard(const char* file, const char* content) {
    if (content != nullptr) {
        std::ofstream(file) << content;
    }
    setenv("LIOMOL_SOFTBOARD", file, 1);
    TavoBoard* const handle = softboard::Hardware::instance().open(2);
    softboard::Hardware::instance().open(2); // a second complaint would show
    std::exit(handle != nullptr ? 0 : 1);
}

TEST(Configuration, ComesFromTheFileThatTheEnvironmentNames) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("TMPDIR", qPrintable(QDir::currentPath()), 1);
    const struct {
        const char* file;
        const char* content;
        int result;
        const char* complaint;
    } rows[] = {
        {"a.conf", "[board 2]\n", 0, "^$"},
        {"a.conf", "[board 1]\n", 1, "^$"},
        {"a.conf", "[board 2]\n[board 1]\nx = 1\n", 1, "^softboard: a.conf:3: unknown key \"x\"\n$"},
        {"missing.conf", nullptr, 1,
         "^softboard: missing.conf: cannot be read: No such file or directory\n$"},
    };
    for (const auto& row : rows) {
        EXPECT_EXIT(openBoard(row.file, row.content), testing::ExitedWithCode(row.result), row.complaint);
    }
    EXPECT_EQ(QDir().entryList({"softboard_configuration_test-*"}).size(), 0) << "folders of their own";
}

TEST(Faults, AreDecidedForEachDirectionByItself) {
    softboard::FaultPlan plan;
    plan.send.drop = plan.receive.drop = 0.5;
    int differ = 0;
    for (std::uint64_t index = 0; index < 1000; ++index) {
        differ += softboard::decideFault(plan, softboard::Direction::Send, index, 60).drop !=
                  softboard::decideFault(plan, softboard::Direction::Receive, index, 60).drop;
    }
    EXPECT_NEAR(differ, 500, 100);
}

TEST(DataQueue, SendsAWaitingReaderHomeWhenItCloses) {
    softboard::Hub wire;
    softboard::DataQueue queue(1024, wire);
    std::uint32_t word = 0;
    EXPECT_EQ(queue.read(&word, sizeof word, 0), softboard::kQueueClosed);
    EXPECT_FALSE(queue.pushWords(std::vector<std::uint32_t>{1}));
    const auto start = softboard::Clock::now();
    const auto inTime = [start] { return softboard::Clock::now() - start < std::chrono::seconds(20); };
    for (int round = 0; round < 100 && inTime(); ++round) { // in some of them the reader waits already
        queue.setOpen(true);
        EXPECT_TRUE(queue.pushWords(std::vector<std::uint32_t>{1}));
        std::thread reader([&] {
            while (queue.read(&word, sizeof word, 20000) == sizeof word) {
            }
        });
        while (queue.queuedWords() != 0) { // the reader is in its loop
            std::this_thread::yield();
        }
        queue.setOpen(false);
        reader.join();
    }
    EXPECT_TRUE(inTime()) << "a reader waited on";
    EXPECT_EQ(queue.read(&word, sizeof word, 0), softboard::kQueueClosed);
}

} // namespace
