// What hangs on a port: PHYs, links, the hub, faults, the recorder.
#include "support.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <thread>

namespace {

using test::Bytes;
using test::configure;
using test::numbered;
using test::OpenBoard;
using test::Station;

constexpr int kTimeout = -110;
constexpr int kWaitMs = 20000;
constexpr unsigned kLink = 0x0004;
constexpr unsigned kNegotiated = 0x0020;

// MDIO as the library does it, without its pauses.
class Mdio {
public:
    explicit Mdio(const OpenBoard& board) : m_board(board) {}

    std::uint16_t read(unsigned phy, unsigned reg) const {
        m_board.write("GigE_MdioPhyAddr", phy);
        m_board.write("GigE_MdioRegAddr", reg);
        m_board.write("GigE_MdioRD", 0);
        return static_cast<std::uint16_t>(m_board.read("MdioReadReg"));
    }
    void write(unsigned phy, unsigned reg, std::uint16_t value) const {
        m_board.write("GigE_MdioPhyAddr", phy);
        m_board.write("GigE_MdioRegAddr", reg);
        m_board.write("GigE_Mdio", value);
        m_board.write("GigE_MdioWR", 0);
    }
    // Polls register 0 until the reset is over; the count of polls that showed it.
    int awaitReset(unsigned phy) const {
        int polls = 0;
        while ((read(phy, 0) & 0x8000U) != 0) {
            ++polls;
        }
        return polls;
    }
    bool awaitLink(unsigned phy) const {
        const auto end = std::chrono::steady_clock::now() + test::kGenerous;
        while ((read(phy, 1) & kLink) == 0) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }

private:
    const OpenBoard& m_board;
};

TEST(Phy, AnswersAsClause22Says) {
    configure("[board 0]\n");
    ASSERT_TRUE(softboard::attach(0, 1, std::make_shared<Station>()));
    const OpenBoard board;
    const Mdio mdio(board);
    const struct {
        const char* name;
        unsigned phy, reg;
        std::uint16_t value;
    } rows[] = {
        {"control", 1, 0, 0x1140},
        {"status with link", 1, 1, 0x796D},
        {"status without a cable", 0, 1, 0x7949},
        {"partner", 1, 5, 0xC1E1},
        {"no partner", 0, 5, 0},
        {"gigabit abilities", 1, 15, 0x3000},
        {"no such PHY", 4, 1, 0xFFFF},
        {"no such PHY, far", 255, 0, 0xFFFF},
        {"no such register", 1, 32, 0xFFFF},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(mdio.read(row.phy, row.reg), row.value) << row.name;
    }
    mdio.write(1, 1, 0);
    EXPECT_EQ(mdio.read(1, 1), 0x796D) << "status cannot be written";
    EXPECT_EQ(board.read("GigeStatus1"), 1U);
    EXPECT_EQ(board.read("GigeStatus0"), 0U);
}

TEST(Phy, ComesUpAfterResetLinesResetSequenceAndNegotiation) {
    configure("[board 0]\nphy = held\nnegotiation_ms = 20\n");
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 2, station));
    const OpenBoard board;
    board.enable();
    const Mdio mdio(board);
    EXPECT_EQ(mdio.read(2, 0), 0xFFFF) << "held PHYs do not answer";
    mdio.write(2, 0, 0x9140);
    board.write("GigE_Reset", 15);
    EXPECT_EQ(mdio.read(2, 1), 0x7949) << "no link before the sequence";
    board.send(2, numbered(60));
    station->send(numbered(60));
    EXPECT_EQ(softboard::portState(0, 2).framesNotSent, 1U);
    EXPECT_EQ(softboard::portState(0, 2).framesIgnored, 1U);

    const std::array<std::pair<unsigned, std::uint16_t>, 7> sequence = {
        {{29, 0x001B}, {30, 0x418F}, {29, 0x0016}, {30, 0xA2DA}, {29, 0x000B}, {30, 0x0004}, {0, 0x9140}}};
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [reg, value] : sequence) {
        mdio.write(2, reg, value);
    }
    EXPECT_EQ(mdio.awaitReset(2), 2);
    EXPECT_EQ(mdio.read(2, 0), 0x1140) << "reset and restart clear themselves";
    EXPECT_TRUE(mdio.awaitLink(2));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    EXPECT_EQ(mdio.read(2, 1) & kNegotiated, kNegotiated);
    EXPECT_EQ(softboard::phyExtendedRegister(0, 2, 0x1B), 0x418F);
    EXPECT_EQ(softboard::phyExtendedRegister(0, 2, 0x16), 0xA2DA);
    EXPECT_EQ(softboard::phyExtendedRegister(0, 2, 0x0B), 0x0004);
    EXPECT_EQ(softboard::phyRegister(0, 1, 1) & kLink, 0) << "the other PHYs were not restarted";
    board.send(2, numbered(60));
    EXPECT_EQ(softboard::portState(0, 2).framesSent, 1U);
}

TEST(Phy, LosesItsLinkOnResetPowerDownAndUnplugging) {
    configure("[board 0]\nnegotiation_ms = 1\n");
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, station));
    const OpenBoard board;
    const Mdio mdio(board);
    EXPECT_TRUE(softboard::portState(0, 0).linkUp);
    mdio.write(0, 0, 0x1940);
    EXPECT_FALSE(softboard::portState(0, 0).linkUp) << "powered down";
    mdio.write(0, 0, 0x1140);
    EXPECT_TRUE(mdio.awaitLink(0)) << "powered up again";
    board.write("GigE_Reset", 14);
    EXPECT_EQ(softboard::boardState(0).resetLines, 14);
    EXPECT_FALSE(softboard::portState(0, 0).linkUp) << "its reset line";
    board.write("GigE_Reset", 15);
    mdio.write(0, 0, 0x1340);
    EXPECT_TRUE(mdio.awaitLink(0)) << "a restart of the negotiation will do";
    softboard::detachAll(0, 0);
    EXPECT_FALSE(softboard::portState(0, 0).linkUp) << "unplugged";
    EXPECT_TRUE(softboard::powerOnPhys(0, softboard::PhyPowerOn::Held));
    EXPECT_EQ(softboard::boardState(0).resetLines, 0);
    EXPECT_EQ(mdio.read(3, 0), 0xFFFF);
}

Bytes addressed(std::uint8_t to, std::uint8_t from) {
    Bytes frame(60);
    std::fill_n(frame.begin(), 6, to);
    std::fill_n(frame.begin() + 6, 6, from);
    return frame;
}

TEST(Hub, LetsStationsHearEachOtherButNotThePortsOwnFrames) {
    configure("[board 0]\n");
    const auto first = std::make_shared<Station>();
    const auto second = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, first));
    ASSERT_TRUE(softboard::attach(0, 0, second));
    const OpenBoard board;
    board.enable();
    board.send(0, addressed(0xFF, 0x0A));
    first->send(addressed(0xFF, 0x02));
    first->send(addressed(0x0A, 0x02));
    first->send(addressed(0x04, 0x02));
    EXPECT_EQ(first->frames(1), std::vector<Bytes>{addressed(0xFF, 0x0A)});
    const std::vector<Bytes> heard = {addressed(0xFF, 0x0A), addressed(0xFF, 0x02), addressed(0x04, 0x02)};
    EXPECT_EQ(second->frames(3), heard);
    EXPECT_EQ(softboard::portState(0, 0).framesReceived, 3U) << "the port has no address filter";
    EXPECT_EQ(softboard::portState(0, 0).link.sent, 4U);
    EXPECT_EQ(softboard::portState(0, 0).link.received, 3U);
    EXPECT_FALSE(softboard::attach(0, 4, first));
    EXPECT_FALSE(softboard::attach(1, 0, first));
    EXPECT_FALSE(softboard::attach(0, 0, std::shared_ptr<softboard::Link>()));
}

// A link that hands frames over only to the thread that waits for them.
class WaitingLink : public softboard::Link {
public:
    void plug(ethernet::FrameSink sink) override {
        const std::lock_guard lock(m_sinkMutex);
        m_sink = std::move(sink);
    }
    void send(const std::uint8_t*, std::size_t) override {}
    bool carrier() const override { return true; }
    bool readsInPlace() const override { return true; }
    void readInPlace(softboard::Clock::time_point deadline) override {
        std::deque<Bytes> frames;
        {
            std::unique_lock lock(m_mutex);
            waiting = true;
            m_changed.wait_until(lock, deadline, [this] { return m_interrupted || !m_frames.empty(); });
            m_interrupted = waiting = false;
            frames.swap(m_frames);
        }
        reader = std::this_thread::get_id();
        const std::lock_guard lock(m_sinkMutex);
        for (const Bytes& frame : frames) {
            m_sink ? m_sink(frame.data(), frame.size()) : void();
        }
    }
    void interrupt() override {
        {
            const std::lock_guard lock(m_mutex);
            m_interrupted = true;
        }
        m_changed.notify_all();
    }
    void arrive(const Bytes& frame) {
        {
            const std::lock_guard lock(m_mutex);
            m_frames.push_back(frame);
        }
        m_changed.notify_all();
    }

    std::thread::id reader;
    std::atomic<bool> waiting{false};

private:
    std::mutex m_sinkMutex;
    ethernet::FrameSink m_sink;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Bytes> m_frames;
    bool m_interrupted = false;
};

TEST(Link, IsReadInPlaceByTheThreadThatWaits) {
    configure("[board 0]\n");
    const auto link = std::make_shared<WaitingLink>();
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, link));
    const OpenBoard board;
    board.enable();
    Bytes got;
    link->arrive(numbered(60));
    EXPECT_EQ(board.receive(0, got, 0), 0) << "what has arrived is found without waiting";
    EXPECT_EQ(link->reader, std::this_thread::get_id());
    EXPECT_EQ(board.receive(0, got, 5), kTimeout);
    std::thread later([&] { link->arrive(numbered(62)); });
    EXPECT_EQ(board.receive(0, got, kWaitMs), 0);
    later.join();

    ASSERT_TRUE(softboard::attach(0, 0, station));
    std::thread beside([&] {
        while (!link->waiting) {
            std::this_thread::yield();
        }
        station->send(numbered(64));
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(board.receive(0, got, kWaitMs), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(kWaitMs))
        << "a frame from another link did not end the wait";
    beside.join();
    EXPECT_EQ(got, numbered(64));

    link->arrive(numbered(60));
    EXPECT_EQ(TavoDataQueueClear(board.handle, 0), 0);
    EXPECT_EQ(board.receive(0, got, 0), kTimeout) << "clearing reaches what waits on the wire";
    EXPECT_TRUE(softboard::detach(0, 0, link));
    EXPECT_FALSE(softboard::detach(0, 0, link));
}

// Frames 0 to n-1 of a station, as a port with a plan receives them.
std::vector<Bytes> throughFaults(const softboard::FaultPlan& plan, unsigned n) {
    configure("[board 0]\n");
    const auto station = std::make_shared<Station>();
    softboard::attach(0, 0, station);
    softboard::setFaultPlan(0, 0, plan);
    const OpenBoard board;
    board.enable();
    for (unsigned i = 0; i < n; ++i) {
        station->send(numbered(60, static_cast<std::uint8_t>(i)));
    }
    softboard::setFaultPlan(0, 0, {});
    std::vector<Bytes> frames;
    Bytes frame;
    // What was held back for a successor that never came arrives last.
    const std::size_t sure = plan.receive.reorder > 0 ? n : 0;
    while (board.receive(0, frame, frames.size() < sure ? kWaitMs : 0) == 0) {
        frames.push_back(frame);
    }
    return frames;
}

TEST(Faults, DamageTheFramesThatTheSeedPicks) {
    const struct {
        const char* name;
        double softboard::Faults::*fault;
        double probability;
        std::size_t least, most;       // frames of 200 that arrive
        std::size_t leastOdd, mostOdd; // of them those that are not as sent
    } rows[] = {
        {"no faults", &softboard::Faults::drop, 0, 200, 200, 0, 0},
        {"drop some", &softboard::Faults::drop, 0.25, 120, 180, 0, 0},
        {"drop all", &softboard::Faults::drop, 1, 0, 0, 0, 0},
        {"duplicate some", &softboard::Faults::duplicate, 0.25, 220, 280, 0, 0},
        {"duplicate all", &softboard::Faults::duplicate, 1, 400, 400, 0, 0},
        {"flip all", &softboard::Faults::flip, 1, 200, 200, 200, 200},
        {"flip some", &softboard::Faults::flip, 0.25, 200, 200, 20, 80},
        {"reorder some", &softboard::Faults::reorder, 0.25, 200, 200, 0, 0},
        {"truncate all: what is below a header counts as an error", &softboard::Faults::truncate, 1, 120, 180,
         120, 180},
    };
    for (const auto& row : rows) {
        softboard::FaultPlan plan;
        plan.seed = 42;
        plan.receive.*row.fault = row.probability;
        plan.receive.reorderHold = test::kGenerous;
        const auto first = throughFaults(plan, 200);
        EXPECT_GE(first.size(), row.least) << row.name;
        EXPECT_LE(first.size(), row.most) << row.name;
        const auto odd =
            static_cast<std::size_t>(std::count_if(first.begin(), first.end(), [](const Bytes& frame) {
                return frame.size() != 60 || frame != numbered(60, static_cast<std::uint8_t>(frame[30] - 30));
            }));
        EXPECT_GE(odd, row.leastOdd) << row.name;
        EXPECT_LE(odd, row.mostOdd) << row.name;
        EXPECT_EQ(first, throughFaults(plan, 200)) << row.name << ": the same seed, another outcome";
        plan.seed = 43;
        const bool decides = row.probability > 0 && row.probability < 1;
        EXPECT_EQ(first == throughFaults(plan, 200), !decides && row.leastOdd == 0)
            << row.name << ": another seed";
    }
}

TEST(Faults, ReorderingSwapsNeighboursAndLosesNothing) {
    softboard::FaultPlan plan;
    plan.receive.reorder = 0.3;
    plan.receive.reorderHold = test::kGenerous;
    const auto frames = throughFaults(plan, 100);
    std::vector<unsigned> order;
    for (const Bytes& frame : frames) {
        order.push_back(frame[0]);
    }
    EXPECT_FALSE(std::is_sorted(order.begin(), order.end()));
    for (unsigned place = 0; place < order.size(); ++place) {
        EXPECT_NEAR(order[place], place, 12) << "held beyond its successor";
    }
    std::sort(order.begin(), order.end());
    std::vector<unsigned> all(100);
    for (unsigned i = 0; i < 100; ++i) {
        all[i] = i;
    }
    EXPECT_EQ(order, all);
}

TEST(Faults, BeginAnewWithEachPlan) {
    configure("[board 0]\n");
    const auto station = std::make_shared<Station>();
    ASSERT_TRUE(softboard::attach(0, 0, station));
    const OpenBoard board;
    board.enable();
    softboard::FaultPlan plan;
    plan.send.drop = plan.receive.drop = 0.5;
    std::vector<bool> dropped[3];
    for (int run = 0; run < 3; ++run) { // two incoming, one outgoing
        softboard::setFaultPlan(0, 0, plan);
        for (int i = 0; i < 64; ++i) {
            const std::uint64_t before = softboard::portState(0, 0).link.dropped;
            run < 2 ? station->send(numbered(60)) : static_cast<void>(board.send(0, numbered(60)));
            dropped[run].push_back(softboard::portState(0, 0).link.dropped != before);
        }
    }
    EXPECT_EQ(dropped[0], dropped[1]);
    EXPECT_NE(dropped[0], dropped[2]) << "the directions share their decisions";
}

TEST(Faults, DelayedFramesComeLateAndOneDirectionDoesNotTouchTheOther) {
    configure("[board 0]\n[board 0 port 0]\nreceive_fault_delay = 1\nfault_delay_min_ms = "
              "30\nfault_delay_max_ms = 40\n");
    const auto station = std::make_shared<Station>(
        [](const Bytes& frame, const ethernet::FrameSink& sink) { sink(frame.data(), frame.size()); });
    ASSERT_TRUE(softboard::attach(0, 0, station));
    const OpenBoard board;
    board.enable();
    const auto start = std::chrono::steady_clock::now();
    board.send(0, numbered(60));
    EXPECT_EQ(softboard::portState(0, 0).link.sent, 1U) << "sending is not delayed";
    Bytes got;
    EXPECT_EQ(board.receive(0, got, kWaitMs), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    softboard::FaultPlan plan;
    plan.receive.reorder = 1;
    softboard::setFaultPlan(0, 0, plan);
    station->send(numbered(62));
    EXPECT_EQ(board.receive(0, got, kWaitMs), 0) << "a frame without a successor is held for a time only";
    plan.send.drop = 1;
    softboard::setFaultPlan(0, 0, plan);
    board.send(0, numbered(60));
    EXPECT_EQ(softboard::portState(0, 0).link.sent, 1U);
    EXPECT_EQ(softboard::portState(0, 0).link.dropped, 1U);
}

Bytes fileBytes(const char* name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint32_t word(const Bytes& bytes, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

TEST(Capture, HoldsBothDirectionsInOrderAsPcap) {
    configure("[board 0]\n[board 0 port 1]\ncapture = from-configuration-%p.pcap\n");
    const std::string configured = "from-configuration-" + std::to_string(getpid()) + ".pcap";
    const auto station = std::make_shared<Station>(
        [](const Bytes&, const ethernet::FrameSink& sink) { sink(numbered(61, 9).data(), 61); });
    ASSERT_TRUE(softboard::attach(0, 1, station));
    const OpenBoard board;
    board.enable();
    const auto before = std::chrono::system_clock::now();
    board.send(1, numbered(64));
    const Bytes file = fileBytes(configured.c_str());
    ASSERT_EQ(file.size(), 24 + 16 + 64 + 16 + 61U);
    EXPECT_EQ(word(file, 0), 0xA1B23C4DU);
    EXPECT_EQ(file[4], 2);
    EXPECT_EQ(file[6], 4);
    EXPECT_EQ(word(file, 16), 65535U);
    EXPECT_EQ(word(file, 20), 1U) << "link type Ethernet";
    const auto stamp = std::chrono::seconds(word(file, 24)) + std::chrono::nanoseconds(word(file, 28));
    EXPECT_LE(std::chrono::abs(stamp - before.time_since_epoch()), std::chrono::seconds(20));
    EXPECT_EQ(word(file, 32), 64U);
    EXPECT_EQ(word(file, 36), 64U);
    EXPECT_EQ(Bytes(file.begin() + 40, file.begin() + 104), numbered(64));
    EXPECT_EQ(word(file, 112), 61U);
    EXPECT_EQ(Bytes(file.begin() + 120, file.end()), numbered(61, 9));

    std::string error;
    std::ofstream("second.pcap") << std::string(1000, 'x'); // a longer one of that name
    ASSERT_TRUE(softboard::startCapture(0, 1, "second.pcap", error)) << error;
    board.send(1, numbered(64));
    softboard::stopCapture(0, 1);
    board.send(1, numbered(64));
    EXPECT_EQ(fileBytes("second.pcap").size(), file.size());
    EXPECT_EQ(fileBytes(configured.c_str()).size(), file.size()) << "the earlier recorder has ended";
    EXPECT_FALSE(softboard::startCapture(0, 1, "no/such/folder.pcap", error));
    EXPECT_EQ(error, "cannot make capture file no/such/folder.pcap: No such file or directory");
    EXPECT_FALSE(softboard::startCapture(0, 4, "second.pcap", error));
}

} // namespace
