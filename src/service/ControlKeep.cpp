#include "service/ControlKeep.h"

#include "service/GbeTransmission.h"
#include "service/commands.h"

#include <cerrno>

ControlKeep::ControlKeep() = default;
ControlKeep::~ControlKeep() = default;

int ControlKeep::begin(const KeepOrder& order, std::string& reply) {
    const std::lock_guard lock(m_mutex);
    m_transmission = std::make_unique<GbeTransmission>();
    const int result = m_transmission->isEstablished() ? cmdKeep(*m_transmission, order, reply) : -errno;
    if (result != 1) {
        m_transmission.reset();
    }
    return result;
}

void ControlKeep::end() {
    const std::lock_guard lock(m_mutex);
    m_transmission.reset();
}
