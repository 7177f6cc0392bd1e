#include "simcam/EventLog.h"

namespace simcam {

void EventLog::add(const Event& event) {
    const std::scoped_lock lock(m_mutex);
    m_events.push_back(event);
    if (m_events.size() > kEventLogEntries) {
        m_events.pop_front();
    }
    ++m_counts[event.command];
    ++m_total;
}

void EventLog::clear() {
    const std::scoped_lock lock(m_mutex);
    m_events.clear();
    m_counts.clear();
    m_total = 0;
}

std::vector<Event> EventLog::events() const {
    const std::scoped_lock lock(m_mutex);
    return {m_events.begin(), m_events.end()};
}

std::uint64_t EventLog::count(gvcp::Command command) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_counts.find(command);
    return found == m_counts.end() ? 0 : found->second;
}

std::uint64_t EventLog::total() const {
    const std::scoped_lock lock(m_mutex);
    return m_total;
}

} // namespace simcam
