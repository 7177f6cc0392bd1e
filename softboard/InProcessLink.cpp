#include "softboard/InProcessLink.h"

namespace softboard {

void InProcessLink::plug(ethernet::FrameSink sink) {
    if (!sink) {
        m_station->plug({});
        return;
    }
    m_station->plug([this, sink = std::move(sink)](const std::uint8_t* frame, std::size_t size) {
        m_received.fetch_add(1, std::memory_order_relaxed);
        sink(frame, size);
    });
}

void InProcessLink::send(const std::uint8_t* frame, std::size_t size) {
    m_sent.fetch_add(1, std::memory_order_relaxed);
    m_station->receive(frame, size);
}

} // namespace softboard
