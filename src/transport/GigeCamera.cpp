// The doors of a GigeCamera to its ports: each checks the number and forwards. What belongs to the board
// itself is in board_registers.cpp.
#include "transport/GigeCamera.h"

#include "transport/ReceivedFrame.h"
#include "transport/command_channel.h"
#include "transport/discovery.h"
#include "transport/force_ip.h"
#include "transport/stream_setup.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kNoSuchPort = -22; // -EINVAL

// The one place where a number becomes a port: calls `work` with it, or gives `refused` for a number that no
// port has.
template<typename Ports, typename Result, typename Work>
Result on(Ports& ports, int number, Result refused, Work&& work) {
    if (number < 0 || number >= GigeCamera::kPorts) {
        return refused;
    }
    return std::forward<Work>(work)(ports[static_cast<std::size_t>(number)]);
}

} // namespace

transport::Port* GigeCamera::findPort(int number) {
    constexpr transport::Port* kNone = nullptr;
    return on(m_ports, number, kNone, [](auto& place) { return &place.port; });
}

void GigeCamera::SetMAC(int port, const unsigned char* mac) {
    on(m_ports, port, 0, [mac](auto& place) {
        if (mac != nullptr) {
            place.port.setMac(MacBytes::at(mac));
        }
        return 0;
    });
}

MacBytes GigeCamera::portMac(int port) const {
    return on(m_ports, port, MacBytes{}, [](auto& place) { return place.port.mac(); });
}

unsigned int GigeCamera::getPortIP(int port) const {
    return on(m_ports, port, 0U, [](auto& place) { return place.port.ip().number(); });
}

unsigned int GigeCamera::getPortMask(int port) const {
    return on(m_ports, port, 0U, [](auto& place) { return place.port.mask().number(); });
}

void GigeCamera::setPortIP(int port, const IpBytes& ip, const IpBytes& mask) {
    on(m_ports, port, 0, [&](auto& place) {
        place.port.setIp(ip, mask);
        return 0;
    });
}

bool GigeCamera::selectCamera(int port, int index) {
    return on(m_ports, port, false, [index](auto& place) { return place.port.selectCamera(index); });
}

void GigeCamera::selectCamera(int port, const DiscoveredCamera& record) {
    on(m_ports, port, 0, [&](auto& place) {
        place.port.selectCamera(record);
        return 0;
    });
}

const DiscoveredCamera* GigeCamera::currentCamera(int port) const {
    constexpr const DiscoveredCamera* kNone = nullptr;
    return on(m_ports, port, kNone, [](auto& place) { return place.port.currentCamera(); });
}

int GigeCamera::BuildUdpHeader(int port, UDPPacket* packet, unsigned short gvcpLength, bool broadcast) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        const frame::Route route = broadcast ? place.port.toEverybody() : place.port.toCurrentCamera();
        frame::udpHeader(*packet, route, gvcpLength);
        return 0;
    });
}

int GigeCamera::BuildUdpChecksum(int port, UDPPacket* packet, unsigned short gvcpLength) {
    return on(m_ports, port, kNoSuchPort, [&](auto&) {
        frame::udpChecksum(*packet, gvcpLength);
        return 0;
    });
}

int GigeCamera::BuildGvcpDiscoveryPacket(
    int port, UDPPacket* packet, unsigned short* length, int flag, unsigned short requestId) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        const std::uint16_t id = requestId != 0 ? requestId : place.port.takeRequestId();
        *length = frame::discovery(*packet, place.port.toEverybody(), id, flag % 2 == 0);
        return 0;
    });
}

int GigeCamera::BuildGvcpForceIpPacket(
    int port, UDPPacket* packet, unsigned short* length, const frame::ForcedAddress& to) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        *length = frame::forceIp(*packet, place.port.toEverybody(), place.port.takeRequestId(), to);
        return 0;
    });
}

int GigeCamera::BuildGvcpReadRegisterPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        *length =
            frame::readRegister(*packet, place.port.toCurrentCamera(), place.port.takeRequestId(), address);
        return 0;
    });
}

int GigeCamera::BuildGvcpWriteRegisterPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address, unsigned int value) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        *length = frame::writeRegister(
            *packet, place.port.toCurrentCamera(), place.port.takeRequestId(), address, value);
        return 0;
    });
}

int GigeCamera::BuildGvcpReadMemPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address, unsigned int count) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        *length = frame::readMemory(
            *packet, place.port.toCurrentCamera(), place.port.takeRequestId(), address,
            static_cast<std::uint16_t>(count));
        return 0;
    });
}

int GigeCamera::BuildGvcpWriteMemoryPacket(
    int port, UDPPacket* packet, unsigned short* length, unsigned int address, const unsigned char* data,
    unsigned int count) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        *length = frame::writeMemory(
            *packet, place.port.toCurrentCamera(), place.port.takeRequestId(), address, data, count);
        return 0;
    });
}

int GigeCamera::checkAckPacket(const UDPPacket* packet) {
    return packet != nullptr ? frame::ackStatus(*packet) : 0;
}

int GigeCamera::AnalysePacket(const UDPPacket& packet, int) {
    return frame::isArp(packet) || frame::isFromDhcpClient(packet) ? 0 : 1;
}

int GigeCamera::SendPacket(int port, const void* data, unsigned int length) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) { return place.port.send(data, length); });
}

int GigeCamera::PrepareSendPacket(int port, const void* data, unsigned int length) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) { return place.port.prepare(data, length); });
}

int GigeCamera::SendPreparedPacket(int port) {
    return on(m_ports, port, kNoSuchPort, [](auto& place) { return place.port.sendPrepared(); });
}

int GigeCamera::PrepareWriteRegister(int port, unsigned int address, unsigned int value) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::prepareWriteRegister(place.port, address, value);
    });
}

int GigeCamera::ReceiveUdpPacket(unsigned int port, UDPPacket* packet, unsigned int* length, int timeout) {
    return on(m_ports, static_cast<int>(port), kNoSuchPort, [&](auto& place) {
        return place.port.receive(packet, length, timeout);
    });
}

int GigeCamera::ReadRegister(int port, unsigned int address, int* value) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::readRegister(place.port, address, value);
    });
}

int GigeCamera::ReadRegisters(
    int port, std::span<const std::uint32_t> addresses, std::uint32_t* values, std::size_t& done) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::readRegisters(place.port, addresses, values, done);
    });
}

int GigeCamera::WriteRegister(int port, unsigned int address, int value) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::writeRegister(place.port, address, value);
    });
}

int GigeCamera::ReadMemory(
    int port, unsigned int address, unsigned int count, unsigned short* done, char* buffer) {
    return on(m_ports, port, 1, [&](auto& place) {
        return transport::readMemory(place.port, address, count, done, buffer);
    });
}

int GigeCamera::WriteMemory(int port, unsigned int address, const unsigned char* data, unsigned int count) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::writeMemory(place.port, address, data, count);
    });
}

int GigeCamera::ForceIp(int port, const frame::ForcedAddress& to) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) { return transport::forceIp(place.port, to); });
}

int GigeCamera::ReceiveReadRegAckPacket(int port, int* value, unsigned short requestId) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::receiveRegisterAck(place.port, value, requestId);
    });
}

int GigeCamera::ReceiveWriteRegAckPacket(int port, unsigned short requestId) {
    return ReceiveReadRegAckPacket(port, nullptr, requestId);
}

int GigeCamera::ReceiveReadMemAckPacket(int port, char* buffer, unsigned int capacity) {
    return on(m_ports, port, -1, [&](auto& place) {
        return transport::receiveMemoryAck(place.port, buffer, capacity);
    });
}

int GigeCamera::ReceiveWriteMemoryAckPacket(int port) {
    return on(m_ports, port, kNoSuchPort, [](auto& place) {
        return transport::receiveMemoryWrittenAck(place.port);
    });
}

int GigeCamera::Discover(int port, int) {
    return on(m_ports, port, kNoSuchPort, [](auto& place) {
        transport::discover(place.port);
        return 0;
    });
}

int GigeCamera::DiscoverAll(int) {
    transport::discover({&m_ports[0].port, &m_ports[1].port, &m_ports[2].port, &m_ports[3].port});
    return 0;
}

int GigeCamera::ReceiveDiscoveryAckPacket(int port, int timeout, unsigned short requestId) {
    return on(m_ports, port, 0, [&](auto& place) {
        return transport::receiveDiscoveryAck(place.port, timeout, requestId) ? 1 : 0;
    });
}

int GigeCamera::storeDiscoveredCamera(int port, const DiscoveryAckData* ack) {
    return on(
        m_ports, port, 0, [ack](auto& place) { return ack != nullptr ? place.port.cameras().add(*ack) : 0; });
}

bool GigeCamera::CameraAlreadyFound(int port, const unsigned char* mac) const {
    return on(m_ports, port, false, [mac](auto& place) { return place.port.cameras().find(mac) != nullptr; });
}

int GigeCamera::discoveredCount(int port) const {
    return on(m_ports, port, 0, [](auto& place) { return place.port.cameras().count(); });
}

const DiscoveredCamera* GigeCamera::discoveredCamera(int port, int index) const {
    constexpr const DiscoveredCamera* kNone = nullptr;
    return on(m_ports, port, kNone, [index](auto& place) { return place.port.cameras().at(index); });
}

#define LIOMOL_DISCOVERY_GETTER(type, getter, field)                                                         \
    const type* GigeCamera::getter(int port, int index) const {                                              \
        const DiscoveredCamera* camera = discoveredCamera(port, index);                                      \
        return camera != nullptr ? camera->field : nullptr;                                                  \
    }
LIOMOL_DISCOVERY_GETTER(unsigned char, GetMacAddress, mac)
LIOMOL_DISCOVERY_GETTER(unsigned char, GetIPAddress, ip)
LIOMOL_DISCOVERY_GETTER(char, GetManufactorName, manufacturerName)
LIOMOL_DISCOVERY_GETTER(char, GetModellName, modelName)
LIOMOL_DISCOVERY_GETTER(char, GetDeviceVersion, deviceVersion)
LIOMOL_DISCOVERY_GETTER(char, GetManufacturerInfo, manufacturerInfo)
LIOMOL_DISCOVERY_GETTER(char, GetSerialNumber, serialNumber)
LIOMOL_DISCOVERY_GETTER(char, GetUserName, userDefinedName)
#undef LIOMOL_DISCOVERY_GETTER

int GigeCamera::SetEolWidth(int port, int width, const std::string& pixelFormat) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) {
        return transport::setEolWidth(place.port, width, pixelFormat);
    });
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

int GigeCamera::processReadRegAckPacket(int port, const QByteArray& frame) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) { return place.acks.takeReadRegister(frame); });
}

int GigeCamera::processReadMemAckPacket(int port, const QByteArray& frame) {
    return on(m_ports, port, kNoSuchPort, [&](auto& place) { return place.acks.takeReadMemory(frame); });
}

// Takes any request id.
int GigeCamera::processDiscoveryAckPacket(int port, const QByteArray& frame) {
    return on(m_ports, port, 0, [&](auto& place) {
        const transport::ReceivedFrame ack(frame);
        return transport::storeDiscoveryAck(place.port, ack.packet, ack.size);
    });
}

void GigeCamera::setReadMemTarget(int port, char* buffer, unsigned int capacity) {
    on(m_ports, port, 0, [&](auto& place) {
        place.acks.setReadMemoryTarget(buffer, capacity);
        return 0;
    });
}

bool GigeCamera::waitForAck(int port, int timeout) {
    return on(m_ports, port, false, [timeout](auto& place) { return place.acks.wait(timeout); });
}

std::uint32_t GigeCamera::readRegResult(int port) const {
    return on(m_ports, port, 0U, [](auto& place) { return place.acks.readRegisterResult(); });
}

int GigeCamera::readMemResult(int port) const {
    return on(m_ports, port, -1, [](auto& place) { return place.acks.readMemoryResult(); });
}

#define LIOMOL_ACK_SLOTS(port)                                                                               \
    void GigeCamera::readreg_ack_port##port(QByteArray frame) {                                              \
        processReadRegAckPacket(port, frame);                                                                \
    }                                                                                                        \
    void GigeCamera::readmem_ack_port##port(QByteArray frame) {                                              \
        processReadMemAckPacket(port, frame);                                                                \
    }                                                                                                        \
    void GigeCamera::discovery_ack_port##port(QByteArray frame) {                                            \
        processDiscoveryAckPacket(port, frame);                                                              \
    }
LIOMOL_ACK_SLOTS(0)
LIOMOL_ACK_SLOTS(1)
LIOMOL_ACK_SLOTS(2)
LIOMOL_ACK_SLOTS(3)
#undef LIOMOL_ACK_SLOTS
