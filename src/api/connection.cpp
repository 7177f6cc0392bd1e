// Connections: taking and keeping control of a camera, moving to another port, giving up. Their states, and
// what may be done in which, are in api/ConnectionState.h.
//
// A connected handle is the only user of its port: what another handle of the port does meanwhile never
// reaches its camera.
#include "api/guard.h"
#include "api/handles.h"
#include "board/CamerasInUse.h"
#include "board/camera.h"
#include "board/control.h"
#include "board/control_registers.h"
#include "board/description.h"
#include "board/devices.h"
#include "liomol/gige.h"
#include "util/process.h"
#include "util/status.h"

#include <QtCore/QCoreApplication>

#include <cstring>
#include <memory>

namespace {

using api::Call;
using api::State;
using board::CameraPort;
using board::Device;
using board::HeldPort;

void freeHandle(CameraHandle* handle);

// A change of a handle's connection, for a scope: it has the handle for itself, if the gate lets it.
class Change {
public:
    Change(CameraHandle& handle, Call call) : m_handle(handle) {
        do {
            m_before = handle.connection.load();
            m_refused = api::allowed(handle.shown(m_before), call);
        } while (m_refused == status::Success &&
                 !handle.connection.compare_exchange_weak(m_before, State::Changing));
        m_after = m_before;
    }
    // Somebody may have wished to free the handle meanwhile.
    ~Change() {
        State changing = State::Changing;
        if (m_refused == status::Success && !m_handle.connection.compare_exchange_strong(changing, m_after)) {
            freeHandle(&m_handle);
        }
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

    int refused() const { return m_refused; }
    State before() const { return m_before; }
    // The state after the change; without it, the one before.
    void to(State state) { m_after = state; }

private:
    CameraHandle& m_handle;
    State m_before{};
    State m_after{};
    int m_refused = status::Success;
};

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

// What the camera tells of its control before anything is changed. One that does not say who has control is
// asked for it, unless that might take it away from somebody.
int checkControl(const HeldPort& held) {
    const board::ControlReading found = board::readControl(held);
    switch (found.holder) {
    case board::Holder::Other:
        return status::CameraBusy;
    case board::Holder::Somebody:
        return found.canBeTakenOver || board::isControlRefused(held) ? status::CameraBusy : status::Success;
    case board::Holder::Unknown:
        return found.answered ? status::Success : status::XmlRead;
    case board::Holder::Nobody:
    case board::Holder::Self:
        break;
    }
    return status::Success;
}

// Makes the handle's camera the port's current one and prepares it. A switch takes a camera in whatever state
// it is: the port that it comes from may still be in control of it.
enum class Beforehand { Look, DoNotLook };
int takeControl(CameraHandle& handle, CameraPort& place, Beforehand beforehand) {
    const HeldPort held(place);
    if (!makeCurrent(handle, held)) {
        return status::CameraDoesNotExist;
    }
    held.setReadOnly(false);
    const int refused = beforehand == Beforehand::Look ? checkControl(held) : status::Success;
    if (refused == status::Success) {
        camera(held.port()).init();
    }
    return refused;
}

// Makes the handle's camera the port's current one, and sees whether it lets itself be read.
int prepareReading(CameraHandle& handle) {
    const HeldPort held(handle.place());
    if (!makeCurrent(handle, held)) {
        return status::CameraDoesNotExist;
    }
    held.setReadOnly(true);
    const board::ControlReading found = board::readControl(held);
    return !found.answered ? status::XmlRead : found.isRefused ? status::CameraBusy : status::Success;
}

// Leaves the camera alone when another handle uses the port, and when control was never taken.
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

// A handle that was disconnected has let go of its camera, which somebody else may have taken since.
bool takeMac(CameraHandle& handle) {
    if (!handle.macIsTaken) {
        handle.macIsTaken = board::CamerasInUse::instance().take(handle.mac.data());
    }
    return handle.macIsTaken;
}

// Keeps other programs on this computer from the camera. Before anything is sent.
bool lockOut(CameraHandle& handle, const CameraPort& place) {
    using Result = util::HostLock::Result;
    return handle.hostLock.isHeld() ||
           board::sharingOf(place.boardIndex, place.number) == board::Sharing::Private ||
           handle.hostLock.take(board::cameraLockName(handle.mac.data())) != Result::Busy;
}

// The port, too, must be no other program's.
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

// From here on the handle's control of the camera is watched over. False when another application has taken
// it meanwhile, or the board is closed.
bool startWatching(const CameraHandle& handle) {
    const HeldPort held(handle.place());
    return held.port() != nullptr && board::watchControl(held);
}

void stopWatching(const CameraHandle& handle) {
    board::unwatchControl(HeldPort(handle.place()));
}

// There may be no device after a move: the heartbeat then idles.
void startHeartbeat(CameraHandle& handle) {
    handle.heartbeat.reset(new GbeHeartbeatThread(handle.sharedDevice()));
    handle.heartbeat->start(QThread::InheritPriority);
}

// Loads the description. A file that it asks for and that does not exist is remembered for the port.
int loadDescription(CameraHandle& handle) {
    CameraPort& place = handle.place();
    const auto remember = [&](const QString& file) { place.setLocalXmlFile(file.toStdString()); };
    remember(QString());
    std::shared_ptr<Device> device = handle.sharedDevice();
    const int result = api::guarded(
        [&] {
            const bool good = board::retrieveDescription(place, device, handle.standardBehaviour);
            return good ? status::Success : status::XmlRead;
        },
        remember);
    if (device != handle.sharedDevice()) {
        handle.setDevice(std::move(device));
    }
    return result;
}

enum class Purpose { Work, Reading };

// Everything that an attempt to connect takes, and gives back unless it succeeds: a failed attempt leaves the
// camera free and the port without a device, as if it had not been.
class Attempt {
public:
    Attempt(CameraHandle& handle, Purpose purpose)
        : m_handle(handle), m_purpose(purpose), m_hadMac(handle.macIsTaken) {
        handle.isReading = purpose == Purpose::Reading;
    }
    ~Attempt() {
        if (m_succeeded || !m_hasPort) {
            return;
        }
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
            return status::PortNotAvailable;
        }
        if (!takeMac(m_handle)) {
            return status::CameraBusy;
        }
        if (!claimPort(m_handle, m_handle.place())) {
            return status::PortNotAvailable;
        }
        int result = m_purpose == Purpose::Reading ? prepareReading(m_handle) : prepareWork();
        m_hasControl = result == status::Success;
        if (m_hasControl && !m_handle.descriptionReady) {
            result = loadDescription(m_handle);
        }
        if (result == status::Success && m_purpose == Purpose::Work && !startWatching(m_handle)) {
            result = status::CameraBusy;
        }
        m_succeeded = result == status::Success;
        return result;
    }

private:
    int prepareWork() {
        return lockOut(m_handle, m_handle.place()) ? takeControl(m_handle, m_handle.place(), Beforehand::Look)
                                                   : status::CameraBusy;
    }

    CameraHandle& m_handle;
    const Purpose m_purpose;
    bool m_hadMac;
    bool m_hasPort = false;
    bool m_hasControl = false;
    bool m_succeeded = false;
};

// Ends a connection without control. Nothing is given back to the camera, which may be silent or somebody
// else's by now; port and MAC stay the handle's for the attempt that follows.
void dropConnection(CameraHandle& handle) {
    handle.heartbeat.reset();
    handle.transmission.reset();
    handle.loss = static_cast<int>(handle.device()->getControlLoss());
    stopWatching(handle);
    handle.watches.clear();
    handle.texts.clear();
}

// Tells listeners what a change has made of control. The handle is theirs to change again: nothing of it is
// touched here.
int announced(const std::shared_ptr<Device>& device) {
    if (device != nullptr) {
        device->announceControlLoss();
    }
    return status::Success;
}

int connectCamera(CameraHandle* handle, Call call, Purpose purpose = Purpose::Work) {
    if (handle == nullptr) {
        return status::IllegalParameter;
    }
    std::shared_ptr<Device> device;
    {
        Change change(*handle, call);
        if (change.refused() != status::Success) {
            return change.refused();
        }
        if (!handle->place().isOpen()) {
            return status::BoardDoesNotExist;
        }
        if (change.before() == State::Connected) {
            change.to(State::Disconnected);
            dropConnection(*handle);
        }
        const int result = Attempt(*handle, purpose).run();
        if (result != status::Success) {
            return result;
        }
        device = handle->sharedDevice();
        if (device != nullptr) {
            device->enableChecking(handle->checksEnabled);
        }
        if (purpose == Purpose::Work) {
            startHeartbeat(*handle);
        } else if (device != nullptr) {
            device->noteControlLoss(tavo::ControlLoss::None); // of an earlier connection
        }
        change.to(State::Connected);
    }
    return announced(device);
}

// Ends a connection, if there is one, and gives the camera's control back in any case.
void endConnection(CameraHandle& handle, State before) {
    handle.heartbeat.reset();
    handle.transmission.reset();
    if (before == State::Connected) {
        stopWatching(handle);
        handle.loss = GBE_LOSS_DISCONNECTED;
    }
    giveControlBack(handle);
    handle.portClaim = {};
    handle.place().release(&handle);
    handle.watches.clear();
    handle.texts.clear();
}

// The checks before anything changes. The codes are as documented, surprising or not.
int checkMove(const CameraHandle* handle, const BoardHandle* newBoard, const CameraPort* newPlace) {
    if (handle == nullptr || newPlace == nullptr) {
        return status::IllegalParameter;
    }
    if (!newBoard->slots->isFree(newPlace->number)) {
        return status::BoardDoesNotExist;
    }
    return status::Success;
}

int checkNewPort(const CameraHandle& handle, CameraPort& place) {
    const HeldPort held(place);
    if (held.port() == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (held.port()->cameras().count() == 0) {
        return status::NoCamerasFound;
    }
    return place.user() != nullptr && place.user() != &handle ? status::PortNotAvailable : status::Success;
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
        return status::PortNotAvailable;
    }
    handle.isReading = false;
    const int result = !claimPort(handle, place) ? status::PortNotAvailable
                       : !lockOut(handle, place) ? status::CameraBusy
                                                 : takeControl(handle, place, Beforehand::DoNotLook);
    if (result != status::Success) {
        handle.hostLock.release();
        handle.portClaim = {};
        place.release(&handle);
    }
    return result;
}

int moveConnection(CameraHandle& handle, const BoardHandle& newBoard, CameraPort& newPlace) {
    std::shared_ptr<Device> device;
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
            return status::CameraBusy;
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
        device = handle.sharedDevice();
        change.to(State::Connected);
    }
    return announced(device);
}

int switchConnection(CameraHandle* handle, const BoardHandle* newBoard, unsigned newPort) {
    CameraPort* newPlace = api::portOf(newBoard, newPort);
    const int refused = checkMove(handle, newBoard, newPlace);
    return refused != status::Success ? refused : moveConnection(*handle, *newBoard, *newPlace);
}

// What disconnecting ends: the camera is anybody's, and the handle no more reached from its board handle.
void disconnect(CameraHandle& handle, State before) {
    endConnection(handle, before);
    releaseMac(handle);
    handle.slots->clear(handle.place().number, &handle);
}

// Ends a handle that nobody else changes. What its device has queued is delivered before the caller goes on.
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

} // namespace

int Gbe_connectCamera(CameraHandle* camera) {
    return connectCamera(camera, Call::Connect);
}

int Gbe_connectCameraWithoutService(CameraHandle* camera) {
    return connectCamera(camera, Call::ConnectWithoutService);
}

int Gbe_connectCameraForReading(CameraHandle* camera) {
    return connectCamera(camera, Call::ConnectWithoutService, Purpose::Reading);
}

int Gbe_getCameraUser(CameraHandle* camera, int* pid, char* program, unsigned size) {
    if (camera == nullptr || pid == nullptr || (program == nullptr && size != 0)) {
        return status::IllegalParameter;
    }
    const auto holder = util::lockHolder(board::cameraLockName(camera->mac.data()));
    *pid = holder ? holder->pid : 0;
    if (size != 0) {
        const std::string name = holder ? holder->program.substr(0, size - 1) : std::string();
        std::memcpy(program, name.c_str(), name.size() + 1);
    }
    return status::Success;
}

int Gbe_disconnectCamera(CameraHandle* camera) {
    if (camera == nullptr) {
        return status::IllegalParameter;
    }
    Change change(*camera, Call::Disconnect);
    if (change.refused() == status::Success) {
        change.to(State::Disconnected);
        disconnect(*camera, change.before());
    }
    return change.refused();
}

int Gbe_switchCameraConnection(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort) {
    return switchConnection(camera, newBoard, newPort);
}

int Gbe_switchCameraConnectionWithoutService(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort) {
    return switchConnection(camera, newBoard, newPort);
}

// While a call changes the handle, as when a listener frees it from inside, that call frees it at its end.
void Gbe_freeCamera(CameraHandle* camera) {
    if (camera == nullptr || util::isForkedChild()) {
        return;
    }
    State before = camera->connection.load();
    for (;;) {
        if (before == State::Leaving) {
            return;
        }
        const State next = before == State::Changing ? State::Leaving : State::Changing;
        if (camera->connection.compare_exchange_weak(before, next)) {
            break;
        }
    }
    if (before != State::Changing) {
        freeHandle(camera);
    }
}
