// The buffers that are lent and not borrowed: free ones, and those in which an image waits.
#pragma once

#include "gvsp/Receiver.h"

#include <deque>
#include <vector>

namespace gvsp {

class Buffers {
public:
    void lend(const Buffer& buffer) { m_free.push_back(buffer); }

    // A buffer for a new block. With none free, the oldest waiting image gives up its own, if that is wished.
    bool take(Buffer& out, Overflow overflow, Counters& counters) {
        if (m_free.empty() && overflow == Overflow::DropOldest && !m_waiting.empty()) {
            lend(m_waiting.front().buffer);
            m_waiting.pop_front();
            ++counters.droppedOldest;
        }
        if (m_free.empty()) {
            return false;
        }
        out = m_free.back(); // the one that was used last is still in the processor's cache
        m_free.pop_back();
        return true;
    }

    // Room for one more image that waits.
    Image& append() { return m_waiting.emplace_back(); }
    std::size_t waiting() const { return m_waiting.size(); }
    bool next(Image& out) {
        if (m_waiting.empty()) {
            return false;
        }
        out = std::move(m_waiting.front());
        m_waiting.pop_front();
        return true;
    }
    void dropWaiting() {
        for (const Image& image : m_waiting) {
            lend(image.buffer);
        }
        m_waiting.clear();
    }

private:
    std::vector<Buffer> m_free;
    std::deque<Image> m_waiting;
};

} // namespace gvsp
