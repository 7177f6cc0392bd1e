// Connecting: taking a camera and its port, and loading its description. The states of a connection, and what
// may be done in which, are in api/connection_state.h; taking.h, disconnecting.h and moving.cpp are the rest.
//
// A connected handle is the only user of its port: what another handle of the port does meanwhile never
// reaches its camera.
#include "api/Change.h"
#include "api/disconnecting.h"
#include "api/guard.h"
#include "api/handles.h"
#include "api/keeping.h"
#include "api/refusals.h"
#include "api/taking.h"
#include "board/description.h"
#include "board/devices.h"
#include "liomol/gige.h"
#include "util/status.h"

#include <cstring>
#include <memory>

namespace api {

using board::CameraPort;
using board::Device;

namespace {

enum class Purpose { Work, Reading };

struct Wish {
    Purpose purpose = Purpose::Work;
    bool exclusive = false;
    bool isBare = false; // without the camera's description
};

// Loads the description. A file that it asks for and that does not exist is remembered for the port.
int loadDescription(CameraHandle& handle, bool isBare) {
    CameraPort& place = handle.place();
    const auto remember = [&](const QString& file) { place.setLocalXmlFile(file.toStdString()); };
    remember(QString());
    std::shared_ptr<Device> device = handle.sharedDevice();
    const int result = guarded(
        [&] {
            const bool good = isBare ? board::doWithoutDescription(place, device)
                                     : board::retrieveDescription(place, device, handle.standardBehaviour);
            return good ? status::Success : status::XmlRead;
        },
        remember);
    if (device != handle.sharedDevice()) {
        handle.setDevice(std::move(device));
    }
    return result;
}

// Everything that an attempt to connect takes, and gives back unless it succeeds: a failed attempt leaves the
// camera free and the port without a device, as if it had not been.
class Attempt {
public:
    Attempt(CameraHandle& handle, const Wish& wish)
        : m_handle(handle), m_purpose(wish.purpose), m_isBare(wish.isBare), m_hadMac(handle.macIsTaken) {
        handle.isReading = wish.purpose == Purpose::Reading;
        handle.isExclusive = wish.exclusive;
    }
    ~Attempt() {
        if (m_succeeded || !m_hasPort) {
            return;
        }
        const util::KeepErrorDetail kept;
        if (m_hasControl) {
            stopWatching(m_handle);
            giveControlBack(m_handle);
            board::disown(m_handle.place(), m_handle.device());
        }
        m_handle.hostLock.release();
        if (!m_hadMac) {
            releaseMac(m_handle);
        }
        m_handle.portClaim = {};
        m_handle.place().release(&m_handle);
    }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    int run() {
        m_hasPort = m_handle.place().claim(&m_handle);
        if (!m_hasPort) {
            return portTaken(m_handle.place());
        }
        if (!takeMac(m_handle)) {
            return cameraTaken();
        }
        if (!claimPort(m_handle, m_handle.place())) {
            return portLocked(m_handle.place());
        }
        int result = m_purpose == Purpose::Reading ? prepareReading(m_handle) : prepareWork();
        m_hasControl = result == status::Success;
        if (m_hasControl && !m_handle.descriptionReady) {
            result = loadDescription(m_handle, m_isBare);
        }
        if (result == status::Success && m_purpose == Purpose::Work && !startWatching(m_handle)) {
            result = refused(status::CameraBusy, "another application has taken the camera meanwhile");
        }
        m_succeeded = result == status::Success;
        return result;
    }

private:
    int prepareWork() {
        return lockOut(m_handle, m_handle.place()) ? takeControl(m_handle, m_handle.place(), Beforehand::Look)
                                                   : cameraLocked(m_handle.mac.data());
    }

    CameraHandle& m_handle;
    const Purpose m_purpose;
    const bool m_isBare;
    bool m_hadMac;
    bool m_hasPort = false;
    bool m_hasControl = false;
    bool m_succeeded = false;
};

int connectCamera(CameraHandle* handle, Call call, const Wish& wish = {}) {
    if (handle == nullptr) {
        return nullArgument("camera");
    }
    std::shared_ptr<Device> device;
    {
        Change change(*handle, call);
        if (change.refused() != status::Success) {
            return change.refused();
        }
        if (!handle->place().isOpen()) {
            return boardClosed(handle->place().boardIndex);
        }
        if (change.before() == State::Connected) {
            change.to(State::Disconnected);
            dropConnection(*handle);
        }
        const int result = Attempt(*handle, wish).run();
        if (result != status::Success) {
            return result;
        }
        device = handle->sharedDevice();
        if (device != nullptr) {
            device->enableChecking(handle->checksEnabled);
        }
        if (wish.purpose == Purpose::Work) {
            startHeartbeat(*handle);
            tryToKeepControl(*handle);
        } else if (device != nullptr) {
            device->noteControlLoss(tavo::ControlLoss::None); // of an earlier connection
        }
        handle->place().showUse(
            wish.purpose == Purpose::Work ? GBE_LINK_CONTROL : GBE_LINK_READING, handle->mac.data());
        change.to(State::Connected);
    }
    return announced(device);
}

} // namespace

} // namespace api

int Gbe_connectCamera(CameraHandle* camera) {
    return api::connectCamera(camera, api::Call::Connect);
}

int Gbe_connectCameraWithoutService(CameraHandle* camera) {
    return api::connectCamera(camera, api::Call::ConnectWithoutService);
}

int Gbe_connectCameraWith(CameraHandle* camera, int mode) {
    constexpr auto kCall = api::Call::ConnectWithoutService;
    switch (mode) {
    case GBE_CONNECT_CONTROL:
        return api::connectCamera(camera, kCall);
    case GBE_CONNECT_EXCLUSIVE:
        return api::connectCamera(camera, kCall, {api::Purpose::Work, true});
    case GBE_CONNECT_READ_ONLY:
        return api::connectCamera(camera, kCall, {api::Purpose::Reading});
    case GBE_CONNECT_REGISTERS:
        return api::connectCamera(camera, kCall, {api::Purpose::Work, false, true});
    default:
        return api::refused(status::IllegalParameter, "there is no such mode");
    }
}

int Gbe_connectCameraForReading(CameraHandle* camera) {
    return Gbe_connectCameraWith(camera, GBE_CONNECT_READ_ONLY);
}

int Gbe_getCameraUser(CameraHandle* camera, int* pid, char* program, unsigned size) {
    if (camera == nullptr || pid == nullptr || (program == nullptr && size != 0)) {
        return api::firstNull({{camera, "camera"}, {pid, "pid"}, {program, "program"}});
    }
    const auto holder = util::lockHolder(board::cameraLockName(camera->mac.data()));
    *pid = holder ? holder->pid : 0;
    if (size != 0) {
        const std::string name = holder ? holder->program.substr(0, size - 1) : std::string();
        std::memcpy(program, name.c_str(), name.size() + 1);
    }
    return status::Success;
}
