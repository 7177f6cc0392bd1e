#include "api/taking.h"

#include "api/handles.h"
#include "api/refusals.h"
#include "board/CamerasInUse.h"
#include "board/camera.h"
#include "board/control.h"
#include "board/control_registers.h"
#include "board/failures.h"
#include "util/status.h"

#include <cstring>

namespace api {

using board::CameraPort;
using board::HeldPort;

namespace {

// Makes the handle's camera the current one of a port. A camera that the last scan missed stays current if it
// was, and cannot become it otherwise.
bool makeCurrent(const CameraHandle& handle, const HeldPort& held) {
    transport::Port* port = held.port();
    if (port == nullptr || port->selectCamera(handle.mac.data())) {
        return port != nullptr;
    }
    const DiscoveredCamera* record = port->currentCamera();
    return record != nullptr && std::memcmp(record->mac, handle.mac.data(), handle.mac.size()) == 0;
}

int controlledBy(const board::ControlReading& reading) {
    return refused(status::CameraBusy, [&] { return board::otherText(reading); });
}

int silent() {
    return refused(status::XmlRead, "the camera does not answer");
}

// What the camera tells of its control before anything is changed. One that does not say who has control is
// asked for it, unless that might take it away from somebody.
int checkControl(const HeldPort& held) {
    const board::ControlReading found = board::readControl(held);
    switch (found.holder) {
    case board::Holder::Other:
        return controlledBy(found);
    case board::Holder::Somebody:
        return found.canBeTakenOver || board::isControlRefused(held) ? controlledBy(found) : status::Success;
    case board::Holder::Unknown:
        return found.answered ? status::Success : silent();
    case board::Holder::Nobody:
    case board::Holder::Self:
        break;
    }
    return status::Success;
}

// To everybody but who has control. Some cameras still tell others who that is.
bool isClosed(const board::ControlReading& found) {
    return found.isRefused || (found.isExclusive && found.holder != board::Holder::Self);
}

} // namespace

int takeControl(CameraHandle& handle, CameraPort& place, Beforehand beforehand) {
    const HeldPort held(place);
    if (!makeCurrent(handle, held)) {
        return notFound(held.place, handle.mac.data());
    }
    held.terms() = {false, handle.isExclusive, handle.heartbeatTimeout};
    const int refused = beforehand == Beforehand::Look ? checkControl(held) : status::Success;
    if (refused == status::Success) {
        board::prepareCamera(held);
    }
    return refused;
}

int prepareReading(CameraHandle& handle) {
    const HeldPort held(handle.place());
    if (!makeCurrent(handle, held)) {
        return notFound(held.place, handle.mac.data());
    }
    held.terms() = {true};
    const board::ControlReading found = board::readControl(held);
    return !found.answered ? silent() : isClosed(found) ? controlledBy(found) : status::Success;
}

void giveControlBack(CameraHandle& handle) {
    const void* user = handle.place().user();
    if (handle.isReading || (user != nullptr && user != &handle)) {
        return;
    }
    const HeldPort held(handle.place());
    if (makeCurrent(handle, held)) {
        camera(held.port()).deinit();
    }
}

bool takeMac(CameraHandle& handle) {
    if (!handle.macIsTaken) {
        handle.macIsTaken = board::CamerasInUse::instance().take(handle.mac.data());
    }
    return handle.macIsTaken;
}

bool lockOut(CameraHandle& handle, const CameraPort& place) {
    using Result = util::HostLock::Result;
    return handle.hostLock.isHeld() ||
           board::sharingOf(place.boardIndex, place.number) == board::Sharing::Private ||
           handle.hostLock.take(board::cameraLockName(handle.mac.data())) != Result::Busy;
}

bool claimPort(CameraHandle& handle, const CameraPort& place) {
    handle.portClaim = board::PortClaim(place.boardIndex, place.number);
    return static_cast<bool>(handle.portClaim);
}

void releaseMac(CameraHandle& handle) {
    handle.hostLock.release();
    if (handle.macIsTaken) {
        board::CamerasInUse::instance().giveBack(handle.mac.data());
        handle.macIsTaken = false;
    }
}

bool startWatching(const CameraHandle& handle) {
    const HeldPort held(handle.place());
    return held.port() != nullptr && board::watchControl(held);
}

void stopWatching(const CameraHandle& handle) {
    board::unwatchControl(HeldPort(handle.place()));
}

void startHeartbeat(CameraHandle& handle) {
    if (handle.device() != nullptr) {
        handle.device()->setHeartbeatTimeout(handle.heartbeatTimeout);
    }
    const auto onLoss = [stream = handle.stream, keep = handle.keep] {
        keep->end();
        stream->fail(status::Connection);
    };
    const auto onTick = [stream = handle.stream] { stream->count(); }; // though nobody asks for images
    handle.heartbeat.reset(new GbeHeartbeatThread(handle.sharedDevice(), onLoss, onTick));
    handle.heartbeat->start(QThread::InheritPriority);
}

} // namespace api
