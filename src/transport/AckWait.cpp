#include "transport/AckWait.h"

#include <algorithm>

void AckWait::restart(Time now) {
    m_deadline = std::min(std::max(m_deadline, now + kAckTimeout), m_last);
}

// A damaged frame counts as lost. A notice for another command is no acknowledgement of it either: it would
// waste the one time that a register command is sent again.
AckWait::Verdict AckWait::take(const AckFacts& facts, Time now) {
    if (!facts.sound) {
        return Verdict::WaitOn;
    }
    const bool own = !m_id || *m_id == facts.id;
    if (facts.pending) {
        if (own) {
            const Time expected = now + std::min(facts.in, kLongestNotice) + kAckTimeout;
            m_deadline = std::min(std::max(m_deadline, expected), m_last);
        }
        return Verdict::WaitOn;
    }
    if (own) {
        return Verdict::Answer;
    }
    return m_foreign == Foreign::EndsTheWait ? Verdict::Foreign : Verdict::WaitOn;
}

AckWait::milliseconds AckWait::remaining(Time now) const {
    return std::max(std::chrono::ceil<milliseconds>(m_deadline - now), milliseconds{0});
}
