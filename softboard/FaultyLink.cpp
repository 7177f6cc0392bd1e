#include "softboard/FaultyLink.h"

#include <algorithm>
#include <utility>

namespace softboard {

namespace {

// SplitMix64: a good stream of numbers from any seed.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        m_state += 0x9E3779B97F4A7C15;
        std::uint64_t z = m_state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    bool chance(double probability) {
        constexpr double kUnit = 1.0 / 9007199254740992.0; // 2 to the power of -53
        return static_cast<double>(next() >> 11) * kUnit < probability;
    }

private:
    std::uint64_t m_state;
};

std::uint64_t frameSeed(std::uint64_t seed, Direction direction, std::uint64_t index) {
    Random mixed(seed);
    const std::uint64_t start = mixed.next() + (direction == Direction::Send ? 0 : mixed.next());
    return Random(start ^ index).next();
}

} // namespace

// Every number is drawn whether it is needed or not: changing one probability leaves the other decisions
// alone.
FaultDecision decideFault(const FaultPlan& plan, Direction direction, std::uint64_t index, std::size_t size) {
    const Faults& faults = direction == Direction::Send ? plan.send : plan.receive;
    Random random(frameSeed(plan.seed, direction, index));
    FaultDecision decision;
    decision.drop = random.chance(faults.drop);
    decision.duplicate = random.chance(faults.duplicate);
    decision.reorder = random.chance(faults.reorder);
    decision.flip = random.chance(faults.flip) && size > 0;
    const bool truncate = random.chance(faults.truncate);
    const bool delay = random.chance(faults.delay);
    const std::uint64_t bit = random.next();
    const std::uint64_t cut = random.next();
    const std::uint64_t late = random.next();
    decision.flipBit = decision.flip ? static_cast<std::size_t>(bit % (size * 8)) : 0;
    decision.size = truncate && size > 0 ? static_cast<std::size_t>(cut % size) : size;
    if (delay) {
        const auto range = std::max<std::int64_t>(0, (faults.delayMax - faults.delayMin).count());
        decision.delay = faults.delayMin + std::chrono::microseconds(static_cast<std::int64_t>(
                                               late % (static_cast<std::uint64_t>(range) + 1)));
    }
    return decision;
}

FaultyLink::FaultyLink(std::shared_ptr<Link> inner) : m_inner(std::move(inner)) {}

FaultyLink::~FaultyLink() {
    shutDown();
}

void FaultyLink::shutDown() {
    plug({});
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void FaultyLink::setPlan(const FaultPlan& plan) {
    const std::lock_guard lock(m_mutex);
    m_plan = plan;
    m_next = {};
    m_sound = !plan.send.any() && !plan.receive.any();
    Schedule schedule;
    for (auto& [due, waiting] : m_schedule) {
        schedule.emplace(waiting.heldForNext ? Clock::time_point::min() : due, std::move(waiting));
    }
    m_schedule.swap(schedule);
    m_changed.notify_all();
}

void FaultyLink::plug(ethernet::FrameSink sink) {
    m_inner->plug({});
    {
        const std::lock_guard delivering(m_delivering);
        const std::lock_guard lock(m_mutex);
        m_schedule.clear();
        m_sink = std::move(sink);
        if (!m_sink) {
            return;
        }
    }
    m_inner->plug(
        [this](const std::uint8_t* frame, std::size_t size) { pass(Direction::Receive, frame, size); });
}

void FaultyLink::send(const std::uint8_t* frame, std::size_t size) {
    pass(Direction::Send, frame, size);
}

LinkStatistics FaultyLink::statistics() const {
    LinkStatistics statistics = m_inner->statistics();
    statistics.dropped += m_dropped;
    return statistics;
}

void FaultyLink::pass(Direction direction, const std::uint8_t* frame, std::size_t size) {
    if (m_sound.load(std::memory_order_acquire)) {
        deliver(direction, frame, size);
        return;
    }
    for (const Bytes& bytes : decide(direction, frame, size)) {
        deliver(direction, bytes.data(), bytes.size());
    }
}

// The frames to deliver now; the others are on the schedule.
std::vector<FaultyLink::Bytes>
FaultyLink::decide(Direction direction, const std::uint8_t* frame, std::size_t size) {
    std::vector<Bytes> now;
    const std::lock_guard lock(m_mutex);
    const FaultDecision fault =
        decideFault(m_plan, direction, m_next[static_cast<std::size_t>(direction)]++, size);
    if (fault.drop) {
        m_dropped.fetch_add(1, std::memory_order_relaxed);
        return now;
    }
    Bytes bytes(frame, frame + size);
    if (fault.flip) {
        bytes[fault.flipBit / 8] ^= static_cast<std::uint8_t>(1U << fault.flipBit % 8);
    }
    bytes.resize(fault.size);
    const Faults& faults = direction == Direction::Send ? m_plan.send : m_plan.receive;
    const bool late = fault.reorder || fault.delay.count() > 0;
    const auto due = Clock::now() + fault.delay + (fault.reorder ? faults.reorderHold : fault.delay * 0);
    for (int copy = fault.duplicate ? 2 : 1; copy > 0; --copy) {
        if (late) {
            wait(due, {direction, fault.reorder, bytes});
        } else {
            now.push_back(bytes);
        }
    }
    if (!now.empty()) {
        releaseHeld(direction, now);
    }
    return now;
}

void FaultyLink::wait(Clock::time_point until, Waiting waiting) {
    if (m_stop || m_schedule.size() >= kMostWaiting) {
        m_dropped.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    m_schedule.emplace(until, std::move(waiting));
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { run(); });
    }
    m_changed.notify_all();
}

void FaultyLink::releaseHeld(Direction direction, std::vector<Bytes>& frames) {
    for (auto it = m_schedule.begin(); it != m_schedule.end();) {
        if (it->second.heldForNext && it->second.direction == direction) {
            frames.push_back(std::move(it->second.frame));
            it = m_schedule.erase(it);
        } else {
            ++it;
        }
    }
}

void FaultyLink::deliver(Direction direction, const std::uint8_t* frame, std::size_t size) {
    if (direction == Direction::Send) {
        m_inner->send(frame, size);
    } else if (m_sink) {
        m_sink(frame, size);
    }
}

void FaultyLink::run() {
    std::unique_lock lock(m_mutex);
    while (!m_stop) {
        if (m_schedule.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const auto due = m_schedule.begin()->first;
        if (Clock::now() < due) {
            m_changed.wait_until(lock, due);
            continue;
        }
        lock.unlock();
        {
            const std::lock_guard delivering(m_delivering);
            lock.lock();
            const bool ready = !m_schedule.empty() && m_schedule.begin()->first <= Clock::now();
            auto frame = ready ? m_schedule.extract(m_schedule.begin()) : Schedule::node_type();
            lock.unlock();
            if (!frame.empty()) {
                const Waiting& waiting = frame.mapped();
                deliver(waiting.direction, waiting.frame.data(), waiting.frame.size());
            }
        }
        lock.lock();
    }
}

} // namespace softboard
