#include "simcam/LinkLocal.h"

namespace simcam {

namespace {

// RFC 3927, section 9: times in seconds.
constexpr double kProbeWait = 1;
constexpr int kProbes = 3;
constexpr double kProbeMin = 1;
constexpr double kProbeMax = 2;
constexpr double kAnnounceWait = 2;
constexpr int kAnnouncements = 2;
constexpr double kAnnounceInterval = 2;
constexpr int kMaxConflicts = 10;
constexpr double kRateLimitInterval = 60;
constexpr double kDefendInterval = 10;

// 169.254.1.0 to 169.254.254.255; the rest of the range is reserved.
constexpr std::uint32_t kFirst = 0xA9FE0100;
constexpr std::uint32_t kLast = 0xA9FEFEFF;

} // namespace

milliseconds LinkLocal::seconds(double count) const {
    return milliseconds(static_cast<std::int64_t>(count * static_cast<double>(m_second.count())));
}

milliseconds LinkLocal::between(double low, double high) {
    const milliseconds range = seconds(high) - seconds(low);
    const auto spread = m_random.upTo(static_cast<std::uint64_t>(range.count()));
    return seconds(low) + milliseconds(static_cast<std::int64_t>(spread));
}

void LinkLocal::pick() {
    m_address = kFirst + static_cast<std::uint32_t>(m_random.upTo(kLast - kFirst));
}

void LinkLocal::probeLater(Time now) {
    m_state = State::Probing;
    m_sent = 0;
    m_defended.reset();
    m_next = now + (m_conflicts > kMaxConflicts ? seconds(kRateLimitInterval) : between(0, kProbeWait));
}

void LinkLocal::start(Time now) {
    m_conflicts = 0;
    if (m_address == 0) {
        pick();
    }
    probeLater(now);
}

LinkLocal::Act LinkLocal::advance(Time now) {
    if (!deadline() || now < m_next) {
        return Act::Nothing;
    }
    if (m_state == State::Probing && m_sent < kProbes) {
        ++m_sent;
        m_next = now + (m_sent < kProbes ? between(kProbeMin, kProbeMax) : seconds(kAnnounceWait));
        return Act::Probe;
    }
    if (m_state == State::Probing) {
        m_state = State::Announcing;
        m_sent = 0;
        m_conflicts = 0;
    }
    m_next = now + seconds(kAnnounceInterval);
    m_state = ++m_sent < kAnnouncements ? State::Announcing : State::Claimed;
    return Act::Announce;
}

std::optional<Time> LinkLocal::deadline() const {
    const bool waits = m_state == State::Probing || m_state == State::Announcing;
    return waits ? std::optional(m_next) : std::nullopt;
}

LinkLocal::Act LinkLocal::heard(const ArpMessage& arp, Time now) {
    if (m_state == State::Off || arp.sender.mac == m_mac) {
        return Act::Nothing;
    }
    const bool uses = arp.sender.ip == m_address;
    const bool probes = arp.isRequest && arp.sender.ip == 0 && arp.targetIp == m_address;
    const bool inTheWay = uses || (probes && m_state == State::Probing);
    return inTheWay ? conflict(now) : Act::Nothing;
}

LinkLocal::Act LinkLocal::conflict(Time now) {
    const bool mayDefend = !m_defended || now - *m_defended >= seconds(kDefendInterval);
    if (claimed() && mayDefend) {
        m_defended = now;
        return Act::Announce;
    }
    const bool held = claimed();
    ++m_conflicts;
    pick();
    probeLater(now);
    return held ? Act::GiveUp : Act::Nothing;
}

} // namespace simcam
