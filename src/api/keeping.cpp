#include "api/keeping.h"

#include "api/handles.h"
#include "api/refusals.h"
#include "board/host_locks.h"
#include "liomol/gige.h"
#include "util/process.h"
#include "util/status.h"

#include <optional>
#include <string>

namespace api {
namespace {

// Only what the system sends for everybody it can send for a stopped process, too.
bool canBeKept(const board::CameraPort& place) {
    return board::sharingOf(place.boardIndex, place.number) == board::Sharing::Shared;
}

int notHere() {
    return refused(
        status::PortNotAvailable, "the service can keep control of cameras on network interfaces only");
}

// Nothing when there is nothing to keep.
std::optional<KeepOrder> orderOf(const CameraHandle& handle) {
    const board::CameraPort& place = handle.place();
    const board::HeldPort held(handle.place());
    const unsigned seconds = handle.keepSeconds;
    const bool controls =
        place.user() == &handle && held.port() != nullptr && !held.terms().readOnly && held.control().isOn();
    if (seconds == 0 || !controls || board::controlLoss(held) != tavo::ControlLoss::None) {
        return std::nullopt;
    }
    const frame::Route route = held.port()->toCurrentCamera();
    return KeepOrder{
        place.boardIndex,
        static_cast<unsigned>(place.number),
        route.destinationMac,
        route.destinationIp,
        route.sourceIp,
        route.sourcePort,
        seconds};
}

int begin(ControlKeep& keep, const KeepOrder& order) {
    std::string reply;
    const int result = keep.begin(order, reply);
    if (result < 0) {
        return refused(status::Connection, [&] { return serviceSentence(-result); });
    }
    return result == 1 ? status::Success
                       : refused(status::TransportLayer, [&] { return "the service says: " + reply; });
}

} // namespace

// The connection may change while the service answers, without this process's locks: what is kept then is
// looked at again.
int keepControl(CameraHandle& handle) {
    int result = status::Success;
    for (auto order = orderOf(handle);;) {
        if (!order) {
            handle.keep->end();
            return status::Success;
        }
        result = canBeKept(handle.place()) ? begin(*handle.keep, *order) : notHere();
        const auto now = orderOf(handle);
        if (now == order) {
            return result;
        }
        order = now;
    }
}

void tryToKeepControl(CameraHandle& handle) {
    const util::KeepErrorDetail kept;
    keepControl(handle);
}

} // namespace api

int Gbe_keepControlWhileStopped(CameraHandle* camera, unsigned seconds) {
    if (camera == nullptr) {
        return api::nullArgument("camera");
    }
    if (seconds > KeepOrder::kLongest) {
        return api::refused(status::IllegalValue, "control is kept for 0 to 3600 seconds of a stop");
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    if (seconds != 0 && !api::canBeKept(camera->place())) {
        return api::notHere();
    }
    camera->keepSeconds = seconds;
    return api::keepControl(*camera);
}
