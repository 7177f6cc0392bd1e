// What hangs on a port: PHYs, links, the hub, faults, the recorder.
#include "support.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>
#include <fstream>
#include <thread>

namespace {

using namespace test;

constexpr unsigned kLink = 0x0004;

class Links : public testing::Test {
protected:
    void SetUp() override { configure("[board 0]\nnegotiation_ms = 20\n"); }
};

// MDIO as the library does it, without its pauses.
class Mdio {
public:
    explicit Mdio(const OpenBoard& board) : m_board(board) {}

    unsigned read(unsigned phy, unsigned reg) const {
        strobe(phy, reg, "GigE_MdioRD");
        return static_cast<unsigned>(m_board.read("MdioReadReg"));
    }
    void write(unsigned phy, unsigned reg, unsigned value) const {
        m_board.write("GigE_Mdio", value);
        strobe(phy, reg, "GigE_MdioWR");
    }
    bool awaitLink(unsigned phy) const {
        const auto end = Clock::now() + kGenerous;
        while ((read(phy, 1) & kLink) == 0 && Clock::now() < end) {
            std::this_thread::yield();
        }
        return (read(phy, 1) & kLink) != 0;
    }

private:
    void strobe(unsigned phy, unsigned reg, const char* direction) const {
        m_board.write("GigE_MdioPhyAddr", phy);
        m_board.write("GigE_MdioRegAddr", reg);
        m_board.write(direction, 0);
    }

    const OpenBoard& m_board;
};

TEST_F(Links, ComeUpAfterResetLinesResetSequenceAndNegotiation) {
    const auto station = plugIn(2);
    const OpenBoard board;
    board.enable();
    const Mdio mdio(board);
    ASSERT_TRUE(softboard::powerOnPhys(0, softboard::PhyPowerOn::Held));
    EXPECT_EQ(mdio.read(2, 0), 0xFFFFU) << "held PHYs do not answer";
    mdio.write(2, 0, 0x9140);
    board.write("GigE_Reset", 15);
    EXPECT_EQ(mdio.read(2, 1), 0x7949U) << "no link before the sequence";
    EXPECT_EQ(mdio.read(2, 5), 0U) << "no partner";
    EXPECT_EQ(mdio.read(2, 32), 0xFFFFU) << "no such register";
    EXPECT_EQ(mdio.read(4, 1), 0xFFFFU) << "no such PHY";
    EXPECT_EQ(board.read("GigeStatus2"), 0U);
    board.send(2, numbered(60));
    station->send(numbered(60));
    EXPECT_EQ(state(2).framesNotSent, 1U);
    EXPECT_EQ(state(2).framesIgnored, 1U);

    const std::pair<unsigned, unsigned> sequence[] = {{29, 0x1B}, {30, 0x418F}, {29, 0x16}, {30, 0xA2DA},
                                                      {29, 0x0B}, {30, 0x0004}, {0, 0x9140}};
    const auto start = Clock::now();
    for (const auto& [reg, value] : sequence) {
        mdio.write(2, reg, value);
    }
    int polls = 0;
    while (mdio.read(2, 0) == 0x9140) {
        ++polls;
    }
    EXPECT_LE(polls, 2);
    EXPECT_EQ(mdio.read(2, 0), 0x1140U) << "reset and restart clear themselves";
    EXPECT_TRUE(mdio.awaitLink(2));
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20));
    mdio.write(2, 1, 0);
    EXPECT_EQ(mdio.read(2, 1), 0x796DU) << "status cannot be written";
    EXPECT_EQ(mdio.read(2, 5), 0xC1E1U) << "the partner";
    EXPECT_EQ(board.read("GigeStatus2"), 1U);
    EXPECT_EQ(softboard::phyExtendedRegister(0, 2, 0x1B), 0x418F);
    EXPECT_EQ(softboard::phyExtendedRegister(0, 2, 0x0B), 0x0004);
    EXPECT_EQ(softboard::phyRegister(0, 1, 1) & kLink, 0) << "the other PHYs were not restarted";
    board.send(2, numbered(60));
    EXPECT_EQ(state(2).framesSent, 1U);

    for (const unsigned control : {0x1940U, 0x1540U}) {
        mdio.write(2, 0, control);
        EXPECT_FALSE(state(2).linkUp) << "powered down, isolated";
        mdio.write(2, 0, 0x1140);
        EXPECT_TRUE(mdio.awaitLink(2)) << "and as before";
    }
    board.write("GigE_Reset", 11);
    EXPECT_FALSE(state(2).linkUp) << "its reset line";
    board.write("GigE_Reset", 15);
    EXPECT_FALSE(state(2).linkUp) << "lost until it negotiates";
    mdio.write(2, 0, 0x1340);
    EXPECT_TRUE(mdio.awaitLink(2)) << "a restart of the negotiation will do";
    board.write("GigE_Reset", 14);
    EXPECT_TRUE(state(2).linkUp) << "another PHY's reset line";
    softboard::detachAll(0, 2);
    EXPECT_FALSE(state(2).linkUp) << "unplugged";
}

TEST_F(Links, StationsHearEachOtherButNotThePortsOwnFrames) {
    const auto addressed = [](std::uint8_t to, std::uint8_t from) {
        Bytes frame(60);
        std::fill_n(frame.begin(), 6, to);
        std::fill_n(frame.begin() + 6, 6, from);
        return frame;
    };
    const auto first = plugIn(0);
    const auto second = plugIn(0);
    const OpenBoard board;
    board.enable();
    board.send(0, addressed(0xFF, 0x0A));
    for (const std::uint8_t to : {0xFF, 0x0A, 0x04}) {
        first->send(addressed(to, 0x02));
    }
    EXPECT_EQ(first->frames(1), std::vector<Bytes>{addressed(0xFF, 0x0A)});
    const std::vector<Bytes> heard = {addressed(0xFF, 0x0A), addressed(0xFF, 0x02), addressed(0x04, 0x02)};
    EXPECT_EQ(second->frames(3), heard);
    EXPECT_EQ(state(0).framesReceived, 3U) << "the port has no address filter";
    EXPECT_EQ(state(0).link.sent, 4U);
    EXPECT_EQ(state(0).link.received, 3U);
    EXPECT_FALSE(softboard::attach(0, 4, first));
    EXPECT_FALSE(softboard::attach(1, 0, first));
}

// A link that hands frames over only to the thread that waits for them.
class WaitingLink : public softboard::Link {
public:
    void plug(ethernet::FrameSink sink) override {
        const std::lock_guard lock(m_mutex);
        m_sink = std::move(sink);
    }
    void send(const std::uint8_t*, std::size_t) override {}
    bool carrier() const override { return true; }
    bool readsInPlace() const override { return true; }
    void readInPlace(softboard::Clock::time_point deadline) override {
        std::unique_lock lock(m_mutex);
        waiting = true;
        m_changed.wait_until(lock, deadline, [this] { return m_interrupted || !m_frames.empty(); });
        m_interrupted = waiting = false;
        for (const Bytes& frame : m_frames) {
            m_sink ? m_sink(frame.data(), frame.size()) : void();
        }
        m_frames.clear();
    }
    void interrupt() override { change(m_interrupted, true); }
    void arrive(const Bytes& frame) { change(m_frames, {frame}); }

    std::atomic<bool> waiting{false};

private:
    template<class Value> void change(Value& value, Value to) {
        {
            const std::lock_guard lock(m_mutex);
            value = std::move(to);
        }
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    ethernet::FrameSink m_sink;
    std::condition_variable m_changed;
    std::vector<Bytes> m_frames;
    bool m_interrupted = false;
};

TEST_F(Links, AreReadInPlaceByTheThreadThatWaits) {
    const auto link = std::make_shared<WaitingLink>();
    ASSERT_TRUE(softboard::attach(0, 0, link));
    const OpenBoard board;
    board.enable();
    Bytes got;
    link->arrive(numbered(60));
    EXPECT_EQ(board.receive(0, got, 0), 0) << "what has arrived is found without waiting";
    EXPECT_EQ(board.receive(0, got, 5), kTimeout);
    const auto station = plugIn(0);
    for (const bool beside : {false, true}) {
        std::thread later([&] {
            while (!link->waiting) {
                std::this_thread::yield();
            }
            beside ? station->send(numbered(64)) : link->arrive(numbered(62));
        });
        const auto start = Clock::now();
        EXPECT_EQ(board.receive(0, got, kWaitMs), 0);
        EXPECT_LT(Clock::now() - start, kGenerous) << "a frame from another link did not end the wait";
        later.join();
        EXPECT_EQ(got, numbered(beside ? 64 : 62));
    }
    link->arrive(numbered(60));
    EXPECT_EQ(TavoDataQueueClear(board.handle, 0), 0);
    EXPECT_EQ(board.receive(0, got, 0), kTimeout) << "clearing reaches what waits on the wire";
    EXPECT_TRUE(softboard::detach(0, 0, link));
    EXPECT_FALSE(softboard::detach(0, 0, link));
}

constexpr std::uint8_t kCount = 200;

// Frames of a station as a port with a plan receives them.
std::vector<Bytes> throughFaults(const softboard::FaultPlan& plan) {
    const auto station = plugIn(0);
    const OpenBoard board;
    board.enable();
    softboard::setFaultPlan(0, 0, plan);
    for (std::uint8_t i = 0; i < kCount; ++i) {
        station->send(numbered(60, i));
    }
    softboard::setFaultPlan(0, 0, {});
    std::vector<Bytes> frames;
    Bytes frame;
    // What was held back for a successor that never came arrives last.
    const std::size_t sure = plan.receive.reorder > 0 ? kCount : 0;
    while (board.receive(0, frame, frames.size() < sure ? kWaitMs : 0) == 0) {
        frames.push_back(frame);
    }
    softboard::detachAll(0, 0);
    return frames;
}

TEST_F(Links, HaveTheFaultsThatTheSeedPicks) {
    using softboard::Faults;
    const struct {
        const char* name;
        double Faults::*fault;
        double probability;
        std::size_t least, most;       // frames of 200 that arrive
        std::size_t leastOdd, mostOdd; // of them those that are not as sent
        int farthest;                  // from its place when nothing is lost
    } rows[] = {
        {"no faults", &Faults::drop, 0, 200, 200, 0, 0, 0},
        {"drop some", &Faults::drop, 0.25, 120, 180, 0, 0, -1},
        {"duplicate all", &Faults::duplicate, 1, 400, 400, 0, 0, -1},
        {"flip some", &Faults::flip, 0.25, 200, 200, 20, 80, -1},
        {"swap some with their successors", &Faults::reorder, 0.25, 200, 200, 0, 0, 12},
        {"truncate all: below a header is an error", &Faults::truncate, 1, 120, 180, 120, 180, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        softboard::FaultPlan plan;
        plan.seed = 42;
        plan.receive.*row.fault = row.probability;
        plan.receive.reorderHold = 3 * kGenerous; // until the next plan
        const auto first = throughFaults(plan);
        EXPECT_GE(first.size(), row.least);
        EXPECT_LE(first.size(), row.most);
        const auto odd = std::count_if(first.begin(), first.end(), [](const Bytes& frame) {
            return frame.size() != 60 || frame != numbered(60, static_cast<std::uint8_t>(frame[30] - 30));
        });
        EXPECT_GE(static_cast<std::size_t>(odd), row.leastOdd);
        EXPECT_LE(static_cast<std::size_t>(odd), row.mostOdd);
        int farthest = 0;
        std::vector<bool> seen(256);
        for (std::size_t place = 0; place < first.size(); ++place) {
            farthest = std::max(farthest, std::abs(first[place][0] - static_cast<int>(place)));
            seen[first[place][0]] = true;
        }
        EXPECT_TRUE(row.farthest < 0 || (farthest <= row.farthest && (farthest > 0) == (row.farthest > 0)));
        EXPECT_TRUE(row.farthest < 0 || std::count(seen.begin(), seen.end(), true) == kCount);
        EXPECT_EQ(first, throughFaults(plan)) << "the same seed, another outcome";
        plan.seed = 43;
        const bool decides = row.probability > 0 && row.probability < 1;
        EXPECT_EQ(first == throughFaults(plan), !decides && row.leastOdd == 0) << "another seed";
    }
}

TEST_F(Links, DelayAndHoldFramesForATimeOnly) {
    configure("[board 0]\n[board 0 port 0]\nreceive_fault_delay = 1\nfault_delay_min_ms = 30\n"
              "fault_delay_max_ms = 40\n");
    plugIn(0, [](const Bytes& frame, const ethernet::FrameSink& sink) { sink(frame.data(), frame.size()); });
    const OpenBoard board;
    board.enable();
    softboard::FaultPlan holding;
    holding.receive.reorder = 1;
    holding.receive.reorderHold = std::chrono::milliseconds(30);
    for (const char* fault : {"delayed", "without a successor to change places with"}) {
        const auto start = Clock::now();
        board.send(0, numbered(60));
        Bytes got;
        EXPECT_EQ(board.receive(0, got, kWaitMs), 0) << fault;
        EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(30)) << fault;
        softboard::setFaultPlan(0, 0, holding);
    }
    EXPECT_EQ(state(0).link.sent, 2U);
    EXPECT_EQ(state(0).link.dropped, 0U);
}

Bytes fileBytes(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(Links, AreRecordedInBothDirectionsInOrder) {
    configure("[board 0]\n[board 0 port 1]\ncapture = from-configuration-%p.pcap\n");
    const std::string configured = "from-configuration-" + std::to_string(getpid()) + ".pcap";
    plugIn(1, [](const Bytes&, const ethernet::FrameSink& sink) { sink(numbered(61, 9).data(), 61); });
    const OpenBoard board;
    board.enable();
    board.send(1, numbered(64));
    const Bytes file = fileBytes(configured);
    ASSERT_EQ(file.size(), 24 + 16 + 64 + 16 + 61U);
    EXPECT_EQ(Bytes(file.begin() + 40, file.begin() + 104), numbered(64));
    EXPECT_EQ(Bytes(file.begin() + 120, file.end()), numbered(61, 9));
    std::uint32_t words[8];
    std::memcpy(words, file.data(), sizeof words);
    EXPECT_LE(std::abs(std::time(nullptr) - static_cast<std::time_t>(words[6])), 20);
    EXPECT_LT(words[7], 1000000000U) << "nanoseconds, as the magic number says";
    std::string error;
    std::ofstream("second.pcap") << std::string(1000, 'x'); // a longer one of that name
    ASSERT_TRUE(softboard::startCapture(0, 1, "second.pcap", error)) << error;
    board.send(1, numbered(64));
    softboard::stopCapture(0, 1);
    board.send(1, numbered(64));
    EXPECT_EQ(fileBytes("second.pcap").size(), file.size());
    EXPECT_EQ(fileBytes(configured).size(), file.size()) << "the earlier recorder has ended";
    EXPECT_FALSE(softboard::startCapture(0, 1, "no/such/folder.pcap", error));
    EXPECT_EQ(error, "cannot make capture file no/such/folder.pcap: No such file or directory");
}

} // namespace
