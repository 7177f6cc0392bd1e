// The data queue channel of one port: received frames as 32-bit words, in the framing that the FPGA gives
// them.
#pragma once

#include "softboard/Link.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

namespace softboard {

// One frame of n bytes becomes a length word L, which is n rounded up to even, and L/2 data words: bits 0 to
// 15 hold the next two bytes, the first of them lowest, bit 16 marks the last word. The byte after an odd end
// is 0. The reader sees nothing but a stream of words. Bounded; a frame goes in whole or not at all. Any
// thread may call anything; one thread reads at a time.
class DataQueue {
public:
    static constexpr std::size_t kDefaultWords = std::size_t{1} << 17;
    static constexpr std::size_t kLargestFrame = 16384; // above every jumbo frame
    static constexpr std::uint32_t kEndOfFrame = 0x10000;

    // Room for `capacity` words. The queue begins closed. `wire` is what a reader waits in when frames are
    // read in place there; it outlives the queue.
    DataQueue(std::size_t capacity, Link& wire);

    // False when there is no room or the queue is closed.
    bool pushFrame(const std::uint8_t* frame, std::size_t size);
    bool pushWords(std::span<const std::uint32_t> words);

    // Takes up to `bytes` bytes in whole words, waiting at most `timeoutMs` for the first. The count of
    // bytes, or kQueueTimeout, kQueueClosed.
    int read(void* buffer, std::size_t bytes, int timeoutMs);

    void clear();

    // Opening empties the queue; closing empties it and sends a waiting reader home.
    void setOpen(bool open);

    // Makes a waiting reader look again at where it has to wait.
    void wake();

    std::size_t queuedWords() const;

private:
    bool room(std::size_t words) const;              // with the mutex held
    void append(std::uint32_t word);                 // with the mutex held, room checked
    void notify(std::unique_lock<std::mutex>& lock); // gives the mutex back
    int take(void* buffer, std::size_t words);
    void waitInPlace(std::unique_lock<std::mutex>& lock, Clock::time_point deadline);

    Link& m_wire;
    const std::size_t m_capacity;
    const std::unique_ptr<std::uint32_t[]> m_words; // a ring, all below guarded by m_mutex
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    bool m_open = false;
    unsigned m_waiting = 0;        // readers in m_arrived
    bool m_readingInPlace = false; // in m_wire
    std::thread::id m_inPlaceReader;
};

} // namespace softboard
