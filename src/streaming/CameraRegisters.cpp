#include "streaming/CameraRegisters.h"

#include "board/control.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/gvcp.h"
#include "transport/command_channel.h"
#include "transport/exchange.h"

#include <chrono>

namespace streaming {

namespace {

void refuseIfLost(const board::Device& device) {
    if (device.getControlLoss() != tavo::ControlLoss::None) {
        throw tavo::GicConnectionException();
    }
}

} // namespace

// 0, or the status that the camera answered.
template<typename Attempt> int CameraRegisters::access(Attempt&& attempt) const {
    const board::HeldPort held(m_place);
    refuseIfLost(m_device);
    if (held.port() == nullptr || m_place.device() != &m_device) {
        throw tavo::GicTransportLayerException();
    }
    const transport::Access scope(*held.port());
    int result = attempt(*held.port());
    if (result < 0) {
        result = attempt(*held.port());
    }
    const auto now = std::chrono::steady_clock::now();
    if (result >= 0) {
        held.control().answered(now);
    }
    constexpr int kAccessDenied = static_cast<int>(gvcp::Status::AccessDenied);
    if (result == kAccessDenied || held.control().isOverdue(now)) {
        board::lookAtControl(held);
        refuseIfLost(m_device);
    }
    if (result < 0) {
        throw tavo::GicTransportLayerException();
    }
    return result;
}

std::optional<std::uint32_t> CameraRegisters::read(bootstrap::Address address) const {
    int value = 0;
    const int result =
        access([&](transport::Port& port) { return transport::readRegister(port, address, &value); });
    return result == 0 ? std::optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

bool CameraRegisters::write(bootstrap::Address address, std::uint32_t value) const {
    return access([&](transport::Port& port) {
               return transport::writeRegister(port, address, static_cast<int>(value));
           }) == 0;
}

void CameraRegisters::mustWrite(bootstrap::Address address, std::uint32_t value) const {
    if (!write(address, value)) {
        throw tavo::GicTransportLayerException();
    }
}

} // namespace streaming
