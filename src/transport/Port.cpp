#include "transport/Port.h"

#include "protocol/kept_control.h"

#include <algorithm>
#include <random>
#include <string>
#include <utility>

namespace transport {

using fpga::PortRegister;

namespace {

IpBytes firstAddress(QLdevice board, int index) {
    const int serial = TavoGetBoardInfoInt(board, "board/serial");
    return {169, 254, static_cast<std::uint8_t>(serial), static_cast<std::uint8_t>(42 + index)};
}

} // namespace

// A name that the applet does not know gives an id whose accesses fail; nobody looks at that here.
Port::Port(int index, fpga_design design, QLdevice board)
    : m_index(index), m_board(board), m_ip(firstAddress(board, index)),
      m_imagePort(static_cast<std::uint16_t>(kFirstImagePort + index)) {
    for (std::size_t i = 0; i < fpga::kPortRegisters.size(); ++i) {
        const std::string name = std::string(fpga::kPortRegisters[i].name) + std::to_string(index);
        m_registers[i] = KemGetRegisterByName(design, name.c_str());
    }
}

void Port::setBoardIndex(int board) {
    m_boardIndex = board;
    m_counters = &util::linkCounters(board, m_index);
}

void Port::enable() {
    writeRegister(PortRegister::TxStart, 1);
    writeRegister(PortRegister::RequestIdLoad, 1);
    writeRegister(PortRegister::RequestIdEnable, 0);
    writeRegister(PortRegister::ImagePort, m_imagePort);
    m_stamping = false;
}

void Port::startStamping() {
    writeRegister(PortRegister::RequestIdEnable, 1);
    m_stamping = true;
}

// A program that ends and another one that takes its number must not take each other's answers either, which
// is why ids begin anywhere.
void Port::shareAddresses(unsigned number) {
    m_controlPort = static_cast<std::uint16_t>(kControlPort + number);
    m_imagePort = static_cast<std::uint16_t>(kFirstImagePort + m_index + static_cast<int>(kPorts * number));
    writeRegister(PortRegister::ImagePort, m_imagePort);
    setRequestId(static_cast<std::uint16_t>(std::random_device{}()));
}

std::uint16_t Port::takeRequestId() {
    while (m_requestId == 0 || kept_control::isRequestId(m_requestId)) {
        ++m_requestId;
    }
    return m_requestId++;
}

void Port::setIp(const IpBytes& ip, const IpBytes& mask) {
    m_ip = ip;
    m_mask = mask;
}

bool Port::selectCamera(int index) {
    return select(m_cameras.at(index));
}

bool Port::selectCamera(const unsigned char* mac) {
    return select(std::as_const(m_cameras).find(mac));
}

bool Port::select(const DiscoveredCamera* camera) {
    if (camera != nullptr) {
        m_selected = camera;
    }
    return camera != nullptr;
}

void Port::selectCamera(const DiscoveredCamera& record) {
    m_kept = record;
    m_selected = &m_kept;
}

void Port::learnAddress(const MacBytes& mac, const IpBytes& ip) {
    if (DiscoveredCamera* camera = m_cameras.find(mac.data())) {
        std::copy(ip.begin(), ip.end(), camera->ip);
    }
    if (std::equal(mac.begin(), mac.end(), m_kept.mac)) {
        std::copy(ip.begin(), ip.end(), m_kept.ip);
    }
}

frame::Route Port::route() const {
    return {m_mac, {}, m_ip, {}, m_controlPort, gvcp::kPort};
}

frame::Route Port::toCurrentCamera() const {
    frame::Route route = this->route();
    if (const DiscoveredCamera* camera = m_selected) {
        std::copy_n(camera->mac, net::kMacSize, route.destinationMac.begin());
        std::copy_n(camera->ip, net::kIpSize, route.destinationIp.begin());
    }
    return route;
}

frame::Route Port::toEverybody() const {
    frame::Route route = this->route();
    route.destinationMac = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    route.destinationIp = {255, 255, 255, 255};
    return route;
}

int Port::readRegister(PortRegister reg, unsigned* value) const {
    std::uint64_t scratch = 0;
    const int result = TavoRegisterRead(m_board, id(reg), &scratch);
    if (result == 0) {
        *value = static_cast<unsigned>(scratch);
    }
    return result;
}

int Port::writeRegister(PortRegister reg, std::uint64_t value) {
    return TavoRegisterWrite(m_board, id(reg), value);
}

} // namespace transport
