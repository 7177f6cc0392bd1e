#include "board/camera.h"

#include "transport/GigeCamera.h"
#include "transport/command_channel.h"
#include "transport/exchange.h"
#include "transport/stream_setup.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr int kStreamPacketSize = 1500;
constexpr int kStreamPacketDelay = 0;
constexpr const char* kOneBytePixels = "Mono8";

std::string_view userNameOf(const DiscoveredCamera& record) {
    const char* end = std::find(std::begin(record.userDefinedName), std::end(record.userDefinedName), '\0');
    return {record.userDefinedName, static_cast<std::size_t>(end - record.userDefinedName)};
}

unsigned addressOf(const DiscoveredCamera& record) {
    return record.ip[0] | unsigned{record.ip[1]} << 8 | unsigned{record.ip[2]} << 16 |
           unsigned{record.ip[3]} << 24;
}

} // namespace

camera::camera(GigeCamera* board, int port) : m_port(board != nullptr ? board->findPort(port) : nullptr) {}

int camera::init(std::uint32_t privilege, int heartbeatTimeout) {
    if (m_port == nullptr) {
        return 0;
    }
    const transport::Access access(*m_port);
    for (const auto step : {bootstrap::kPrivilegeNone, privilege, bootstrap::kPrivilegeNone, privilege}) {
        writeRegister(bootstrap::kControlChannelPrivilege, static_cast<int>(step));
    }
    writeRegister(bootstrap::kHeartbeatTimeout, heartbeatTimeout);
    writeRegister(bootstrap::kStreamChannelDestination, static_cast<int>(m_port->ip().number()));
    int readBack = 0; // only the access counts
    readRegister(bootstrap::kStreamChannelDestination, &readBack);
    writeRegister(bootstrap::kStreamChannelPort, m_port->imagePort());
    writeRegister(bootstrap::kStreamChannelPacketSize, kStreamPacketSize);
    writeRegister(bootstrap::kStreamChannelPacketDelay, kStreamPacketDelay);
    return 0;
}

int camera::deinit() {
    return writeRegister(bootstrap::kControlChannelPrivilege, static_cast<int>(bootstrap::kPrivilegeNone));
}

int camera::readRegister(unsigned address, int* value) {
    if (m_port != nullptr) {
        transport::readRegister(*m_port, address, value);
    }
    return 0;
}

int camera::writeRegister(unsigned address, int value) {
    if (m_port != nullptr) {
        transport::writeRegister(*m_port, address, value);
    }
    return 0;
}

int camera::setEolWidth(int width) {
    if (m_port != nullptr) {
        transport::setEolWidth(*m_port, width, kOneBytePixels);
    }
    return 0;
}

const DiscoveredCamera* camera::record() const {
    return m_port != nullptr ? m_port->currentCamera() : nullptr;
}

const char* camera::getManufactorName() const {
    return record() != nullptr ? record()->manufacturerName : nullptr;
}

const char* camera::getModellName() const {
    return record() != nullptr ? record()->modelName : nullptr;
}

const char* camera::getDeviceVersion() const {
    return record() != nullptr ? record()->deviceVersion : nullptr;
}

const char* camera::getManufacturerInfo() const {
    return record() != nullptr ? record()->manufacturerInfo : nullptr;
}

const char* camera::getSerialNumber() const {
    return record() != nullptr ? record()->serialNumber : nullptr;
}

const char* camera::getUserName() const {
    return record() != nullptr ? record()->userDefinedName : nullptr;
}

// The index of the first record that matches, or -1.
template<typename Predicate> int camera::firstRecord(Predicate&& matches) const {
    const int count = m_port != nullptr ? m_port->cameras().count() : 0;
    for (int index = 0; index < count; ++index) {
        if (matches(*m_port->cameras().at(index))) {
            return index;
        }
    }
    return -1;
}

// What a selection that went well tells.
bool camera::told(bool selected, unsigned char* mac) const {
    if (selected && mac != nullptr) {
        std::memcpy(mac, record()->mac, sizeof(record()->mac));
    }
    return selected;
}

bool camera::selectCameraViaNumber(int number, unsigned char* mac) {
    return told(m_port != nullptr && m_port->selectCamera(number), mac);
}

bool camera::selectCameraViaMac(
    unsigned char a0, unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4,
    unsigned char a5) {
    const unsigned char mac[] = {a0, a1, a2, a3, a4, a5};
    return selectCameraViaMac(mac);
}

bool camera::selectCameraViaMac(const unsigned char* mac) {
    return m_port != nullptr && m_port->selectCamera(mac);
}

bool camera::selectCameraViaIp(unsigned ip, unsigned char* mac) {
    return selectCameraViaNumber(
        firstRecord([&](const DiscoveredCamera& found) { return addressOf(found) == ip; }), mac);
}

bool camera::selectCameraViaUserName(const char* name, unsigned char* mac, bool* unique) {
    int bearers = 0;
    firstRecord([&](const DiscoveredCamera& found) {
        bearers += userNameOf(found) == name ? 1 : 0;
        return false;
    });
    *unique = bearers <= 1;
    return bearers > 0 && selectCameraViaNumber(m_port->cameras().count() - 1, mac);
}
