#include "streaming/CameraRegisters.h"

#include "board/control.h"
#include "board/failures.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/gvcp.h"
#include "transport/command_channel.h"
#include "transport/exchange.h"
#include "util/error_detail.h"

#include <chrono>

namespace streaming {

namespace {

void refuseIfLost(const board::Device& device) {
    if (device.getControlLoss() != tavo::ControlLoss::None) {
        board::failAsLost(device);
    }
}

[[noreturn]] void fail(bootstrap::Address address, bool isRead, int result) {
    util::fail<tavo::GicTransportLayerException>(
        [&] { return board::accessSentence(isRead, address, sizeof(std::uint32_t), result); });
}

} // namespace

// 0, or the status that the camera answered.
template<typename Attempt>
int CameraRegisters::access(bootstrap::Address address, bool isRead, Attempt&& attempt) const {
    const board::HeldPort held(m_place);
    refuseIfLost(m_device);
    if (held.port() == nullptr || m_place.device() != &m_device) {
        util::fail<tavo::GicTransportLayerException>(
            [] { return std::string("the camera is not connected on this port any more"); });
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
        fail(address, isRead, result);
    }
    return result;
}

std::optional<std::uint32_t> CameraRegisters::read(bootstrap::Address address) const {
    int value = 0;
    const int result = access(
        address, true, [&](transport::Port& port) { return transport::readRegister(port, address, &value); });
    return result == 0 ? std::optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

int CameraRegisters::tryWrite(bootstrap::Address address, std::uint32_t value) const {
    return access(address, false, [&](transport::Port& port) {
        return transport::writeRegister(port, address, static_cast<int>(value));
    });
}

bool CameraRegisters::write(bootstrap::Address address, std::uint32_t value) const {
    return tryWrite(address, value) == 0;
}

void CameraRegisters::mustWrite(bootstrap::Address address, std::uint32_t value) const {
    if (const int result = tryWrite(address, value); result != 0) {
        fail(address, false, result);
    }
}

} // namespace streaming
