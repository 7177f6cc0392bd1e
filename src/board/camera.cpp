#include "board/camera.h"

#include "protocol/bootstrap.h"
#include "transport/GigeCamera.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr int kFirstStreamPort = 1520; // UDP; the FPGA of port p listens on this plus p
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

int camera::init() {
    for (const auto privilege :
         {bootstrap::kPrivilegeNone, bootstrap::kPrivilegeControl, bootstrap::kPrivilegeNone,
          bootstrap::kPrivilegeControl}) {
        writeRegister(bootstrap::kControlChannelPrivilege, static_cast<int>(privilege));
    }
    writeRegister(bootstrap::kHeartbeatTimeout, kHeartbeatTimeout);
    const unsigned ownAddress = m_board != nullptr ? m_board->getPortIP(m_port) : 0;
    writeRegister(bootstrap::kStreamChannelDestination, static_cast<int>(ownAddress));
    int readBack = 0; // only the access counts
    readRegister(bootstrap::kStreamChannelDestination, &readBack);
    writeRegister(bootstrap::kStreamChannelPort, kFirstStreamPort + m_port);
    writeRegister(bootstrap::kStreamChannelPacketSize, kStreamPacketSize);
    writeRegister(bootstrap::kStreamChannelPacketDelay, kStreamPacketDelay);
    return 0;
}

int camera::deinit() {
    return writeRegister(bootstrap::kControlChannelPrivilege, static_cast<int>(bootstrap::kPrivilegeNone));
}

int camera::readRegister(unsigned address, int* value) {
    if (m_board != nullptr) {
        m_board->ReadRegister(m_port, address, value);
    }
    return 0;
}

int camera::writeRegister(unsigned address, int value) {
    if (m_board != nullptr) {
        m_board->WriteRegister(m_port, address, value);
    }
    return 0;
}

int camera::setEolWidth(int width) {
    if (m_board != nullptr) {
        m_board->SetEolWidth(m_port, width, kOneBytePixels);
    }
    return 0;
}

const DiscoveredCamera* camera::record() const {
    return m_board != nullptr ? m_board->currentCamera(m_port) : nullptr;
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
    const int count = m_board != nullptr ? m_board->discoveredCount(m_port) : 0;
    for (int index = 0; index < count; ++index) {
        if (matches(*m_board->discoveredCamera(m_port, index))) {
            return index;
        }
    }
    return -1;
}

bool camera::select(int index, unsigned char* mac) {
    if (m_board == nullptr || !m_board->selectCamera(m_port, index)) {
        return false;
    }
    if (mac != nullptr) {
        std::memcpy(mac, record()->mac, sizeof(record()->mac));
    }
    return true;
}

bool camera::selectCameraViaNumber(int number, unsigned char* mac) {
    return select(number, mac);
}

bool camera::selectCameraViaMac(
    unsigned char a0, unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4,
    unsigned char a5) {
    const unsigned char mac[] = {a0, a1, a2, a3, a4, a5};
    return selectCameraViaMac(mac);
}

bool camera::selectCameraViaMac(const unsigned char* mac) {
    return select(
        firstRecord([&](const DiscoveredCamera& found) {
            return std::memcmp(found.mac, mac, sizeof(found.mac)) == 0;
        }),
        nullptr);
}

bool camera::selectCameraViaIp(unsigned ip, unsigned char* mac) {
    return select(firstRecord([&](const DiscoveredCamera& found) { return addressOf(found) == ip; }), mac);
}

bool camera::selectCameraViaUserName(const char* name, unsigned char* mac, bool* unique) {
    int bearers = 0;
    firstRecord([&](const DiscoveredCamera& found) {
        bearers += userNameOf(found) == name ? 1 : 0;
        return false;
    });
    *unique = bearers <= 1;
    return bearers > 0 && select(m_board->discoveredCount(m_port) - 1, mac);
}
