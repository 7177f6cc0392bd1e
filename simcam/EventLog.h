// What a camera was asked: a bounded list of commands and counters of all of them. Safe to use from every
// thread.
#pragma once

#include "protocol/gvcp.h"
#include "simcam/limits.h"

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

namespace simcam {

struct Event {
    Time time{};
    gvcp::Command command{};
    std::uint16_t requestId = 0;
    std::uint32_t address = 0; // the first one; 0 for commands without
    // READREG: how many registers; WRITEREG: the first value; READMEM, WRITEMEM: how many bytes
    std::uint32_t value = 0;
    gvcp::Status status = gvcp::Status::Success;
    bool repeated = false; // a retransmission, answered from memory
};

class EventLog {
public:
    void add(const Event& event);
    void clear();

    // The last kEventLogEntries events, oldest first.
    std::vector<Event> events() const;
    // How many commands of the kind came since the start or clear(), retransmissions included.
    std::uint64_t count(gvcp::Command command) const;
    std::uint64_t total() const;

private:
    mutable std::mutex m_mutex;
    std::deque<Event> m_events;                      // guarded by m_mutex
    std::map<gvcp::Command, std::uint64_t> m_counts; // guarded by m_mutex
    std::uint64_t m_total = 0;                       // guarded by m_mutex
};

} // namespace simcam
