// Giving a camera up: disconnecting, and freeing its handle.
#include "api/disconnecting.h"

#include "api/Change.h"
#include "api/handles.h"
#include "api/refusals.h"
#include "api/taking.h"
#include "liomol/gige.h"
#include "util/process.h"
#include "util/status.h"

#include <QtCore/QCoreApplication>

namespace api {

void dropConnection(CameraHandle& handle) {
    handle.stream->end(status::Connection);
    handle.heartbeat.reset();
    handle.transmission.reset();
    handle.loss = static_cast<int>(handle.device()->getControlLoss());
    stopWatching(handle);
    handle.keep->end();
    handle.watches.clear();
    handle.texts.clear();
}

void endConnection(CameraHandle& handle, State before) {
    handle.stream->end(status::CameraNotConnected);
    handle.heartbeat.reset();
    handle.transmission.reset();
    if (before == State::Connected) {
        stopWatching(handle);
        handle.loss = GBE_LOSS_DISCONNECTED;
    }
    handle.keep->end(); // before control is given back
    giveControlBack(handle);
    handle.portClaim = {};
    handle.place().release(&handle);
    handle.watches.clear();
    handle.texts.clear();
}

namespace {

// What disconnecting ends: the camera is anybody's, and the handle no more reached from its board handle.
void disconnect(CameraHandle& handle, State before) {
    endConnection(handle, before);
    releaseMac(handle);
    handle.slots->clear(handle.place().number, &handle);
}

} // namespace

void freeHandle(CameraHandle* handle) {
    const bool isConnected = handle->heartbeat != nullptr || handle->place().user() == handle;
    const State before = isConnected ? State::Connected : State::Disconnected;
    if (before == State::Connected) {
        disconnect(*handle, before);
    }
    releaseMac(*handle);
    const bool hadDevice = handle->device() != nullptr;
    if (hadDevice) {
        board::disown(handle->place(), handle->device());
    }
    handle->slots->clear(handle->place().number, handle);
    delete handle;
    if (hadDevice && QCoreApplication::instance() != nullptr) {
        QCoreApplication::processEvents();
    }
}

} // namespace api

int Gbe_disconnectCamera(CameraHandle* camera) {
    if (camera == nullptr) {
        return api::nullArgument("camera");
    }
    api::Change change(*camera, api::Call::Disconnect);
    if (change.refused() == status::Success) {
        change.to(api::State::Disconnected);
        api::disconnect(*camera, change.before());
    }
    return change.refused();
}

// While a call changes the handle, as when a listener frees it from inside, that call frees it at its end.
void Gbe_freeCamera(CameraHandle* camera) {
    if (camera == nullptr || util::isForkedChild()) {
        return;
    }
    api::State before = camera->connection.load();
    for (;;) {
        if (before == api::State::Leaving) {
            return;
        }
        const api::State next = before == api::State::Changing ? api::State::Leaving : api::State::Changing;
        if (camera->connection.compare_exchange_weak(before, next)) {
            break;
        }
    }
    if (before != api::State::Changing) {
        api::freeHandle(camera);
    }
}
