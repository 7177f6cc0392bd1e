// The board as the hardware library's calls show it: registers, handles, frames, queues.
#include "support.h"
#include "support/golden.h"

#include <array>
#include <set>

namespace {

using namespace test;

class Board : public testing::Test {
protected:
    void SetUp() override { configure("[board 0]\n[board 3]\nserial = 7\n"); }
};

TEST_F(Board, KnowsItsRegistersAndRefusesAccessesThatTheyDoNotHave) {
    const OpenBoard board;
    enum Access { None, Read = 1, Write = 2, Both = 3, Unknown = 4 };
    const std::pair<Access, std::vector<const char*>> rows[] = {
        {None, {"GigeReadData0"}},
        {Read, {"GigeStatus0", "GigeRecvPktCnt1", "GigeRecvErrCnt2", "ImagePackets3", "MdioReadReg"}},
        {Write, {"GigeTxStart0", "GigeTxStart3", "GigE_TxStart", "CLSyncLen1", "GigE_Reset"}},
        {Both, {"GigE_TxCamEnable"}},
        {Unknown,
         {"GigeTxStart4", "GigeTxStart", "GigeTxStart00", "gigetxstart0", "GigE_TxStart0", "ImagePackets/",
          ""}},
    };
    std::set<int> ids;
    for (const auto& [access, names] : rows) {
        for (const char* name : names) {
            const int id = board.id(name);
            EXPECT_EQ(id == -1, access == Unknown) << name;
            EXPECT_TRUE(id == -1 || ids.insert(id).second) << name << ": one id for two registers";
            std::uint64_t value = 77;
            EXPECT_EQ(TavoRegisterRead(board.handle, id, &value) == 0, (access & Read) != 0) << name;
            EXPECT_EQ(value == 77, (access & Read) == 0) << name << ": a failed read leaves the value alone";
            EXPECT_EQ(board.write(name, 1) == 0, (access & Write) != 0) << name;
        }
    }
    for (const int id : {0, 0x7FFFFFFF, -0x7FFFFFFF}) {
        EXPECT_NE(TavoRegisterWrite(board.handle, id, 0), 0) << id;
    }
    EXPECT_NE(TavoRegisterRead(board.handle, board.id("MdioReadReg"), nullptr), 0);
    EXPECT_EQ(KemGetRegisterByName(board.design, nullptr), -1);
    EXPECT_EQ(KemGetRegisterByName(nullptr, "GigE_Reset"), -1);
    board.write("GigE_TxCamEnable", 0xABCD);
    EXPECT_EQ(board.read("GigE_TxCamEnable"), 0xCDU) << "no wider than the register";
    board.write("CLSyncLen1", 180000);
    EXPECT_EQ(state(1).lineLength, 48928);
}

TEST_F(Board, TellsItsPropertiesAndNeedsTheAppletOfItsFirmware) {
    const QLdevice board = TavoInitAllHWEx(3);
    EXPECT_STREQ(TavoGetBoardInfoString(board, "board/caminterface"), "GigE");
    EXPECT_EQ(TavoGetBoardInfoInt(board, "board/serial"), 7);
    EXPECT_EQ(TavoGetBoardInfoInt(nullptr, "board/serial"), 0);
    const fpga_design right = KemFirmwareTrampoline(2, 0);
    const fpga_design wrong = KemFirmwareTrampoline(2, 1);
    std::uint64_t value = 0;
    char buffer[4];
    for (const fpga_design design : {static_cast<fpga_design>(nullptr), wrong, right}) {
        const bool works = design == right;
        EXPECT_EQ(TavoConfigureFpga(board, design) == 0, works);
        EXPECT_EQ(TavoRegisterRead(board, KemGetRegisterByName(right, "GigeStatus0"), &value) == 0, works);
        EXPECT_EQ(TavoDataQueueReadBufferLong(board, 0, buffer, 4, 0) == kTimeout, works);
        EXPECT_EQ(KemUnloadKemFile(design) == 0, design != nullptr);
    }
    EXPECT_NE(KemUnloadKemFile(wrong), 0) << "unloaded before";
    EXPECT_EQ(TavoFreeHW(board), 0);
    EXPECT_EQ(KemFirmwareTrampoline(3, 0), nullptr);
    EXPECT_EQ(KemFirmwareTrampoline(2, 256), nullptr);
    EXPECT_EQ(TavoInitAllHWEx(1), nullptr);
}

TEST_F(Board, LivesUntilItsLastHandleIsReleased) {
    { OpenBoard().enable(); }
    const OpenBoard first;
    EXPECT_EQ(state(1).imagePort, 0) << "of the earlier applet";
    first.write("CLSyncLen0", 640);
    auto second = std::make_unique<OpenBoard>();
    EXPECT_EQ(softboard::boardState(0).opens, 2U);
    EXPECT_EQ(state(0).lineLength, 640) << "the second opening has reset the first";
    const QLdevice dead = second->handle;
    second.reset();
    EXPECT_NE(TavoFreeHW(dead), 0);
    EXPECT_EQ(first.write("CLSyncLen0", 641), 0);
    std::string error;
    EXPECT_FALSE(softboard::loadConfiguration("[board 0]\n", error));
    EXPECT_EQ(error, "configuration: a board is open");
}

TEST_F(Board, HandsFramesOutAsWordsWithALengthAndAnEndMark) {
    const OpenBoard board;
    board.enable();
    Bytes got;
    for (const std::size_t size : {14U, 59U, 61U, 1514U, 9014U}) {
        Bytes frame = numbered(size, 3);
        ASSERT_TRUE(inject(1, frame));
        frame.resize(size + size % 2); // an odd end is filled with a zero
        EXPECT_EQ(state(1).queuedWords, 1 + frame.size() / 2) << size;
        ASSERT_EQ(board.receive(1, got, kWaitMs), 0) << size;
        EXPECT_EQ(got, frame) << size;
    }
    for (const std::size_t size : {0U, 13U, 16385U}) { // no frames
        inject(1, numbered(size));
    }
    for (const int timeout : {-5, 0, 30}) {
        const auto start = Clock::now();
        EXPECT_EQ(board.receive(1, got, timeout), kTimeout);
        EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(timeout));
    }
    board.write("GigE_RxEnable", 0);
    inject(1, numbered(60));
    EXPECT_EQ(board.read("GigeRecvPktCnt1"), 5U);
    EXPECT_EQ(board.read("GigeRecvErrCnt1"), 3U);
    EXPECT_EQ(state(1).framesIgnored, 1U);
}

TEST_F(Board, ReadsTheQueueInWholeWordsAndOnlyWhatIsThere) {
    const OpenBoard board;
    ASSERT_TRUE(softboard::injectQueueWords(0, 0, {1, 2, 3}));
    std::array<std::uint32_t, 8> buffer{};
    EXPECT_EQ(board.readQueue(0, buffer.data(), 3), 0);
    EXPECT_EQ(board.readQueue(0, buffer.data(), 7), 4);
    EXPECT_EQ(board.readQueue(0, buffer.data() + 1, sizeof buffer - 4), 8);
    EXPECT_EQ(buffer, (std::array<std::uint32_t, 8>{1, 2, 3}));
    EXPECT_LT(board.readQueue(4, buffer.data(), 4), 0);
    EXPECT_LT(board.readQueue(0, nullptr, 4), 0);
    EXPECT_LT(TavoDataQueueReadBufferLong(nullptr, 0, buffer.data(), 4, 0), 0);
    ASSERT_TRUE(softboard::injectQueueWords(0, 0, {1, 2, 3}));
    EXPECT_EQ(TavoDataQueueClear(board.handle, 0), 0);
    EXPECT_EQ(board.readQueue(0, buffer.data(), 4), kTimeout);
    EXPECT_LT(TavoDataQueueClear(board.handle, 4), 0);
}

TEST_F(Board, DropsWholeFramesWhenTheQueueIsFull) {
    configure("[board 0]\n[board 0 port 0]\nqueue_words = 1024\n");
    const OpenBoard board;
    board.enable();
    const Bytes frame = numbered(510); // 256 words: four fit, to the last word
    for (int i = 0; i < 6; ++i) {
        inject(0, frame);
    }
    EXPECT_EQ(state(0).framesReceived, 4U);
    EXPECT_EQ(board.read("GigeRecvErrCnt0"), 2U);
    Bytes got;
    for (int round = 0; round < 30; ++round) { // several times round the ring, across its end
        ASSERT_EQ(board.receive(0, got, kWaitMs), 0);
        ASSERT_EQ(got, round < 4 ? frame : numbered(506));
        inject(0, numbered(506));
    }
}

// A write-register command as the library builds it, with a request id and a UDP checksum.
Bytes command(std::uint16_t id, std::uint16_t checksum, std::uint16_t port = 3956) {
    Bytes frame = golden::load("writereg_cmd");
    for (const auto& [at, value] : {std::pair{36, port}, {40, checksum}, {48, id}}) {
        frame[at] = static_cast<std::uint8_t>(value >> 8);
        frame[at + 1] = static_cast<std::uint8_t>(value);
    }
    return frame;
}

TEST_F(Board, TakesStreamFramesToTheImagePath) {
    const OpenBoard board;
    board.enable();
    const auto datagram = [](std::uint8_t version, std::size_t destinationAt, unsigned port = 1521) {
        Bytes frame = command(0, 0, 0);
        frame[14] = version;
        frame[destinationAt] = static_cast<std::uint8_t>(port >> 8);
        frame[destinationAt + 1] = static_cast<std::uint8_t>(port);
        return frame;
    };
    const auto with = [image = datagram(0x45, 36)](std::size_t at, std::uint8_t value) {
        Bytes frame = image;
        frame[at] = value;
        return frame;
    };
    const struct {
        const char* name;
        Bytes frame;
        bool image;
    } rows[] = {
        {"to the image port", datagram(0x45, 36), true},
        {"with IP options", datagram(0x46, 40), true},
        {"to another port's image port", datagram(0x45, 36, 1522), false},
        {"IP header too short", datagram(0x44, 32), false},
        {"IP header beyond the frame", datagram(0x4A, 56), false},
        {"cut inside the UDP header", Bytes(rows[0].frame.begin(), rows[0].frame.begin() + 41), false},
        {"TCP", with(23, 6), false},
        {"a fragment", with(20, 0x20), false},
    };
    unsigned images = 0;
    for (const auto& row : rows) {
        inject(1, row.frame);
        images += row.image ? 1 : 0;
        EXPECT_EQ(board.read("ImagePackets1"), images) << row.name;
        Bytes got;
        EXPECT_EQ(board.receive(1, got, 0), row.image ? kTimeout : 0) << row.name;
    }
    EXPECT_EQ(board.read("GigeRecvPktCnt1"), std::size(rows));
}

TEST_F(Board, SendsOnlyWholeFramesWithEveryEnableAndALink) {
    const auto station = plugIn(0);
    const OpenBoard board;
    const struct {
        const char* name;
        unsigned boardTx, portTx;
        std::size_t size;
        bool plugged;
        std::size_t sent; // size; 0: none
    } rows[] = {
        {"the board's transmitter is off", 0, 1, 62, true, 0},
        {"the port's is off", 1, 0, 62, true, 0},
        {"nothing plugged", 1, 1, 62, false, 0},
        {"all set", 1, 1, 62, true, 62},
        {"no whole header", 1, 1, 12, true, 0},
        {"filled to the shortest, with no residue", 1, 1, 14, true, 60},
        {"longer than the transmit buffer", 1, 1, 4098, true, 0},
        {"as long", 1, 1, 4096, true, 4096},
    };
    std::vector<Bytes> expected;
    for (const auto& row : rows) {
        board.write("GigE_TxStart", row.boardTx);
        board.write("GigeTxStart0", row.portTx);
        if (!row.plugged) {
            ASSERT_TRUE(softboard::detach(0, 0, station));
            EXPECT_FALSE(softboard::detach(0, 0, station));
        }
        EXPECT_EQ(board.send(0, numbered(row.size)) != 0, row.size > 4096) << row.name;
        if (!row.plugged) {
            ASSERT_TRUE(softboard::attach(0, 0, station));
        }
        if (row.sent != 0) {
            expected.push_back(numbered(row.size));
            expected.back().resize(row.sent);
        }
        EXPECT_EQ(station->frames(expected.size()), expected) << row.name;
    }
    EXPECT_EQ(board.strobe(1), 0) << "nothing loaded, nothing sent";
    EXPECT_EQ(state(1).framesNotSent, 0U);
}

TEST_F(Board, StampsItsOwnRequestIdsIntoPreparedCommands) {
    const auto station = plugIn(0);
    const OpenBoard board;
    board.enable();
    board.write("GigeReqIdLoad0", 0xFFFF);
    const Bytes prepared = command(0x1234, 0);
    board.send(0, prepared);
    board.write("GigeReqIdEnable0", 1);
    board.strobe(0);
    board.strobe(0);
    board.send(0, command(0x1234, 0x5555));
    board.send(0, command(0x1234, 0, 3957));
    board.send(0, prepared);
    board.write("GigeReqIdEnable0", 0);
    board.send(0, prepared);
    const std::vector<Bytes> expected = {
        prepared,                 // not enabled yet
        command(0xFFFF, 0),       // the loaded id
        command(0x0000, 0),       // counted on, the frame still loaded
        command(0x1234, 0x5555),  // a checksum that the stamp would break
        command(0x1234, 0, 3957), // no GVCP command
        command(0x0001, 0),
        prepared, // enabled, disabled
    };
    EXPECT_EQ(station->frames(expected.size()), expected);
}

} // namespace
