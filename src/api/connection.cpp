// Connections: taking and keeping control of a camera, moving to another port, giving up.
//
// A connected handle whose control is lost (see board/ControlWatch.h) connects again as a disconnected one.
//
//            look-up              connect, switch
//   (none) ----------> found ------------------------> connected
//                        |       <- connect fails         |   disconnect,
//                        |                                v   switch fails
//                        |     connect, switch       disconnected
//                        |     connected <----------------+
//                        +---- free ----> (none) <--- free, from every state
//
// A connected handle is the only user of its port: what another handle of the port does meanwhile never
// reaches its camera.
#include "api/guard.h"
#include "api/handles.h"
#include "board/camera.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/gige.h"
#include "util/qt_locks.h"
#include "util/status.h"

#include <cstring>
#include <memory>

namespace {

// Makes the handle's camera the current one of a port. A camera that the last scan missed stays current if it
// was, and cannot become it otherwise.
bool makeCurrent(const CameraHandle& handle, camera& place) {
    if (place.selectCameraViaMac(handle.mac.data())) {
        return true;
    }
    const DiscoveredCamera* record = place.record();
    return record != nullptr && std::memcmp(record->mac, handle.mac.data(), handle.mac.size()) == 0;
}

// What the camera tells of its control before anything is changed. One that does not say who has control is
// asked for it, unless that might take it away from somebody.
int checkControl(GigeCamera& board, int port) {
    const board::ControlReading found = board::readControl(board, port);
    switch (found.holder) {
    case board::Holder::Other:
        return status::CameraBusy;
    case board::Holder::Somebody:
        return found.canBeTakenOver || board::isControlRefused(board, port) ? status::CameraBusy
                                                                            : status::Success;
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
int takeControl(CameraHandle& handle, int board, int port, Beforehand beforehand) {
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(board, port));
    camera place(GenICamPortWrapper::getBoard(board), port);
    if (!makeCurrent(handle, place)) {
        return status::CameraDoesNotExist;
    }
    if (beforehand == Beforehand::Look) {
        const int refused = checkControl(*GenICamPortWrapper::getBoard(board), port);
        if (refused != status::Success) {
            return refused;
        }
    }
    place.init();
    return status::Success;
}

// Leaves the camera alone when another handle uses the port.
void giveControlBack(CameraHandle& handle) {
    const void* user = GenICamPortWrapper::portUser(handle.board(), handle.port);
    if (user != nullptr && user != &handle) {
        return;
    }
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(handle.board(), handle.port));
    camera place(handle.openBoard(), handle.port);
    if (makeCurrent(handle, place)) {
        place.deinit();
    }
}

// A handle that was disconnected has let go of its camera, which somebody else may have taken since.
bool takeMac(CameraHandle& handle) {
    if (!handle.macIsTaken) {
        handle.macIsTaken = GenICamPortWrapper::takeCamera(handle.mac.data());
    }
    return handle.macIsTaken;
}

void releaseMac(CameraHandle& handle) {
    if (handle.macIsTaken) {
        GenICamPortWrapper::setCameraInUse(handle.mac.data(), false);
        handle.macIsTaken = false;
    }
}

void clearSlot(CameraHandle& handle) {
    CameraHandle*& slot = handle.slots->cameras.at(static_cast<std::size_t>(handle.port));
    if (slot == &handle) {
        slot = nullptr;
    }
}

// From here on the handle's control of the camera is watched over. False when another application has taken
// it meanwhile.
bool startWatching(const CameraHandle& handle) {
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(handle.board(), handle.port));
    return GenICamPortWrapper::watchControl(handle.board(), handle.port);
}

void stopWatching(const CameraHandle& handle) {
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(handle.board(), handle.port));
    GenICamPortWrapper::unwatchControl(handle.board(), handle.port);
}

// The device of a port may be null after a switch: the heartbeat then idles.
void startHeartbeat(CameraHandle& handle) {
    handle.heartbeat.reset(new GbeHeartbeatThread(handle.device()));
    handle.heartbeat->start(QThread::InheritPriority);
}

// Loads the description. A file that it asks for and that does not exist is remembered for the port.
int loadDescription(CameraHandle& handle) {
    const auto remember = [&](const QString& file) {
        GenICamPortWrapper::setLocalXmlFile(handle.board(), handle.port, file);
    };
    remember(QString());
    return api::guarded(
        [&] {
            const int result = GenICamPortWrapper::initializeGenICamInterface(
                handle.board(), handle.port, handle.standardBehaviour);
            return result == 0 ? status::Success : status::XmlRead;
        },
        remember);
}

// Everything that an attempt to connect takes, and gives back unless it succeeds: a failed attempt leaves the
// camera free and the port without a device, as if it had not been.
class Attempt {
public:
    explicit Attempt(CameraHandle& handle) : m_handle(handle), m_hadMac(handle.macIsTaken) {}
    ~Attempt() {
        if (m_succeeded || !m_hasPort) {
            return;
        }
        if (m_hasControl) {
            stopWatching(m_handle);
            giveControlBack(m_handle);
            GenICamPortWrapper::deleteCamera(m_handle.board(), m_handle.port);
        }
        if (!m_hadMac) {
            releaseMac(m_handle);
        }
        GenICamPortWrapper::releasePort(m_handle.board(), m_handle.port, &m_handle);
    }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    int run() {
        m_hasPort = GenICamPortWrapper::claimPort(m_handle.board(), m_handle.port, &m_handle);
        if (!m_hasPort) {
            return status::PortNotAvailable;
        }
        if (!takeMac(m_handle)) {
            return status::CameraBusy;
        }
        int result = takeControl(m_handle, m_handle.board(), m_handle.port, Beforehand::Look);
        m_hasControl = result == status::Success;
        if (m_hasControl && !m_handle.descriptionReady) {
            result = loadDescription(m_handle);
        }
        if (result == status::Success && !startWatching(m_handle)) {
            result = status::CameraBusy;
        }
        m_succeeded = result == status::Success;
        return result;
    }

private:
    CameraHandle& m_handle;
    bool m_hadMac;
    bool m_hasPort = false;
    bool m_hasControl = false;
    bool m_succeeded = false;
};

bool isLost(const CameraHandle& handle) {
    const tavo::ImplGenICamCamera* device = handle.device();
    return device != nullptr && device->getControlLoss() != tavo::ControlLoss::None;
}

// Ends a connection without control. Nothing is given back to the camera, which may be silent or somebody
// else's by now; port and MAC stay the handle's for the attempt that follows.
void dropConnection(CameraHandle& handle) {
    handle.heartbeat.reset();
    handle.transmission.reset();
    handle.loss = static_cast<int>(handle.device()->getControlLoss());
    handle.connected = false;
    stopWatching(handle);
    handle.texts.clear();
}

int connectCamera(CameraHandle* handle, int connectedAlready) {
    if (handle == nullptr) {
        return status::IllegalParameter;
    }
    if (handle->connected && !isLost(*handle)) {
        return connectedAlready;
    }
    if (handle->openBoard() == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (handle->connected) {
        dropConnection(*handle);
    }
    const int result = Attempt(*handle).run();
    if (result != status::Success) {
        return result;
    }
    handle->connected = true;
    if (tavo::ImplGenICamCamera* device = handle->device()) {
        device->enableChecking(handle->checksEnabled);
        device->announceControlLoss();
    }
    startHeartbeat(*handle);
    return status::Success;
}

// Ends a connection, if there is one, and gives the camera's control back in any case.
void endConnection(CameraHandle& handle) {
    handle.heartbeat.reset();
    handle.transmission.reset();
    if (handle.connected) {
        stopWatching(handle);
        handle.loss = GBE_LOSS_DISCONNECTED;
    }
    giveControlBack(handle);
    GenICamPortWrapper::releasePort(handle.board(), handle.port, &handle);
    handle.connected = false;
    handle.texts.clear();
}

// The checks before anything changes. The codes are as documented, surprising or not.
int checkSwitch(const CameraHandle* handle, const BoardHandle* newBoard, unsigned newPort) {
    if (handle == nullptr || newBoard == nullptr || newPort >= GenICamPortWrapper::kPorts) {
        return status::IllegalParameter;
    }
    if (newBoard->slots->cameras.at(newPort) != nullptr) {
        return status::BoardDoesNotExist;
    }
    const int port = static_cast<int>(newPort);
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(newBoard->index(), port));
    const GigeCamera* open = GenICamPortWrapper::getBoard(newBoard->index());
    if (open == nullptr) {
        return status::BoardDoesNotExist;
    }
    return open->discoveredCount(port) == 0 ? status::NoCamerasFound : status::Success;
}

// Takes the device object along, if it is this handle's: its description is the camera's on every port.
void moveTo(CameraHandle& handle, BoardHandle& newBoard, int newPort) {
    if (GenICamPortWrapper::portUser(handle.board(), handle.port) == nullptr) { // not so on the same port
        GenICamPortWrapper::moveCamera(handle.board(), handle.port, newBoard.index(), newPort);
    }
    clearSlot(handle);
    handle.slots = newBoard.slots;
    handle.port = newPort;
    handle.slots->cameras.at(static_cast<std::size_t>(newPort)) = &handle;
    handle.connected = true;
}

int switchConnection(CameraHandle* handle, BoardHandle* newBoard, unsigned newPort) {
    if (const int refused = checkSwitch(handle, newBoard, newPort); refused != status::Success) {
        return refused;
    }
    const int board = newBoard->index();
    const int port = static_cast<int>(newPort);
    const void* user = GenICamPortWrapper::portUser(board, port);
    if (user != nullptr && user != handle) {
        return status::PortNotAvailable;
    }
    const bool hadMac = handle->macIsTaken;
    if (!takeMac(*handle)) {
        return status::CameraBusy;
    }
    endConnection(*handle);
    const int result = GenICamPortWrapper::claimPort(board, port, handle)
                           ? takeControl(*handle, board, port, Beforehand::DoNotLook)
                           : status::PortNotAvailable;
    if (result != status::Success) {
        GenICamPortWrapper::releasePort(board, port, handle);
        if (!hadMac) {
            releaseMac(*handle);
        }
        return result;
    }
    moveTo(*handle, *newBoard, port);
    startWatching(*handle);
    if (tavo::ImplGenICamCamera* device = handle->device()) {
        device->announceControlLoss();
    }
    startHeartbeat(*handle);
    return status::Success;
}

} // namespace

int Gbe_connectCamera(CameraHandle* camera) {
    constexpr int kConnectedAlready = status::CameraNotConnected; // deliberately this code
    return connectCamera(camera, kConnectedAlready);
}

int Gbe_connectCameraWithoutService(CameraHandle* camera) {
    return connectCamera(camera, status::CameraAlreadyConnected);
}

int Gbe_disconnectCamera(CameraHandle* camera) {
    if (camera == nullptr) {
        return status::IllegalParameter;
    }
    endConnection(*camera);
    releaseMac(*camera);
    clearSlot(*camera);
    return status::Success;
}

int Gbe_switchCameraConnection(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort) {
    return switchConnection(camera, newBoard, newPort);
}

int Gbe_switchCameraConnectionWithoutService(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort) {
    return switchConnection(camera, newBoard, newPort);
}

void Gbe_freeCamera(CameraHandle* camera) {
    if (camera == nullptr) {
        return;
    }
    if (camera->connected) {
        Gbe_disconnectCamera(camera);
    }
    releaseMac(*camera);
    if (GenICamPortWrapper::portUser(camera->board(), camera->port) == nullptr) {
        GenICamPortWrapper::deleteCamera(camera->board(), camera->port);
    }
    clearSlot(*camera);
    delete camera;
}
