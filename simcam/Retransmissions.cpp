#include "simcam/Retransmissions.h"

#include <algorithm>

namespace simcam {

std::optional<Response> Retransmissions::find(const Peer& from, ByteView message, Time now) const {
    const auto last =
        std::ranges::find_if(m_entries, [&](const Entry& entry) { return entry.from.sameApplication(from); });
    const bool same = last != m_entries.end() && std::ranges::equal(last->message, message) &&
                      now - last->when < kRetransmissionWindow + last->response.takes;
    if (!same) {
        return std::nullopt;
    }
    Response again = last->response;
    const auto left = std::chrono::ceil<milliseconds>(last->when + again.takes - now);
    again.takes = std::max(left, milliseconds(0));
    again.repeated = true;
    return again;
}

void Retransmissions::remember(const Peer& from, ByteView message, const Response& response, Time now) {
    std::erase_if(m_entries, [&](const Entry& last) { return last.from.sameApplication(from); });
    if (m_entries.size() >= kRememberedSources) {
        m_entries.pop_front();
    }
    m_entries.push_back({from, Bytes(message.begin(), message.end()), response, now});
}

} // namespace simcam
