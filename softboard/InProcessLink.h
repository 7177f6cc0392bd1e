// The wire to a station in the same process.
#pragma once

#include "softboard/Link.h"

#include <atomic>
#include <memory>

namespace softboard {

// Passes frames straight on: the station's `receive` returns at once, and its frames come from its own
// threads.
class InProcessLink : public Link {
public:
    explicit InProcessLink(std::shared_ptr<ethernet::Endpoint> station) : m_station(std::move(station)) {}

    const std::shared_ptr<ethernet::Endpoint>& station() const { return m_station; }

    void plug(ethernet::FrameSink sink) override;
    void send(const std::uint8_t* frame, std::size_t size) override;
    bool carrier() const override { return true; }
    LinkStatistics statistics() const override { return {m_sent, m_received, 0, 0}; }

private:
    const std::shared_ptr<ethernet::Endpoint> m_station;
    std::atomic<std::uint64_t> m_sent{0};
    std::atomic<std::uint64_t> m_received{0};
};

} // namespace softboard
