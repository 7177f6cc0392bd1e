// Moving a camera's handle to another port, with its device.
#include "api/Change.h"
#include "api/disconnecting.h"
#include "api/handles.h"
#include "api/keeping.h"
#include "api/refusals.h"
#include "api/taking.h"
#include "board/devices.h"
#include "board/failures.h"
#include "liomol/gige.h"
#include "util/status.h"

namespace api {

using board::CameraPort;
using board::HeldPort;

namespace {

// The checks before anything changes. The codes are as documented, surprising or not.
int checkMove(
    const CameraHandle* handle, const BoardHandle* newBoard, unsigned newPort, const CameraPort* newPlace) {
    if (handle == nullptr || newPlace == nullptr) {
        return handle == nullptr ? nullArgument("camera") : badPort(newBoard, newPort);
    }
    if (!newBoard->slots->isFree(newPlace->number)) {
        return refused(status::BoardDoesNotExist, [&] {
            return board::placeText(*newPlace) + " has a camera handle already";
        });
    }
    return status::Success;
}

int checkNewPort(const CameraHandle& handle, CameraPort& place) {
    const HeldPort held(place);
    if (held.port() == nullptr) {
        return boardClosed(place.boardIndex);
    }
    if (held.port()->cameras().count() == 0) {
        return noCameras(held);
    }
    return place.user() != nullptr && place.user() != &handle ? portTaken(place) : status::Success;
}

// Takes the device along: its description is the camera's on every port.
void moveTo(CameraHandle& handle, const BoardHandle& newBoard, CameraPort& newPlace) {
    handle.slots->clear(handle.place().number, &handle);
    if (handle.device() != nullptr && &newPlace != &handle.place()) {
        board::disown(handle.place(), handle.device());
        board::makeOwn(newPlace, handle.sharedDevice());
        board::leadTo(*handle.device(), newPlace);
    }
    handle.slots = newBoard.slots;
    handle.setPlace(newPlace);
    handle.slots->put(newPlace.number, &handle);
}

int takeNewPort(CameraHandle& handle, CameraPort& place) {
    if (!place.claim(&handle)) {
        return portTaken(place);
    }
    handle.isReading = false;
    const int result = !claimPort(handle, place) ? portLocked(place)
                       : !lockOut(handle, place) ? cameraLocked(handle.mac.data())
                                                 : takeControl(handle, place, Beforehand::DoNotLook);
    if (result != status::Success) {
        const util::KeepErrorDetail kept;
        handle.hostLock.release();
        handle.portClaim = {};
        place.release(&handle);
    }
    return result;
}

int moveConnection(CameraHandle& handle, const BoardHandle& newBoard, CameraPort& newPlace) {
    std::shared_ptr<board::Device> device;
    {
        Change change(handle, Call::Move);
        if (change.refused() != status::Success) {
            return change.refused();
        }
        if (const int refused = checkNewPort(handle, newPlace); refused != status::Success) {
            return refused;
        }
        const bool hadMac = handle.macIsTaken;
        if (!takeMac(handle)) {
            return cameraTaken();
        }
        change.to(State::Disconnected);
        endConnection(handle, change.before());
        if (const int result = takeNewPort(handle, newPlace); result != status::Success) {
            if (!hadMac) {
                releaseMac(handle);
            }
            return result;
        }
        moveTo(handle, newBoard, newPlace);
        startWatching(handle);
        startHeartbeat(handle);
        tryToKeepControl(handle);
        newPlace.showUse(GBE_LINK_CONTROL, handle.mac.data());
        device = handle.sharedDevice();
        change.to(State::Connected);
    }
    return announced(device);
}

int switchConnection(CameraHandle* handle, const BoardHandle* newBoard, unsigned newPort) {
    CameraPort* newPlace = portOf(newBoard, newPort);
    const int refused = checkMove(handle, newBoard, newPort, newPlace);
    return refused != status::Success ? refused : moveConnection(*handle, *newBoard, *newPlace);
}

} // namespace

} // namespace api

int Gbe_switchCameraConnection(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort) {
    return api::switchConnection(camera, newBoard, newPort);
}

int Gbe_switchCameraConnectionWithoutService(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort) {
    return api::switchConnection(camera, newBoard, newPort);
}
