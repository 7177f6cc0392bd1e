// Discovery of a GigeCamera: a broadcast command on a port, and a record for each camera that answers it.
#include "transport/GigeCamera.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

namespace {

using std::chrono::milliseconds;

// Quick cameras answer within the first pause; a camera slower than both together is missed.
constexpr milliseconds kFirstPause{100};
constexpr milliseconds kSecondPause{1000};

std::uint16_t randomRequestId() {
    thread_local std::minstd_rand engine{std::random_device{}()};
    return static_cast<std::uint16_t>(std::uniform_int_distribution<int>{1, 65534}(engine));
}

template<class Field> void copyField(const DiscoveryAckData& ack, std::size_t offset, Field& field) {
    std::copy_n(ack.bytes.begin() + static_cast<std::ptrdiff_t>(offset), sizeof(field), field);
}

} // namespace

int GigeCamera::Discover(int port, int) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    TavoDataQueueClear(m_board, port);
    const std::uint16_t requestId = startDiscovery(port);
    std::this_thread::sleep_for(kSecondPause);
    drainDiscovery(port, requestId);
    return 0;
}

int GigeCamera::DiscoverAll(int) {
    for (int port = 0; port < kPorts; ++port) {
        TavoDataQueueClear(m_board, port);
    }
    std::array<std::uint16_t, kPorts> requestIds{};
    for (int port = 0; port < kPorts; ++port) {
        requestIds[port] = startDiscovery(port);
    }
    std::this_thread::sleep_for(kSecondPause);
    for (int port = 0; port < kPorts; ++port) {
        drainDiscovery(port, requestIds[port]);
    }
    return 0;
}

// Empties the table, asks who is there and takes the quick answers.
std::uint16_t GigeCamera::startDiscovery(int port) {
    m_ports[port].discoveredCount = 0;
    m_ports[port].unsettled = false;
    m_ports[port].owed.reset();
    const std::uint16_t requestId = randomRequestId();
    UDPPacket command;
    unsigned short length = 0;
    BuildGvcpDiscoveryPacket(port, &command, &length, 0, requestId);
    SendPacket(port, &command, length);
    std::this_thread::sleep_for(kFirstPause);
    drainDiscovery(port, requestId);
    return requestId;
}

void GigeCamera::drainDiscovery(int port, std::uint16_t requestId) {
    while (ReceiveDiscoveryAckPacket(port, 0, requestId) != 0) {
    }
}

int GigeCamera::ReceiveDiscoveryAckPacket(int port, int timeout, unsigned short requestId) {
    UDPPacket ack;
    unsigned int length = 0;
    if (!isPort(port) || ReceiveUdpPacket(port, &ack, &length, timeout) != 0) {
        return 0;
    }
    const bool other = requestId != 0 && frame::get16<frame::kRequestId>(ack) != requestId;
    // The data of a discovery is no memory, but its length is compared in the same odd byte order.
    const int announced = frame::announcedLength(ack) + static_cast<int>(frame::kPayload);
    if (!other && announced >= static_cast<int>(length)) {
        storeAck(port, ack, frame::contentLength(ack, length));
    }
    return 1;
}

// Stores the camera of a frame when that is a discovery acknowledgement, with all of its fields. The status
// in it is not looked at.
int GigeCamera::storeAck(int port, const UDPPacket& ack, std::size_t size) {
    const auto code = static_cast<gvcp::Command>(frame::get16<frame::kGvcp + gvcp::kAckCode>(ack));
    if (code != gvcp::Command::DiscoveryAck || frame::isArp(ack) || frame::isFromDhcpClient(ack) ||
        size < frame::kPayload + gvcp::discovery::kSize || !frame::isSound(ack, size)) {
        return 0;
    }
    DiscoveryAckData data;
    std::copy_n(ack.at(frame::kPayload), data.bytes.size(), data.bytes.begin());
    return storeDiscoveredCamera(port, &data);
}

int GigeCamera::storeDiscoveredCamera(int port, const DiscoveryAckData* ack) {
    if (!isPort(port) || ack == nullptr || CameraAlreadyFound(port, &ack->bytes[gvcp::discovery::kMac])) {
        return 0;
    }
    Port& table = m_ports[port];
    if (table.discoveredCount == kMaxCameras) {
        return 0; // one too many is dropped without a word, deliberately
    }
    DiscoveredCamera& camera = table.discovered[static_cast<std::size_t>(table.discoveredCount)];
    copyField(*ack, gvcp::discovery::kMac, camera.mac);
    copyField(*ack, gvcp::discovery::kIp, camera.ip);
    copyField(*ack, gvcp::discovery::kManufacturerName, camera.manufacturerName);
    copyField(*ack, gvcp::discovery::kModelName, camera.modelName);
    copyField(*ack, gvcp::discovery::kDeviceVersion, camera.deviceVersion);
    copyField(*ack, gvcp::discovery::kManufacturerInfo, camera.manufacturerInfo);
    copyField(*ack, gvcp::discovery::kSerialNumber, camera.serialNumber);
    copyField(*ack, gvcp::discovery::kUserDefinedName, camera.userDefinedName);
    return ++table.discoveredCount;
}

bool GigeCamera::CameraAlreadyFound(int port, const unsigned char* mac) const {
    if (!isPort(port)) {
        return false;
    }
    const auto first = m_ports[port].discovered.begin();
    return std::any_of(first, first + m_ports[port].discoveredCount, [mac](const DiscoveredCamera& camera) {
        return std::equal(std::begin(camera.mac), std::end(camera.mac), mac);
    });
}

int GigeCamera::discoveredCount(int port) const {
    return isPort(port) ? m_ports[port].discoveredCount : 0;
}

const DiscoveredCamera* GigeCamera::discoveredCamera(int port, int index) const {
    return index >= 0 && index < discoveredCount(port)
               ? &m_ports[port].discovered[static_cast<std::size_t>(index)]
               : nullptr;
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
