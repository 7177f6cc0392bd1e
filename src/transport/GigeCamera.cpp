#include "transport/GigeCamera.h"

#include <algorithm>

namespace {

unsigned numberOf(const IpBytes& ip) {
    return static_cast<unsigned>(ip[0]) << 24 | static_cast<unsigned>(ip[1] << 16 | ip[2] << 8 | ip[3]);
}

} // namespace

GigeCamera::GigeCamera(fpga_design design, QLdevice board) : m_design(design), m_board(board) {
    const auto serial = static_cast<unsigned>(TavoGetBoardInfoInt(m_board, "board/serial"));
    for (int port = 0; port < kPorts; ++port) {
        m_ports[port].ip = {
            169, 254, static_cast<std::uint8_t>(serial), static_cast<std::uint8_t>(42 + port)};
    }
    lookUpRegisters();
    enablePorts();
}

GigeCamera::~GigeCamera() = default;

int GigeCamera::deinit() {
    KemUnloadKemFile(m_design);
    const int result = TavoFreeHW(m_board);
    m_design = nullptr;
    m_board = nullptr;
    return result;
}

void GigeCamera::SetMAC(int port, const unsigned char* mac) {
    if (isPort(port) && mac != nullptr) {
        std::copy_n(mac, net::kMacSize, m_ports[port].mac.begin());
    }
}

MacBytes GigeCamera::portMac(int port) const {
    return isPort(port) ? m_ports[port].mac : MacBytes{};
}

unsigned int GigeCamera::getPortIP(int port) const {
    return isPort(port) ? numberOf(m_ports[port].ip) : 0;
}

unsigned int GigeCamera::getPortMask(int port) const {
    return isPort(port) ? numberOf(m_ports[port].mask) : 0;
}

void GigeCamera::setPortIP(int port, const IpBytes& ip, const IpBytes& mask) {
    if (isPort(port)) {
        m_ports[port].ip = ip;
        m_ports[port].mask = mask;
    }
}

bool GigeCamera::selectCamera(int port, int index) {
    const DiscoveredCamera* camera = discoveredCamera(port, index);
    if (camera == nullptr) {
        return false;
    }
    m_ports[port].selected = camera;
    return true;
}

const DiscoveredCamera* GigeCamera::currentCamera(int port) const {
    return isPort(port) ? m_ports[port].selected.load() : nullptr;
}

frame::Route GigeCamera::route(int port, bool broadcast) const {
    const Port& from = m_ports[port];
    frame::Route route{from.mac, {}, from.ip, {}, from.sourcePort, from.destinationPort};
    if (broadcast) {
        route.destinationMac.fill(0xFF);
        route.destinationIp.fill(0xFF);
    } else if (const DiscoveredCamera* camera = from.selected) {
        std::copy_n(camera->mac, net::kMacSize, route.destinationMac.begin());
        std::copy_n(camera->ip, net::kIpSize, route.destinationIp.begin());
    }
    return route;
}

int GigeCamera::BuildUdpHeader(int port, UDPPacket* packet, unsigned short gvcpLength, bool broadcast) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    frame::udpHeader(*packet, route(port, broadcast), gvcpLength);
    return 0;
}

int GigeCamera::BuildUdpChecksum(int port, UDPPacket* packet, unsigned short gvcpLength) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    frame::udpChecksum(*packet, gvcpLength);
    return 0;
}

int GigeCamera::BuildGvcpDiscoveryPacket(
    int port, UDPPacket* packet, unsigned short* length, int flag, unsigned short requestId) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    const std::uint16_t id = requestId != 0 ? requestId : takeRequestId(port);
    *length = frame::discovery(*packet, route(port, true), id, flag % 2 == 0);
    return 0;
}

int GigeCamera::BuildGvcpForceIpPacket(
    int port, UDPPacket* packet, unsigned short* length, const frame::ForcedAddress& to) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    *length = frame::forceIp(*packet, route(port, true), takeRequestId(port), to);
    return 0;
}

int GigeCamera::BuildGvcpReadRegisterPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    *length = frame::readRegister(*packet, route(port, false), takeRequestId(port), address);
    return 0;
}

int GigeCamera::BuildGvcpWriteRegisterPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address, unsigned int value) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    *length = frame::writeRegister(*packet, route(port, false), takeRequestId(port), address, value);
    return 0;
}

int GigeCamera::BuildGvcpReadMemPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address, unsigned int count) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    *length = frame::readMemory(
        *packet, route(port, false), takeRequestId(port), address, static_cast<std::uint16_t>(count));
    return 0;
}

int GigeCamera::BuildGvcpWriteMemoryPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address, const unsigned char* data,
    unsigned int count) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    *length = frame::writeMemory(*packet, route(port, false), takeRequestId(port), address, data, count);
    return 0;
}

int GigeCamera::checkAckPacket(const UDPPacket* packet) {
    return packet != nullptr ? frame::ackStatus(*packet) : 0;
}

int GigeCamera::AnalysePacket(const UDPPacket& packet, int) {
    return frame::isArp(packet) || frame::isFromDhcpClient(packet) ? 0 : 1;
}

int GigeCamera::EnableHeartbeat(int, bool) {
    return 0;
}

int GigeCamera::DisableHeartbeat(int) {
    return 0;
}

int GigeCamera::Test(int) {
    return 0;
}
