#include "transport/AckWait.h"

#include <algorithm>

void AckWait::restart(Time now) {
    m_deadline = std::max(m_deadline, std::min(now + kAckTimeout, m_pending ? m_last : m_quietEnd));
}

// A damaged frame counts as lost, and one that is no answer to this host's command as not there. A notice for
// another command is no acknowledgement of it either: it would waste the one time that a register command is
// sent again.
AckWait::Verdict AckWait::take(const AckFacts& facts, Time now) {
    if (!facts.sound || facts.other) {
        return Verdict::WaitOn;
    }
    const bool own = !m_id || *m_id == facts.id;
    if (facts.pending) {
        if (own) {
            const Time expected = now + std::min(facts.in, kLongestNotice) + kAckTimeout;
            m_deadline = std::min(std::max(m_deadline, expected), m_last);
            m_pending = true;
        }
        return Verdict::WaitOn;
    }
    if (own) {
        return Verdict::Answer;
    }
    return m_foreign == Foreign::EndsTheWait ? Verdict::Foreign : Verdict::WaitOn;
}

bool AckWait::takeResend(Time now) {
    if (m_pending || m_resends == kResends.size() || now < m_sent + kResends[m_resends] || isOver(now)) {
        return false;
    }
    ++m_resends;
    return true;
}

AckWait::Time AckWait::nextEvent() const {
    const bool more = !m_pending && m_resends < kResends.size();
    return more ? std::min(m_sent + kResends[m_resends], m_deadline) : m_deadline;
}

AckWait::milliseconds AckWait::remaining(Time now) const {
    return std::max(std::chrono::ceil<milliseconds>(m_deadline - now), milliseconds{0});
}
