#include "softboard/DataQueue.h"

#include "softboard/hw_results.h"

#include <algorithm>
#include <cstring>

namespace softboard {

DataQueue::DataQueue(std::size_t capacity, Link& wire)
    : m_wire(wire), m_capacity(capacity), m_words(std::make_unique_for_overwrite<std::uint32_t[]>(capacity)) {
}

bool DataQueue::room(std::size_t words) const {
    return m_open && words <= m_capacity - m_count;
}

void DataQueue::append(std::uint32_t word) {
    std::size_t place = m_first + m_count++;
    if (place >= m_capacity) {
        place -= m_capacity;
    }
    m_words[place] = word;
}

// Outside of the mutex, so that the reader does not wake only to wait for it.
void DataQueue::notify(std::unique_lock<std::mutex>& lock) {
    const bool waiting = m_waiting > 0;
    const bool inPlace = m_readingInPlace && m_inPlaceReader != std::this_thread::get_id();
    lock.unlock();
    if (waiting) {
        m_arrived.notify_all();
    } else if (inPlace) {
        m_wire.interrupt();
    }
}

bool DataQueue::pushFrame(const std::uint8_t* frame, std::size_t size) {
    const std::size_t words = (size + 1) / 2;
    std::unique_lock lock(m_mutex);
    if (words == 0 || size > kLargestFrame || !room(words + 1)) {
        return false;
    }
    append(static_cast<std::uint32_t>(2 * words));
    for (std::size_t i = 0; i + 1 < words; ++i) {
        append(static_cast<std::uint32_t>(frame[2 * i] | frame[2 * i + 1] << 8));
    }
    const std::size_t last = 2 * (words - 1);
    const unsigned high = last + 1 < size ? frame[last + 1] : 0U;
    append(frame[last] | high << 8 | kEndOfFrame);
    notify(lock);
    return true;
}

bool DataQueue::pushWords(std::span<const std::uint32_t> words) {
    std::unique_lock lock(m_mutex);
    if (!room(words.size())) {
        return false;
    }
    std::for_each(words.begin(), words.end(), [this](std::uint32_t word) { append(word); });
    notify(lock);
    return true;
}

int DataQueue::read(void* buffer, std::size_t bytes, int timeoutMs) {
    const std::size_t words = bytes / sizeof(std::uint32_t);
    if (words == 0) {
        return 0;
    }
    std::unique_lock lock(m_mutex);
    if (m_count == 0 && m_open) {
        const bool wait = timeoutMs > 0;
        const auto deadline = Clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
        bool inTime = true;
        while (m_count == 0 && m_open && inTime) {
            if (m_wire.readsInPlace()) {
                waitInPlace(lock, deadline);
            } else if (wait) {
                ++m_waiting;
                m_arrived.wait_until(lock, deadline);
                --m_waiting;
            }
            inTime = wait && Clock::now() < deadline;
        }
    }
    if (!m_open) {
        return kQueueClosed;
    }
    return m_count == 0 ? static_cast<int>(kQueueTimeout) : take(buffer, words);
}

void DataQueue::waitInPlace(std::unique_lock<std::mutex>& lock, Clock::time_point deadline) {
    m_readingInPlace = true;
    m_inPlaceReader = std::this_thread::get_id();
    lock.unlock();
    m_wire.readInPlace(deadline);
    lock.lock();
    m_readingInPlace = false;
}

int DataQueue::take(void* buffer, std::size_t words) {
    const std::size_t count = std::min(words, m_count);
    const std::size_t head = std::min(count, m_capacity - m_first);
    auto* const out = static_cast<std::uint8_t*>(buffer);
    std::memcpy(out, &m_words[m_first], head * sizeof(std::uint32_t));
    if (count > head) {
        std::memcpy(out + head * sizeof(std::uint32_t), &m_words[0], (count - head) * sizeof(std::uint32_t));
    }
    m_first = (m_first + count) % m_capacity;
    m_count -= count;
    return static_cast<int>(count * sizeof(std::uint32_t));
}

void DataQueue::clear() {
    if (m_wire.readsInPlace()) {
        m_wire.readInPlace(Clock::now()); // what waits on the wire is thrown away too
    }
    const std::lock_guard lock(m_mutex);
    m_first = m_count = 0;
}

void DataQueue::setOpen(bool open) {
    std::unique_lock lock(m_mutex);
    m_open = open;
    m_first = m_count = 0;
    notify(lock);
}

void DataQueue::wake() {
    std::unique_lock lock(m_mutex);
    notify(lock);
}

std::size_t DataQueue::queuedWords() const {
    const std::lock_guard lock(m_mutex);
    return m_count;
}

} // namespace softboard
