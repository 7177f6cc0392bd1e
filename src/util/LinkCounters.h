// What is counted of each port of each board as long as the process lives. Other programs may see it too: see
// util/link_pages.h.
//
// Counting costs a load and a store. One thread at a time counts a figure up, which the lock of the port (or
// of the image stream, for what is counted of images) sees to; any thread reads.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace util {

// Moments are nanoseconds of CLOCK_MONOTONIC; 0 stands for none.
enum class Figure : std::uint8_t {
    Use, // a GbeLinkUse
    Mac, // of the connected camera, its first byte highest of 48 bits
    FramesSent,
    FramesReceived,
    Commands,
    Repeated,
    Unanswered,
    Refused,
    RoundTrips,
    RoundTripTime, // nanoseconds of all of them, as the next two
    LastRoundTrip,
    LongestRoundTrip,
    AnswerMoment,
    Heartbeats,
    HeartbeatMoment,
    Images,
    ImageBytes,
    ImagesBroken,
    StreamPackets,
    ImagesLost,
    ImagesDropped,
    MissingPackets,
    ResentPackets,
    Overrun,
    StreamOpen, // 1 while there is an image stream
    Count_
};
inline constexpr std::size_t kFigures = static_cast<std::size_t>(Figure::Count_);

class Counter {
public:
    std::uint64_t get() const { return m_value.load(std::memory_order_relaxed); }
    void set(std::uint64_t value) { m_value.store(value, std::memory_order_relaxed); }
    void add(std::uint64_t more = 1) { set(get() + more); }

private:
    std::atomic<std::uint64_t> m_value{0};
};
// Other processes read them as they stand in memory.
static_assert(std::atomic<std::uint64_t>::is_always_lock_free && sizeof(Counter) == sizeof(std::uint64_t));

class LinkCounters {
public:
    Counter& operator[](Figure figure) { return m_counters[static_cast<std::size_t>(figure)]; }
    const Counter& operator[](Figure figure) const { return m_counters[static_cast<std::size_t>(figure)]; }

private:
    std::array<Counter, kFigures> m_counters;
};

// Those of one port, as numbers.
class LinkFigures {
public:
    LinkFigures() = default;
    explicit LinkFigures(const LinkCounters& counters) {
        for (std::size_t i = 0; i < kFigures; ++i) {
            m_values[i] = counters[static_cast<Figure>(i)].get();
        }
    }

    std::uint64_t operator[](Figure figure) const { return m_values[static_cast<std::size_t>(figure)]; }

private:
    std::array<std::uint64_t, kFigures> m_values{};
};
static_assert(sizeof(LinkFigures) == sizeof(LinkCounters));

inline constexpr int kLinkBoards = 8;
inline constexpr int kLinkPorts = 4; // of each board
inline constexpr std::size_t kLinks = std::size_t{kLinkBoards} * kLinkPorts;

// Those of a port of this process, board 0 to 7, port 0 to 3. They stay where they are until it ends.
LinkCounters& linkCounters(int board, int port);

} // namespace util
