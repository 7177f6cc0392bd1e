#include "simcam/ControlChannel.h"

#include "protocol/bootstrap.h"

namespace simcam {

namespace {

constexpr std::uint32_t kSwitchoverEnable = 4;
constexpr std::uint32_t kPrivilegeBits = bootstrap::kPrivilegeExclusive | bootstrap::kPrivilegeControl;
constexpr unsigned kKeyShift = 16; // a take-over carries the key in the register's high half

} // namespace

bool ControlChannel::mayRead(const Peer& who) const {
    return !m_owner || owns(who) || (m_value & bootstrap::kPrivilegeExclusive) == 0;
}

bool ControlChannel::takesOver(std::uint32_t value, std::uint16_t switchoverKey) const {
    const bool enabled =
        (m_value & kSwitchoverEnable) != 0 && (m_value & bootstrap::kPrivilegeExclusive) == 0;
    return enabled && (value & kPrivilegeBits) != 0 && value >> kKeyShift == switchoverKey;
}

gvcp::Status
ControlChannel::write(std::uint32_t value, std::uint16_t switchoverKey, const Peer& who, Time now) {
    if (m_owner && !owns(who) && !takesOver(value, switchoverKey)) {
        return gvcp::Status::AccessDenied;
    }
    if ((value & kPrivilegeBits) == 0) {
        release();
        return gvcp::Status::Success;
    }
    m_owner = who;
    m_value = value & (kPrivilegeBits | kSwitchoverEnable);
    m_heard = now;
    return gvcp::Status::Success;
}

void ControlChannel::heard(const Peer& who, Time now) {
    if (owns(who)) {
        m_heard = now;
    }
}

std::optional<Time> ControlChannel::deadline(milliseconds timeout) const {
    return m_owner ? std::optional(m_heard + timeout) : std::nullopt;
}

void ControlChannel::release() {
    m_owner.reset();
    m_value = bootstrap::kPrivilegeNone;
}

} // namespace simcam
