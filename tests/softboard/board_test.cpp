// The board as the hardware library's calls show it: registers, handles, frames, queues.
#include "support.h"

#include <array>
#include <atomic>
#include <set>
#include <thread>

namespace {

using test::Bytes;
using test::configure;
using test::numbered;
using test::OpenBoard;
using test::Station;

constexpr int kTimeout = -110;
constexpr int kWaitMs = 20000; // for what must come

class Board : public testing::Test {
protected:
    void SetUp() override { configure("[board 0]\n[board 3]\nserial = 7\n"); }
};

TEST_F(Board, KnowsItsRegistersByNameAndPort) {
    const OpenBoard board;
    const struct {
        const char* name;
        bool known;
    } rows[] = {
        {"GigeTxStart0", true},
        {"GigeTxStart3", true},
        {"GigeTxStart4", false},
        {"GigeTxStart", false},
        {"GigeTxStart00", false},
        {"gigetxstart0", false},
        {"GigE_TxStart", true},
        {"GigE_TxStart0", false},
        {"CLSyncLen2", true},
        {"GigeReadData1", true},
        {"GigeHeartbeatEnable1", true},
        {"GigE_TxCamEnable", true},
        {"MdioReadReg", true},
        {"MdioReadReg0", false},
        {"", false},
        {"0", false},
        {" GigE_Reset", false},
        {"ImagePackets/", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(board.id(row.name) != -1, row.known) << row.name;
    }
    std::set<int> ids;
    for (const char* base :
         {"GigeTxStart", "GigeBufferReset", "GigeWriteData", "ImagePort", "ImagePackets"}) {
        for (int port = 0; port < 4; ++port) {
            ids.insert(board.id(base, port));
        }
    }
    EXPECT_EQ(ids.size(), 20U) << "one id for two registers";
    EXPECT_EQ(KemGetRegisterByName(board.design, nullptr), -1);
    EXPECT_EQ(KemGetRegisterByName(nullptr, "GigE_Reset"), -1);
}

TEST_F(Board, RefusesAccessesThatARegisterDoesNotHave) {
    const OpenBoard board;
    const struct {
        const char* name;
        bool readable, writable;
    } rows[] = {
        {"GigeTxStart0", false, true},  {"GigeRecvPktCnt1", true, false}, {"GigeRecvErrCnt2", true, false},
        {"ImagePackets3", true, false}, {"GigeReadData0", false, false},  {"GigeStatus0", true, false},
        {"CLSyncLen1", false, true},    {"GigE_TxCamEnable", true, true}, {"MdioReadReg", true, false},
        {"GigE_Reset", false, true},    {"no such name", false, false},
    };
    for (const auto& row : rows) {
        std::uint64_t value = 77;
        const int result = TavoRegisterRead(board.handle, board.id(row.name), &value);
        EXPECT_EQ(result == 0, row.readable) << row.name;
        EXPECT_EQ(value == 77, !row.readable) << row.name << ": a failed read leaves the value alone";
        EXPECT_EQ(board.write(row.name, 1) == 0, row.writable) << row.name;
    }
    for (const int id : {0, 1, -1, 0x7FFFFFFF, -0x7FFFFFFF}) {
        std::uint64_t value = 0;
        EXPECT_NE(TavoRegisterRead(board.handle, id, &value), 0) << id;
        EXPECT_NE(TavoRegisterWrite(board.handle, id, 0), 0) << id;
    }
    EXPECT_NE(TavoRegisterRead(board.handle, board.id("MdioReadReg"), nullptr), 0);
}

TEST_F(Board, KeepsValuesWithinTheRegistersWidth) {
    const OpenBoard board;
    board.write("GigE_TxCamEnable", 0xABCD);
    EXPECT_EQ(board.read("GigE_TxCamEnable"), 0xCDU);
    board.write("CLSyncLen1", 180000);
    EXPECT_EQ(softboard::portState(0, 1).lineLength, 48928);
    board.write("ImagePort2", 0x105F0);
    EXPECT_EQ(softboard::portState(0, 2).imagePort, 0x05F0);
    board.write("GigeReqIdLoad3", 0x1FFFFFFFF);
    EXPECT_EQ(softboard::portState(0, 3).requestId, 0xFFFFFFFFU);
}

TEST_F(Board, TellsItsPropertiesByKey) {
    const QLdevice board = TavoInitAllHWEx(3);
    EXPECT_STREQ(TavoGetBoardInfoString(board, "board/caminterface"), "GigE");
    EXPECT_EQ(TavoGetBoardInfoString(board, "board/serial"), nullptr);
    EXPECT_EQ(TavoGetBoardInfoInt(board, "board/serial"), 7);
    EXPECT_EQ(TavoGetBoardInfoInt(board, "firmware/major"), 2);
    EXPECT_EQ(TavoGetBoardInfoInt(board, "firmware/minor"), 0);
    EXPECT_EQ(TavoGetBoardInfoInt(board, "board/caminterface"), 0);
    EXPECT_EQ(TavoGetBoardInfoInt(nullptr, "board/serial"), 0);
    EXPECT_EQ(TavoGetBoardInfoString(nullptr, "board/caminterface"), nullptr);
    EXPECT_EQ(TavoFreeHW(board), 0);
    for (const int number : {-1, 1, 8, 1000}) {
        EXPECT_EQ(TavoInitAllHWEx(number), nullptr) << number;
    }
}

TEST_F(Board, NeedsTheAppletOfItsFirmware) {
    const QLdevice board = TavoInitAllHWEx(0);
    const fpga_design right = KemFirmwareTrampoline(2, 0);
    const fpga_design wrong = KemFirmwareTrampoline(2, 1);
    std::uint64_t value = 0;
    char buffer[4];
    const auto works = [&] {
        return TavoRegisterRead(board, KemGetRegisterByName(right, "GigeStatus0"), &value) == 0 &&
               TavoDataQueueReadBufferLong(board, 0, buffer, 4, 0) == kTimeout;
    };
    EXPECT_FALSE(works());
    EXPECT_NE(TavoConfigureFpga(board, nullptr), 0);
    EXPECT_NE(TavoConfigureFpga(board, wrong), 0);
    EXPECT_FALSE(works());
    EXPECT_EQ(TavoConfigureFpga(board, right), 0);
    EXPECT_TRUE(works());
    EXPECT_EQ(KemUnloadKemFile(wrong), 0);
    EXPECT_NE(KemUnloadKemFile(wrong), 0);
    EXPECT_EQ(KemUnloadKemFile(right), 0);
    EXPECT_NE(KemUnloadKemFile(nullptr), 0);
    EXPECT_EQ(TavoFreeHW(board), 0);
    for (const auto& [major, minor] : {std::pair{0, 0}, {3, 0}, {2, 256}, {2, -1}}) {
        EXPECT_EQ(KemFirmwareTrampoline(major, minor), nullptr) << major << '.' << minor;
    }
}

TEST_F(Board, LivesUntilItsLastHandleIsReleased) {
    const auto first = std::make_unique<OpenBoard>();
    first->write("CLSyncLen0", 640);
    auto second = std::make_unique<OpenBoard>();
    EXPECT_EQ(softboard::boardState(0).opens, 2U);
    EXPECT_EQ(softboard::portState(0, 0).lineLength, 640) << "the second opening has reset the first";
    const QLdevice dead = second->handle;
    second.reset();
    EXPECT_NE(TavoFreeHW(dead), 0);
    EXPECT_EQ(first->write("CLSyncLen0", 641), 0);
    std::string error;
    EXPECT_FALSE(softboard::loadConfiguration("[board 0]\n", error));
    EXPECT_EQ(error, "configuration: a board is open");
    EXPECT_NE(TavoFreeHW(nullptr), 0);
}

TEST_F(Board, FramesFramesAsWordsWithALengthAndAnEndMark) {
    const OpenBoard board;
    board.enable();
    for (const std::size_t size : {14U, 59U, 60U, 61U, 342U, 1514U, 9014U}) {
        const Bytes frame = numbered(size, 3);
        ASSERT_TRUE(softboard::injectFrame(0, 1, frame.data(), frame.size()));
        Bytes padded = frame;
        padded.resize(size + size % 2); // an odd end is filled with a zero
        EXPECT_EQ(softboard::portState(0, 1).queuedWords, 1 + padded.size() / 2) << size;
        Bytes got;
        ASSERT_EQ(board.receive(1, got, kWaitMs), 0) << size;
        EXPECT_EQ(got, padded) << size;
    }
    EXPECT_EQ(board.read("GigeRecvPktCnt1"), 7U);
}

TEST_F(Board, ReadsTheQueueInWholeWordsAndOnlyWhatIsThere) {
    const OpenBoard board;
    ASSERT_TRUE(softboard::injectQueueWords(0, 0, {1, 2, 3}));
    std::array<std::uint32_t, 8> buffer{};
    const auto read = [&](unsigned channel, void* to, unsigned bytes) {
        return TavoDataQueueReadBufferLong(board.handle, channel, to, bytes, 0);
    };
    EXPECT_EQ(read(0, buffer.data(), 3), 0);
    EXPECT_EQ(read(0, buffer.data(), 7), 4);
    EXPECT_EQ(read(0, buffer.data() + 1, sizeof buffer - 4), 8);
    EXPECT_EQ(buffer, (std::array<std::uint32_t, 8>{1, 2, 3}));
    EXPECT_EQ(read(0, buffer.data(), 4), kTimeout);
    EXPECT_LT(read(4, buffer.data(), 4), 0);
    EXPECT_LT(read(0, nullptr, 4), 0);
    EXPECT_LT(TavoDataQueueReadBufferLong(nullptr, 0, buffer.data(), 4, 0), 0);
    ASSERT_TRUE(softboard::injectQueueWords(0, 0, {1, 2, 3}));
    EXPECT_EQ(TavoDataQueueClear(board.handle, 0), 0);
    EXPECT_EQ(read(0, buffer.data(), 4), kTimeout);
    EXPECT_LT(TavoDataQueueClear(board.handle, 4), 0);
}

TEST_F(Board, WaitsForAFrameNoLongerThanAsked) {
    const OpenBoard board;
    board.enable();
    Bytes frame;
    for (const int timeout : {-5, 0, 30}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(board.receive(0, frame, timeout), kTimeout);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(timeout));
    }
    std::thread later([] {
        const Bytes sent = numbered(60);
        softboard::injectFrame(0, 0, sent.data(), sent.size());
    });
    EXPECT_EQ(board.receive(0, frame, kWaitMs), 0);
    later.join();
}

TEST_F(Board, DropsWholeFramesWhenTheQueueIsFull) {
    configure("[board 0]\n[board 0 port 0]\nqueue_words = 1024\n");
    const OpenBoard board;
    board.enable();
    const Bytes frame = numbered(510); // 256 words: four fit, to the last word
    for (int i = 0; i < 6; ++i) {
        softboard::injectFrame(0, 0, frame.data(), frame.size());
    }
    const softboard::PortState state = softboard::portState(0, 0);
    EXPECT_EQ(state.framesReceived, 4U);
    EXPECT_EQ(state.queueDrops, 2U);
    EXPECT_EQ(board.read("GigeRecvErrCnt0"), 2U);
    Bytes got;
    for (int round = 0; round < 30; ++round) { // several times round the ring
        ASSERT_EQ(board.receive(0, got, kWaitMs), 0);
        ASSERT_EQ(got, frame);
        softboard::injectFrame(0, 0, frame.data(), frame.size());
    }
}

TEST_F(Board, CountsWhatIsNoFrame) {
    const OpenBoard board;
    board.enable();
    for (const std::size_t size : {0U, 13U, 16385U}) {
        const Bytes frame = numbered(size);
        softboard::injectFrame(0, 0, frame.data(), frame.size());
    }
    EXPECT_EQ(board.read("GigeRecvErrCnt0"), 3U);
    EXPECT_EQ(board.read("GigeRecvPktCnt0"), 0U);
    Bytes got;
    EXPECT_EQ(board.receive(0, got, 0), kTimeout);
}

TEST_F(Board, TakesStreamFramesToTheImagePath) {
    const OpenBoard board;
    board.enable();
    Bytes frame(60);
    const Bytes header = {0x08, 0x00, 0x45};
    std::copy(header.begin(), header.end(), frame.begin() + 12);
    const auto make = [&](std::uint8_t low, std::uint8_t protocol, std::uint8_t fragment,
                          std::uint8_t version) {
        frame[14] = version;
        frame[20] = fragment;
        frame[23] = protocol;
        const std::size_t udp = 14 + (version & 15U) * 4;
        std::fill(frame.begin() + 34, frame.end(), std::uint8_t{0});
        frame[udp + 2] = 1520 >> 8;
        frame[udp + 3] = low;
        return frame;
    };
    const std::uint8_t port1 = 1521 & 0xFF;
    const struct {
        const char* name;
        Bytes frame;
        bool image;
    } rows[] = {
        {"to the image port", make(port1, 17, 0x40, 0x45), true},
        {"with IP options", make(port1, 17, 0x40, 0x46), true},
        {"to another port's image port", make(port1 + 1, 17, 0x40, 0x45), false},
        {"TCP", make(port1, 6, 0x40, 0x45), false},
        {"a fragment", make(port1, 17, 0x20, 0x45), false},
        {"IP header too short", make(port1, 17, 0x40, 0x44), false},
        {"IP header beyond the frame", make(port1, 17, 0x40, 0x4A), false},
        {"cut inside the UDP header", Bytes(rows[0].frame.begin(), rows[0].frame.begin() + 41), false},
    };
    unsigned images = 0;
    unsigned all = 0;
    for (const auto& row : rows) {
        softboard::injectFrame(0, 1, row.frame.data(), row.frame.size());
        images += row.image ? 1 : 0;
        EXPECT_EQ(board.read("ImagePackets1"), images) << row.name;
        EXPECT_EQ(board.read("GigeRecvPktCnt1"), ++all) << row.name;
        Bytes got;
        EXPECT_EQ(board.receive(1, got, 0), row.image ? kTimeout : 0) << row.name;
    }
}

TEST_F(Board, SendsOnlyWithEveryEnableAndALink) {
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, station));
    const OpenBoard board;
    const Bytes frame = numbered(62);
    const struct {
        const char* name;
        int boardTx, portTx;
        std::size_t size;
        bool plugged, sent;
    } rows[] = {
        {"all set", 1, 1, 62, true, true},
        {"the board's transmitter is off", 0, 1, 62, true, false},
        {"the port's is off", 1, 0, 62, true, false},
        {"nothing plugged", 1, 1, 62, false, false},
        {"no whole header", 1, 1, 12, true, false},
        {"filled to the shortest", 1, 1, 14, true, true},
    };
    std::size_t sent = 0;
    for (const auto& row : rows) {
        board.write("GigE_TxStart", static_cast<unsigned>(row.boardTx));
        board.write("GigeTxStart0", static_cast<unsigned>(row.portTx));
        if (!row.plugged) {
            ASSERT_TRUE(softboard::detach(0, 0, station));
            EXPECT_FALSE(softboard::detach(0, 0, station));
        }
        EXPECT_EQ(board.send(0, Bytes(frame.begin(), frame.begin() + static_cast<long>(row.size))), 0)
            << row.name;
        if (!row.plugged) {
            ASSERT_TRUE(softboard::attach(0, 0, station));
        }
        sent += row.sent ? 1 : 0;
        EXPECT_EQ(softboard::portState(0, 0).framesSent, sent) << row.name;
    }
    const auto frames = station->frames(2);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0], frame);
    Bytes filled = numbered(14);
    filled.resize(60);
    EXPECT_EQ(frames[1], filled) << "no residue of the frame before";
    EXPECT_EQ(board.strobe(1), 0) << "nothing loaded, nothing sent";
    EXPECT_EQ(softboard::portState(0, 1).framesNotSent, 0U);
}

TEST_F(Board, ReceivesOnlyWithTheReceiverOn) {
    const OpenBoard board;
    const Bytes frame = numbered(60);
    for (const unsigned enabled : {0U, 1U, 0U}) {
        board.write("GigE_RxEnable", enabled);
        softboard::injectFrame(0, 0, frame.data(), frame.size());
    }
    EXPECT_EQ(softboard::portState(0, 0).framesReceived, 1U);
    EXPECT_EQ(softboard::portState(0, 0).framesIgnored, 2U);
}

TEST_F(Board, RefusesAFrameLongerThanItsTransmitBuffer) {
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, station));
    const OpenBoard board;
    board.enable();
    EXPECT_NE(board.send(0, numbered(4098)), 0);
    EXPECT_EQ(board.send(0, numbered(4096)), 0);
    EXPECT_EQ(station->frames(1), std::vector<Bytes>{numbered(4096)});
}

// A write-register command of 54 bytes as the library builds it, with a request id and a UDP checksum.
Bytes command(std::uint16_t id, std::uint16_t checksum, std::uint16_t port = 3956) {
    Bytes frame(60);
    const auto put = [&frame](std::size_t at, unsigned value) {
        frame[at] = static_cast<std::uint8_t>(value >> 8);
        frame[at + 1] = static_cast<std::uint8_t>(value);
    };
    put(12, 0x0800);
    put(14, 0x4500);
    put(16, 44);
    put(22, 0x8011);
    put(36, port);
    put(38, 24);
    put(40, checksum);
    put(42, 0x4201);
    put(44, 0x0082);
    put(46, 8);
    put(48, id);
    return frame;
}

TEST_F(Board, StampsItsOwnRequestIdsIntoPreparedCommands) {
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, station));
    const OpenBoard board;
    board.enable();
    board.write("GigeReqIdLoad0", 0xFFFF);
    const Bytes prepared = command(0x1234, 0);
    board.load(0, prepared);
    board.strobe(0);
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

// A station with a thread of its own that sends everything back.
class Echo : public ethernet::Endpoint {
public:
    Echo() : m_thread([this] { run(); }) {}
    ~Echo() override {
        {
            const std::lock_guard lock(m_mutex);
            m_stop = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }
    void plug(ethernet::FrameSink sink) override {
        const std::lock_guard lock(m_sinkMutex);
        m_sink = std::move(sink);
    }
    void receive(const std::uint8_t* frame, std::size_t size) override {
        {
            const std::lock_guard lock(m_mutex);
            m_frames.emplace_back(frame, frame + size);
        }
        m_changed.notify_all();
    }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        while (!m_stop) {
            m_changed.wait(lock, [this] { return m_stop || !m_frames.empty(); });
            std::vector<Bytes> frames;
            frames.swap(m_frames);
            lock.unlock();
            for (const Bytes& frame : frames) {
                const std::lock_guard sink(m_sinkMutex);
                if (m_sink) {
                    m_sink(frame.data(), frame.size());
                }
            }
            lock.lock();
        }
    }

    std::mutex m_sinkMutex;
    ethernet::FrameSink m_sink;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Bytes> m_frames;
    bool m_stop = false;
    std::thread m_thread;
};

TEST_F(Board, ServesFourPortsFromFourThreadsWhileOthersWatch) {
    constexpr int kRounds = 1500;
    const OpenBoard board;
    board.enable();
    std::vector<std::thread> callers;
    for (int port = 0; port < 4; ++port) {
        ASSERT_TRUE(softboard::attach(0, port, std::make_shared<Echo>()));
        callers.emplace_back([&board, port] {
            for (int round = 0; round < kRounds; ++round) {
                const Bytes sent =
                    numbered(60U + 2U * (static_cast<unsigned>(round) % 700U), std::uint8_t(port));
                Bytes back;
                board.send(port, sent);
                ASSERT_EQ(board.receive(static_cast<unsigned>(port), back, kWaitMs), 0)
                    << port << ' ' << round;
                ASSERT_EQ(back, sent) << port << ' ' << round;
            }
        });
    }
    std::atomic<bool> done{false};
    std::thread watcher([&done] {
        std::string error;
        const auto bystander = std::make_shared<Station>();
        while (!done) {
            for (int port = 0; port < 4; ++port) {
                softboard::startCapture(0, port, "watched.pcap", error);
                softboard::attach(0, port, bystander);
                softboard::portState(0, port);
                softboard::detach(0, port, bystander);
                softboard::stopCapture(0, port);
            }
        }
    });
    for (std::thread& caller : callers) {
        caller.join();
    }
    done = true;
    watcher.join();
    for (int port = 0; port < 4; ++port) {
        EXPECT_EQ(softboard::portState(0, port).framesReceived, static_cast<unsigned>(kRounds));
    }
}

} // namespace
