#include "board/CameraPort.h"

#include "protocol/net.h"

#include <utility>

namespace board {

bool CameraPort::claim(const void* user) {
    const void* nobody = nullptr;
    return m_user.compare_exchange_strong(nobody, user) || nobody == user;
}

void CameraPort::release(const void* user) {
    if (m_user.compare_exchange_strong(user, nullptr)) {
        counters[util::Figure::Use].set(GBE_LINK_FREE);
        counters[util::Figure::Mac].set(0);
    }
}

void CameraPort::showUse(GbeLinkUse use, const std::uint8_t* mac) {
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < net::kMacSize; ++i) {
        bytes = bytes << 8 | mac[i];
    }
    counters[util::Figure::Mac].set(bytes);
    counters[util::Figure::Use].set(use);
}

std::string CameraPort::localXmlFile() const {
    const std::lock_guard lock(m_fileMutex);
    return m_localXmlFile;
}

void CameraPort::setLocalXmlFile(std::string fileName) {
    const std::lock_guard lock(m_fileMutex);
    m_localXmlFile = std::move(fileName);
}

std::shared_ptr<Device> HeldPort::setDevice(std::shared_ptr<Device> device) const {
    place.m_device = device.get();
    return std::exchange(place.m_deviceShare, std::move(device));
}

KeepCurrent::KeepCurrent(const HeldPort& held) : m_port(held.port()) {
    const DiscoveredCamera* current = m_port != nullptr ? m_port->currentCamera() : nullptr;
    if (current != nullptr && held.place.user() != nullptr) {
        m_record = *current;
    }
}

// A scan may have dropped the record from the table.
KeepCurrent::~KeepCurrent() {
    if (m_record && !m_port->selectCamera(m_record->mac)) {
        m_port->selectCamera(*m_record);
    }
}

} // namespace board
