#include "genicam/device/ImplGenICamCamera.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/RegisterBytes.h"
#include "liomol/exceptions.h"
#include "util/error_detail.h"
#include "util/qt_locks.h"

#include <QtCore/QMetaMethod>

#include <algorithm>
#include <cstring>
#include <iostream>

namespace tavo {
namespace {

// GigE Vision bootstrap register "Heartbeat Timeout", in milliseconds.
constexpr long long kHeartbeatTimeoutAddress = 0x938;
constexpr std::uint32_t kHeartbeatTimeoutMs = 8000;

} // namespace

ImplGenICamCamera::ImplGenICamCamera()
    : m_polling([this](HelperThread& thread) { asyncPollingMethod(thread); }, [](bool) {}),
      m_signalling(
          [commons = m_commons](HelperThread& thread) { reportChanges(commons->changes, thread); },
          [commons = m_commons](bool starting) {
              starting ? commons->changes.start() : commons->changes.stop();
          }) {
    m_empty = newTree();
    useTree(m_empty);
}

ImplGenICamCamera::~ImplGenICamCamera() {
    m_presence->isGone.store(true);
    stopAsyncMethods();
    useTree(nullptr);
}

void ImplGenICamCamera::deleteLater() {
    stopAsyncMethods();
    if (GenICamPortInterface* const port = getPort(kDevicePort)) {
        port->setConnection(-1, -1, 0);
    }
    QObject::deleteLater();
}

void ImplGenICamCamera::setState(CameraState state) {
    {
        const std::lock_guard lock(m_stateLock);
        m_state.store(state, std::memory_order_release);
    }
    m_stateChanged.notify_all();
    Q_EMIT signal_StateChanged(this, state);
}

std::string ImplGenICamCamera::refusal() const {
    const std::lock_guard lock(m_registryLock);
    return m_refusal;
}

// ---- Description -----------------------------------------------------------------------------------------

bool ImplGenICamCamera::enableStandardBehaviour(bool on) {
    const Quirks wanted = on ? Quirks::none() : Quirks();
    waitForConnection();
    std::string description;
    {
        const std::lock_guard lock(m_registryLock);
        if (wanted == m_quirks) {
            return true;
        }
        m_quirks = wanted;
        description = m_description;
    }
    if (getState() != Connected) {
        forgetTree();
        return true;
    }
    auto text = std::make_unique<char[]>(description.size() + 1);
    std::memcpy(text.get(), description.c_str(), description.size() + 1);
    const auto presence = m_presence;
    retrieveRegisterDescriptionFromMemory(text.release());
    if (!presence->isGone && waitForConnection() != 0) {
        return true;
    }
    util::setErrorDetail(presence->isGone ? "a listener has ended the connection meanwhile" : refusal());
    return false;
}

std::vector<QuirkUse> ImplGenICamCamera::quirksTouched() const {
    std::string text;
    {
        const std::lock_guard lock(m_registryLock);
        text = m_description;
    }
    return genicam::findDifferences(text.data());
}

std::size_t ImplGenICamCamera::getXmlDataSize() const {
    const std::lock_guard lock(m_registryLock);
    return m_description.size() + 1;
}

void ImplGenICamCamera::copyXmlData(char* buffer) const {
    const std::lock_guard lock(m_registryLock);
    std::memcpy(buffer, m_description.c_str(), m_description.size() + 1);
}

// ---- Nodes -----------------------------------------------------------------------------------------------

GenICamNode* ImplGenICamCamera::getNodeByName(std::string_view name) const {
    return tree().findNode(name);
}

std::vector<GenICamNode*> ImplGenICamCamera::getNodes() const {
    const std::vector<ImplGenICamNode*> nodes = holdTree()->nodes().byName();
    return {nodes.begin(), nodes.end()};
}

std::vector<ImplGenICamNode*> ImplGenICamCamera::getCommandNodes() const {
    std::vector<ImplGenICamNode*> nodes = holdTree()->nodes().byName();
    std::erase_if(nodes, [](const auto* node) { return node->getNodeType() != GenICamTypes::Command; });
    return nodes;
}

void ImplGenICamCamera::invalidateAllNodes() {
    const auto tree = holdTree();
    const DeviceLockScope scope(tree.get());
    tree->access().invalidation.everything(tree->nodes().all());
}

void ImplGenICamCamera::dumpNodeValues() {
    const auto tree = holdTree();
    for (ImplGenICamNode* const node : tree->nodes().byName()) {
        std::string value;
        try {
            value = node->getValueAsString();
        } catch (const std::exception& failure) {
            value = std::string("exception: ") + failure.what();
        }
        std::cout << node->getName() << " = " << value << '\n';
    }
    std::cout.flush();
}

// ---- Ports -----------------------------------------------------------------------------------------------

void ImplGenICamCamera::sendHeartbeat() {
    if (GenICamPortInterface* const port = getPort(kDevicePort)) {
        RegisterBytes timeout;
        timeout.reset(sizeof(kHeartbeatTimeoutMs));
        const int wanted = m_heartbeatTimeout;
        timeout.setNumber(
            wanted != 0 ? static_cast<std::uint32_t>(wanted) : kHeartbeatTimeoutMs,
            true); // bootstrap registers are big-endian
        port->write(timeout.data(), kHeartbeatTimeoutAddress, static_cast<long long>(timeout.size()));
    }
}

// ---- Control ---------------------------------------------------------------------------------------------

bool ImplGenICamCamera::hasListeners() const {
    return isSignalConnected(QMetaMethod::fromSignal(&ImplGenICamCamera::signal_StateChanged)) ||
           isSignalConnected(QMetaMethod::fromSignal(&ImplGenICamCamera::signal_ControlChanged)) ||
           holdTree()->hasListeners();
}

void ImplGenICamCamera::announceControlLoss() {
    const ControlLoss loss = getControlLoss();
    if (m_announcedLoss.exchange(loss) != loss) {
        Q_EMIT signal_ControlChanged(this, loss);
    }
}

// ---- Connections -----------------------------------------------------------------------------------------

void ImplGenICamCamera::addCameraConnection(int board, int port) {
    const std::lock_guard lock(m_registryLock);
    m_connections.push_back({board, port});
}

std::vector<CameraConnection> ImplGenICamCamera::getConnectionList() const {
    const std::lock_guard lock(m_registryLock);
    return m_connections;
}

CameraConnection ImplGenICamCamera::getCurrentCameraConnection() const {
    const std::lock_guard lock(m_registryLock);
    return m_connection;
}

bool ImplGenICamCamera::isConnected() const {
    return getCurrentCameraConnection().board != -1;
}

bool ImplGenICamCamera::getConnectionChangeStatus() const {
    const std::lock_guard lock(m_registryLock);
    return m_connectionChanged;
}

void ImplGenICamCamera::setConnection(CameraConnection connection, unsigned ip) {
    const std::vector<CameraConnection> known = getConnectionList();
    GenICamPortInterface* const port = getPort(kDevicePort);
    if (port == nullptr || std::find(known.begin(), known.end(), connection) == known.end()) {
        util::fail<GicConnectionException>([&] {
            return port == nullptr
                       ? std::string("nothing leads to the camera")
                       : "board " + std::to_string(connection.board) + " port " +
                             std::to_string(connection.port) + " is none of the camera's connections";
        });
    }
    const auto tree = holdTree();
    const DeviceLockScope scope(tree.get()); // no access is under way while the camera moves
    port->setConnection(connection.board, connection.port, ip);
    {
        const std::lock_guard lock(m_registryLock);
        m_connectionChanged = !(m_connection == connection);
        m_connection = connection;
    }
    invalidateAllNodes();
}

int ImplGenICamCamera::waitForConnection() const {
    std::unique_lock lock(m_stateLock);
    m_stateChanged.wait(lock, [this] { return getState() != Retrieving || m_presence->mustReturn(); });
    return getState() == Connected ? 1 : 0;
}

} // namespace tavo
