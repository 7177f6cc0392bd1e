#include "board/ControlWatch.h"

namespace board {

using tavo::ControlLoss;

void ControlWatch::start(milliseconds heartbeatTimeout, Time now) {
    m_on = true;
    m_loss = ControlLoss::None;
    m_takerIp = 0;
    m_timeout = heartbeatTimeout;
    m_madeOfIt = heartbeatTimeout;
    m_heard = now;
}

// A camera that restarts has its own heartbeat time-out again; one that merely dropped control keeps what it
// was told, exactly or as near as it can.
bool ControlWatch::isKept(std::uint32_t heartbeatTimeout) const {
    const milliseconds kept{heartbeatTimeout};
    return kept == m_timeout || kept == m_madeOfIt;
}

void ControlWatch::looked(const ControlReading& reading, Time now) {
    if (!m_on || !reading.answered) {
        m_loss = m_loss == ControlLoss::None && isOverdue(now) ? ControlLoss::Silent : m_loss;
        return;
    }
    const bool isOpen = m_loss == ControlLoss::None || m_loss == ControlLoss::Silent;
    if (isOpen && reading.holder == Holder::Nobody) {
        m_loss = reading.heartbeatTimeout && !isKept(*reading.heartbeatTimeout)
                     ? ControlLoss::Rebooted
                     : ControlLoss::HeartbeatMissed;
    } else if (isOpen && reading.holder == Holder::Other) {
        m_loss = ControlLoss::TakenOver;
        m_takerIp = reading.ip;
    }
    m_heard = now;
}

void ControlWatch::controlRefused() {
    if (m_on && m_loss == ControlLoss::None) {
        m_loss = ControlLoss::TakenOver;
    }
}

} // namespace board
