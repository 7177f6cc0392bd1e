// Who controls a handle's camera, and why the handle does not.
#include "api/guard.h"
#include "api/handles.h"
#include "api/refusals.h"
#include "api/visit.h"
#include "board/control_registers.h"
#include "liomol/gige.h"
#include "util/process.h"
#include "util/status.h"

#include <optional>

namespace {

// The C interface shows the same numbers, with its own reasons behind them.
constexpr bool sameNumber(tavo::ControlLoss loss, GbeControlLoss shown) {
    return static_cast<int>(loss) == static_cast<int>(shown);
}
static_assert(
    sameNumber(tavo::ControlLoss::None, GBE_LOSS_NONE) &&
    sameNumber(tavo::ControlLoss::Silent, GBE_LOSS_SILENT) &&
    sameNumber(tavo::ControlLoss::HeartbeatMissed, GBE_LOSS_HEARTBEAT) &&
    sameNumber(tavo::ControlLoss::TakenOver, GBE_LOSS_TAKEN_OVER) &&
    sameNumber(tavo::ControlLoss::Rebooted, GBE_LOSS_REBOOTED));

// A connected handle's own camera is looked at where what is seen is learnt from; any other one is visited.
std::optional<board::ControlReading> look(const CameraHandle& camera, const board::HeldPort& held) {
    if (camera.isConnected()) {
        return board::lookAtControl(held);
    }
    const DiscoveredCamera* record = api::recordOf(held, camera.mac.data());
    if (record == nullptr) {
        return std::nullopt;
    }
    const api::Visit visit(held, *record);
    return board::readControl(held);
}

GbeControlHolder shown(board::Holder holder, bool isHeld) {
    switch (holder) {
    case board::Holder::Unknown:
        break;
    case board::Holder::Nobody:
        return GBE_CONTROL_NOBODY;
    case board::Holder::Self:
        return GBE_CONTROL_SELF;
    case board::Holder::Other:
        return GBE_CONTROL_OTHER;
    case board::Holder::Somebody:
        return isHeld ? GBE_CONTROL_SELF : GBE_CONTROL_OTHER;
    }
    return GBE_CONTROL_UNKNOWN;
}

// Of a connection under control; others have no heartbeat.
int tellHeartbeatTimeout(const CameraHandle& camera, int timeout) {
    std::shared_ptr<board::Device> device;
    {
        const board::HeldPort held(camera.place());
        if (camera.place().user() != &camera || held.terms().readOnly || !held.control().isOn()) {
            return status::Success;
        }
        held.terms().heartbeatTimeout = timeout;
        device = held.device();
    }
    if (device == nullptr) {
        return status::Success;
    }
    device->setHeartbeatTimeout(timeout);
    const int result = api::guarded([&] { return device->sendHeartbeat(), status::Success; });
    const board::HeldPort held(camera.place());
    if (result == status::Success && held.device() == device) {
        board::learnHeartbeatTimeout(held);
    }
    return result;
}

} // namespace

int Gbe_setHeartbeatTimeout(CameraHandle* camera, unsigned milliseconds) {
    constexpr unsigned kShortest = 3000; // a heartbeat a second, and two that may be lost
    constexpr unsigned kLongest = 3600000;
    if (camera == nullptr) {
        return api::firstNull({{camera, "camera"}});
    }
    if (milliseconds != 0 && (milliseconds < kShortest || milliseconds > kLongest)) {
        return api::refused(status::IllegalValue, "a heartbeat time-out is 3000 to 3600000 milliseconds");
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    camera->heartbeatTimeout = static_cast<int>(milliseconds);
    return tellHeartbeatTimeout(*camera, static_cast<int>(milliseconds));
}

int Gbe_getControlStatus(CameraHandle* camera, GbeControlStatus* out) {
    if (camera == nullptr || out == nullptr) {
        return api::firstNull({{camera, "camera"}, {out, "out"}});
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(camera->place());
    if (held.port() == nullptr) {
        return api::boardClosed(camera->place().boardIndex);
    }
    const board::PortClaim claim(camera->place().boardIndex, camera->place().number);
    if (!claim) {
        return api::portTaken(camera->place());
    }
    const board::ControlReading reading = look(*camera, held).value_or(board::ControlReading{});
    const int loss = api::lossOf(*camera, held);
    *out = {
        shown(reading.holder, loss == GBE_LOSS_NONE), loss, net::Ipv4::fromNumber(reading.ip).lowFirst(),
        reading.udpPort};
    return status::Success;
}
