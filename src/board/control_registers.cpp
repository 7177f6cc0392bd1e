#include "board/control_registers.h"

#include "protocol/bootstrap.h"
#include "protocol/gvcp.h"
#include "transport/command_channel.h"

namespace board {
namespace {

constexpr std::uint32_t kPrivilegeBits = bootstrap::kPrivilegeExclusive | bootstrap::kPrivilegeControl;

std::optional<std::uint32_t> readRegister(transport::Port& port, bootstrap::Address address) {
    int value = 0;
    return transport::readRegister(port, address, &value) == 0
               ? std::optional(static_cast<std::uint32_t>(value))
               : std::nullopt;
}

// A camera that was moved from one port of the board to another still has the first one's address. Another
// program on a network interface of this computer has the same address, and another UDP port.
bool isOwn(GigeCamera& board, std::uint32_t ip, std::uint16_t udpPort) {
    bool own = false;
    for (int port = 0; port < GigeCamera::kPorts; ++port) {
        own = own || (ip == board.getPortIP(port) && udpPort == board.findPort(port)->controlPort());
    }
    return own;
}

// Where the camera has the registers, which it need not.
void readHolder(const HeldPort& held, ControlReading& reading) {
    transport::Port& port = *held.port();
    reading.holder = Holder::Somebody;
    reading.ip = readRegister(port, bootstrap::kPrimaryApplicationIp).value_or(0);
    if (reading.ip == 0) {
        return;
    }
    const auto udpPort = readRegister(port, bootstrap::kPrimaryApplicationPort);
    reading.udpPort = static_cast<std::uint16_t>(udpPort.value_or(port.controlPort()));
    reading.holder = isOwn(*held.board(), reading.ip, reading.udpPort) ? Holder::Self : Holder::Other;
}

} // namespace

ControlReading readControl(const HeldPort& held) {
    transport::Port& port = *held.port();
    int privilege = 0;
    int result = transport::readRegister(port, bootstrap::kControlChannelPrivilege, &privilege);
    if (result < 0) {
        result = transport::readRegister(port, bootstrap::kControlChannelPrivilege, &privilege);
    }
    ControlReading reading;
    reading.answered = result >= 0;
    if (result == static_cast<int>(gvcp::Status::AccessDenied)) {
        reading.holder = Holder::Other; // who has exclusive access
        reading.isRefused = true;
    }
    if (result != 0) {
        return reading;
    }
    const auto bits = static_cast<std::uint32_t>(privilege);
    reading.isExclusive = (bits & bootstrap::kPrivilegeExclusive) != 0;
    reading.canBeTakenOver = (bits & bootstrap::kPrivilegeSwitchover) != 0;
    if ((bits & kPrivilegeBits) != 0) {
        readHolder(held, reading);
    } else {
        reading.holder = Holder::Nobody;
        reading.heartbeatTimeout = readRegister(port, bootstrap::kHeartbeatTimeout);
    }
    return reading;
}

bool isControlRefused(const HeldPort& held) {
    constexpr int kRefused = static_cast<int>(gvcp::Status::AccessDenied);
    constexpr int kControl = static_cast<int>(bootstrap::kPrivilegeControl);
    return transport::writeRegister(*held.port(), bootstrap::kControlChannelPrivilege, kControl) == kRefused;
}

} // namespace board
