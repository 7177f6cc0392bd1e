// A camera and a network with faults of a seeded plan against the receiver: whatever is lost, repeated, mixed
// up or sent again, images come in order and once, and every byte is the one that was sent or in the map.
#include "gvsp/rig.h"

#include <map>
#include <random>
#include <set>

namespace {

using namespace gvsp;
using namespace rig;
using std::chrono::microseconds;
using std::chrono::milliseconds;

struct Plan {
    unsigned seed = 0;
    double loss = 0;
    bool resend = false;
    double refused = 0; // of packets asked for: the camera does not have them any more
    double repeated = 0.02;
    double delayed = 0.05; // by up to eight packets
    bool extended = false;
};

class Simulation {
public:
    explicit Simulation(const Plan& plan)
        : m_plan(plan), m_random(plan.seed), m_rig(settings(), 1500, 48), m_payload(20 + m_random() % 200) {}

    void run(unsigned blocks) {
        for (m_last = 1; m_last <= blocks; ++m_last) {
            sendBlock(m_last);
        }
        --m_last;
        while (!m_wire.empty() || m_rig.receiver.deadline()) {
            const auto due = m_rig.receiver.deadline();
            step(m_wire.empty() ? *due : due ? std::min(*due, m_wire.begin()->first) : m_wire.begin()->first);
        }
        checkCounters();
    }
    unsigned images = 0;
    unsigned complete = 0;
    const Counters& counters() const { return m_rig.receiver.counters(); }

private:
    Settings settings() const {
        Settings settings;
        settings.resend = m_plan.resend;
        settings.payloadSize = 1000;
        return settings;
    }
    bool chance(double probability) { return std::uniform_real_distribution<>(0, 1)(m_random) < probability; }

    Sent sent(std::uint64_t block) const {
        return {
            .block = block,
            .width = 30 + static_cast<std::uint32_t>(block * 7 % 20),
            .height = 20,
            .packetPayload = m_payload,
            .extended = m_plan.extended,
            .timestamp = block};
    }
    void toWire(Time at, Bytes packet) {
        if (chance(m_plan.loss)) {
            return;
        }
        const Time late = chance(m_plan.delayed) ? microseconds(10 * (m_random() % 8)) : Time{};
        if (chance(m_plan.repeated)) {
            m_wire.emplace(at + late + microseconds(25), packet);
        }
        m_wire.emplace(at + late, std::move(packet));
    }
    void sendBlock(std::uint64_t block) {
        const Sent image = sent(block);
        for (std::uint32_t id = 0; id <= image.trailerId(); ++id) {
            m_clock += microseconds(10);
            toWire(m_clock, image.packet(id));
            step(m_clock);
        }
    }
    void step(Time until) {
        while (!m_wire.empty() && m_wire.begin()->first <= until) {
            m_rig.now = m_wire.begin()->first;
            m_rig.send(m_wire.begin()->second);
            note(m_wire.begin()->second);
            m_wire.erase(m_wire.begin());
        }
        m_rig.now = std::max(m_rig.now, until);
        m_rig.receiver.advance(m_rig.now);
        for (ResendWish wish; m_rig.receiver.nextWish(wish);) {
            answer(wish);
        }
        for (Image image; m_rig.receiver.nextImage(image);) {
            check(image);
            m_rig.receiver.lend(image.buffer);
        }
    }
    void note(const Bytes& bytes) {
        Packet packet;
        ASSERT_TRUE(read(bytes, packet));
        if (!packet.isError()) {
            m_arrived[packet.block].insert(packet.id);
        }
    }
    void answer(const ResendWish& wish) {
        EXPECT_TRUE(m_plan.resend);
        const Sent image = sent(wish.block);
        for (std::uint32_t id = wish.first; id <= wish.last; ++id) {
            EXPECT_EQ(m_arrived[wish.block].count(id), 0U) << "asked for what is here";
            Bytes packet = image.packet(std::min(id, image.trailerId()));
            if (chance(m_plan.refused) || id > image.trailerId()) {
                packet = stream::packet(
                    Format::Payload, wish.block, id, {}, m_plan.extended, Status::PacketUnavailable);
            } else if (!m_plan.extended) {
                packet[0] = 1; // status: resent
            }
            toWire(m_rig.now + microseconds(200), packet);
        }
    }
    void check(const Image& image) {
        const Sent source = sent(image.block);
        ASSERT_GT(image.block, m_lastOut) << "in order, once";
        m_lastOut = image.block;
        expectBytes(image, source);
        std::set<std::uint32_t>& arrived = m_arrived[image.block];
        if (image.status == ImageStatus::Complete) {
            EXPECT_EQ(image.size, source.size());
            for (std::uint32_t id = 1; id < source.trailerId(); ++id) {
                EXPECT_EQ(arrived.count(id), 1U) << id;
            }
        }
        ++images;
        complete += image.status == ImageStatus::Complete ? 1 : 0;
    }
    void checkCounters() const {
        EXPECT_EQ(counters().complete, complete);
        EXPECT_EQ(counters().complete + counters().incomplete, images);
        EXPECT_EQ(counters().droppedArriving, 0U);
        EXPECT_EQ(counters().malformed, 0U);
    }

    const Plan m_plan;
    std::mt19937 m_random;
    Rig m_rig;
    const std::size_t m_payload;
    std::multimap<Time, Bytes> m_wire;
    std::map<std::uint64_t, std::set<std::uint32_t>> m_arrived;
    Time m_clock{milliseconds(1000)};
    std::uint64_t m_lastOut = 0;
    std::uint64_t m_last = 0;
};

constexpr unsigned kBlocks = 60;

TEST(Model, WhatIsLostIsAskedForUntilItComes) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        const double loss = 0.01 * (seed % 4);
        Simulation run(
            {.seed = seed, .loss = loss, .resend = loss > 0 || seed % 3 == 0, .extended = seed % 8 < 4});
        run.run(kBlocks);
        EXPECT_EQ(run.complete, kBlocks);
        EXPECT_TRUE(loss > 0 || run.counters().wishes == 0);
    }
}

TEST(Model, WhatIsNotSentAgainIsInTheMap) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        Simulation run(
            {.seed = seed,
             .loss = 0.02 * (1 + seed % 8),
             .resend = seed % 2 != 0,
             .refused = 0.1 * (seed % 10),
             .extended = seed % 4 < 2});
        run.run(kBlocks);
        EXPECT_EQ(run.images + run.counters().lostBlocks, kBlocks);
    }
}

} // namespace
