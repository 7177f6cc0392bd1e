// A wire that loses, repeats, mixes up, damages and delays frames, the same way each time for one seed.
#pragma once

#include "softboard/FaultPlan.h"
#include "softboard/Link.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace softboard {

enum class Direction : std::uint8_t { Send, Receive };

// What happens to one frame.
struct FaultDecision {
    bool drop = false;
    bool duplicate = false;
    bool reorder = false;
    bool flip = false;
    std::size_t flipBit = 0; // of the frame as sent: byte flipBit / 8
    std::size_t size = 0;    // bytes that remain
    std::chrono::microseconds delay{0};
};

// The decision on frame `index` of a direction: a function of its arguments, so that a plan can be read
// ahead.
FaultDecision decideFault(const FaultPlan& plan, Direction direction, std::uint64_t index, std::size_t size);

// Decorates another link, for ever. Without a plan frames pass straight through. Frames that wait for their
// time are kept by one thread, which starts when it is first needed; beyond kMostWaiting they are lost.
class FaultyLink final : public Link {
public:
    static constexpr std::size_t kMostWaiting = 4096;

    explicit FaultyLink(std::shared_ptr<Link> inner);
    ~FaultyLink() override;

    // Frames that are late keep the time that they were given; those that wait for a successor go now.
    void setPlan(const FaultPlan& plan);

    // Whether frames pass straight through; then those of a ring need not pass at all.
    bool isSound() const { return m_sound.load(std::memory_order_acquire); }
    // A frame that came past the inner link's sink.
    void arrive(const std::uint8_t* frame, std::size_t size) { pass(Direction::Receive, frame, size); }

    // Unplugs and ends the thread; frames that would have to wait are lost from now on.
    void shutDown();

    // Frames that wait are lost with the change.
    void plug(ethernet::FrameSink sink) override;
    void send(const std::uint8_t* frame, std::size_t size) override;
    bool carrier() const override { return m_inner->carrier(); }
    LinkStatistics statistics() const override;
    void setImagePort(std::uint16_t udpPort) override { m_inner->setImagePort(udpPort); }
    std::shared_ptr<netif::PacketRing>
    openRing(const netif::Mac& station, const netif::ImagePackets& packets, int& error) override {
        return m_inner->openRing(station, packets, error);
    }
    void closeRing() override { m_inner->closeRing(); }
    bool readsInPlace() const override { return m_inner->readsInPlace(); }
    void readInPlace(Clock::time_point deadline) override { m_inner->readInPlace(deadline); }
    void interrupt() override { m_inner->interrupt(); }

private:
    using Bytes = std::vector<std::uint8_t>;
    struct Waiting {
        Direction direction;
        bool heldForNext; // goes early when another frame passes
        Bytes frame;
    };
    using Schedule = std::multimap<Clock::time_point, Waiting>;

    void pass(Direction direction, const std::uint8_t* frame, std::size_t size);
    std::vector<Bytes> decide(Direction direction, const std::uint8_t* frame, std::size_t size);
    void wait(Clock::time_point until, Waiting waiting);
    void releaseHeld(Direction direction, std::vector<Bytes>& frames);
    void deliver(Direction direction, const std::uint8_t* frame, std::size_t size);
    void run();

    const std::shared_ptr<Link> m_inner;
    ethernet::FrameSink m_sink; // changed only while nothing delivers
    std::atomic<bool> m_sound{true};
    std::atomic<std::uint64_t> m_dropped{0};

    std::mutex m_delivering; // held by the thread while it delivers; taken before m_mutex
    std::mutex m_mutex;      // guards what follows
    std::condition_variable m_changed;
    FaultPlan m_plan;
    std::array<std::uint64_t, 2> m_next{}; // frame number, by direction
    Schedule m_schedule;
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace softboard
