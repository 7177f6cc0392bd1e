// The configuration file: what it says, every mistake, and where it comes from.
#include "softboard/configuration.h"

#include "softboard/Hardware.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace {

using softboard::Configuration;
using softboard::parseConfiguration;

TEST(Configuration, TakesEverythingThatIsDocumented) {
    const char* const text = "# a comment\n"
                             "; another\r\n"
                             "[board 1]\n"
                             "  serial =  0x1234 \r\n"
                             "firmware = 1.17\n"
                             "caminterface = CoaXPress\n"
                             "phy = held\n"
                             "negotiation_ms = 1500\n"
                             "\n"
                             "[ board 1  port 3 ]\n"
                             "capture = a b.pcap\n"
                             "queue_words = 4096\n"
                             "fault_seed = 99\n"
                             "fault_drop = 0.5\n"
                             "receive_fault_drop = 1e-1\n"
                             "send_fault_delay_min_ms = 1.5\n"
                             "[board 1 port 3 camera]\n"
                             "Name = x = y # z\n"
                             "[board 1 port 3 camera]\n"
                             "[board 6 port 0]\n";
    Configuration c;
    std::string error;
    ASSERT_TRUE(parseConfiguration(text, "f", c, error)) << error;
    EXPECT_FALSE(c[0].present);
    EXPECT_TRUE(c[1].present);
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
}

TEST(Configuration, NamesThePlaceOfEveryMistake) {
    const struct {
        const char* text;
        const char* error;
    } rows[] = {
        {"serial = 1\n", "f:1: key \"serial\" before the first section"},
        {"[board 0\n", "f:1: a section needs a closing bracket"},
        {"\n[]\n", "f:2: a section is [board B], [board B port P] or [board B port P camera]"},
        {"[port 0]", "f:1: a section is [board B], [board B port P] or [board B port P camera]"},
        {"[board 0 port 0 printer]",
         "f:1: a section is [board B], [board B port P] or [board B port P camera]"},
        {"[board 0 camera]", "f:1: a section is [board B], [board B port P] or [board B port P camera]"},
        {"[board 8]", "f:1: no board \"8\": boards are 0 to 7"},
        {"[board -1]", "f:1: no board \"-1\": boards are 0 to 7"},
        {"[board x]", "f:1: no board \"x\": boards are 0 to 7"},
        {"[board 0 port 4]", "f:1: no port \"4\": ports are 0 to 3"},
        {"[board 0]\n[board 1]\n[board 0]\n", "f:3: a section of this name came before"},
        {"[board 0 port 1]\n[board 0 port 1]\n", "f:2: a section of this name came before"},
        {"[board 0]\nhello\n", "f:2: neither a [section] nor KEY = VALUE: hello"},
        {"[board 0]\n= 1\n", "f:2: a value without a key"},
        {"[board 0]\nSerial = 1\n", "f:2: unknown key \"Serial\""},
        {"[board 0]\ncapture = x\n", "f:2: unknown key \"capture\""},
        {"[board 0 port 0]\nserial = 1\n", "f:2: unknown key \"serial\""},
        {"[board 0 port 0]\nfault_dropp = 1\n", "f:2: unknown key \"fault_dropp\""},
        {"[board 0]\nserial = 1\nserial = 1\n", "f:3: key \"serial\" twice in one section"},
        {"[board 0 port 0 camera]\na = 1\na = 2\n", "f:3: key \"a\" twice in one section"},
        {"[board 0]\nserial = 0x80000000\n",
         "f:2: \"serial\" wants a number from 0 to 0x7FFFFFFF, not \"0x80000000\""},
        {"[board 0]\nserial =\n", "f:2: \"serial\" wants a number from 0 to 0x7FFFFFFF, not \"\""},
        {"[board 0]\nfirmware = 2\n", "f:2: \"firmware\" wants MAJOR.MINOR, each 0 to 255, not \"2\""},
        {"[board 0]\nfirmware = 2.256\n",
         "f:2: \"firmware\" wants MAJOR.MINOR, each 0 to 255, not \"2.256\""},
        {"[board 0]\nphy = down\n", "f:2: \"phy\" wants up or held, not \"down\""},
        {"[board 0]\nnegotiation_ms = 1s\n",
         "f:2: \"negotiation_ms\" wants a number from 0 to 60000, not \"1s\""},
        {"[board 0 port 0]\ncapture =\n", "f:2: \"capture\" wants a file name, not \"\""},
        {"[board 0 port 0]\nqueue_words = 3\n",
         "f:2: \"queue_words\" wants a number from 1024 to 4194304, not \"3\""},
        {"[board 0 port 0]\nfault_drop = 1.01\n",
         "f:2: \"fault_drop\" wants a probability from 0 to 1, not \"1.01\""},
        {"[board 0 port 0]\nfault_drop = nan\n",
         "f:2: \"fault_drop\" wants a probability from 0 to 1, not \"nan\""},
        {"[board 0 port 0]\nfault_delay_min_ms = -1\n",
         "f:2: \"fault_delay_min_ms\" wants milliseconds from 0 to 60000, not \"-1\""},
    };
    for (const auto& row : rows) {
        Configuration c;
        std::string error;
        EXPECT_FALSE(parseConfiguration(row.text, "f", c, error)) << row.text;
        EXPECT_EQ(error, row.error) << row.text;
    }
    std::string many;
    for (std::size_t i = 0; i <= softboard::kMostCameras; ++i) {
        many += "[board 0 port 0 camera]\n";
    }
    Configuration c;
    std::string error;
    EXPECT_FALSE(parseConfiguration(many, "f", c, error));
    EXPECT_EQ(error, "f:129: more than 128 cameras on one port");
    EXPECT_FALSE(parseConfiguration(std::string(softboard::kLargestConfiguration + 1, '\n'), "f", c, error));
    EXPECT_EQ(error, "f: larger than 1048576 bytes");
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

TEST(Configuration, IsTheDefaultWithoutAFile) {
    Configuration c;
    std::string error;
    ASSERT_TRUE(parseConfiguration(softboard::kDefaultConfiguration, "default", c, error)) << error;
    EXPECT_TRUE(c[0].present);
    EXPECT_FALSE(c[1].present);
    EXPECT_EQ(c[0].serial, 0x2A07);
    EXPECT_EQ(c[0].ports[0].cameras.size(), 1U);
    EXPECT_TRUE(c[0].ports[1].cameras.empty());
}

// What a fresh process prints and gives when its environment names a file.
class ConfigurationFile : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    [[noreturn]] static void openBoard(const char* file, const char* content) {
        if (content != nullptr) {
            std::ofstream(file) << content;
        }
        setenv("LIOMOL_SOFTBOARD", file, 1);
        TavoBoard* const handle = softboard::Hardware::instance().open(2);
        softboard::Hardware::instance().open(2); // a second complaint would show
        std::exit(handle != nullptr ? 0 : 1);
    }
};

TEST_F(ConfigurationFile, OpensItsBoards) {
    EXPECT_EXIT(openBoard("a.conf", "[board 2]\n"), testing::ExitedWithCode(0), "^$");
    EXPECT_EXIT(openBoard("a.conf", "[board 1]\n"), testing::ExitedWithCode(1), "^$");
}

TEST_F(ConfigurationFile, OpensNothingAfterOneLineOfComplaint) {
    EXPECT_EXIT(
        openBoard("a.conf", "[board 2]\n[board 1]\nx = 1\n"), testing::ExitedWithCode(1),
        "^softboard: a.conf:3: unknown key \"x\"\n$");
    EXPECT_EXIT(
        openBoard("missing.conf", nullptr), testing::ExitedWithCode(1),
        "^softboard: missing.conf: cannot be read: No such file or directory\n$");
    EXPECT_EXIT(
        openBoard(".", nullptr), testing::ExitedWithCode(1),
        "^softboard: .: cannot be read: Is a directory\n$");
}

} // namespace
