#include "service/ControlKeep.h"

#include "service/GbeTransmission.h"
#include "service/commands.h"

#include <cerrno>

namespace {

std::string requestOf(const KeepOrder& order) {
    return "KEEP BOARD " + std::to_string(order.board) + " PORT " + std::to_string(order.port) + " CAMERA " +
           order.camera.text() + " AT " + order.cameraIp.text() + " FROM " + order.ip.text() + " " +
           std::to_string(order.udpPort) + " FOR " + std::to_string(order.seconds);
}

} // namespace

ControlKeep::ControlKeep() = default;
ControlKeep::~ControlKeep() = default;

int ControlKeep::begin(const KeepOrder& order, std::string& reply) {
    const std::lock_guard lock(m_mutex);
    m_transmission = std::make_unique<GbeTransmission>();
    const int result =
        m_transmission->isEstablished() ? cmdAsk(*m_transmission, requestOf(order).c_str(), reply) : -errno;
    if (result != 1) {
        m_transmission.reset();
    }
    return result;
}

void ControlKeep::end() {
    const std::lock_guard lock(m_mutex);
    m_transmission.reset();
}
