#include "genicam/device/ImplGenICamCamera.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/RegisterBytes.h"
#include "liomol/exceptions.h"
#include "util/qt_locks.h"

#include <algorithm>
#include <cstring>
#include <iostream>

namespace tavo {
namespace {

// GigE Vision bootstrap register "Heartbeat Timeout", in milliseconds.
constexpr long long kHeartbeatTimeoutAddress = 0x938;
constexpr std::uint32_t kHeartbeatTimeoutMs = 8000;

// Once for the process: devices are made on many threads.
void registerSignalTypes() {
    [[maybe_unused]] static const bool registered = [] {
        qRegisterMetaType<ImplGenICamCamera*>("ImplGenICamCamera*");
        qRegisterMetaType<ImplGenICamCamera::CameraState>("ImplGenICamCamera::CameraState");
        qRegisterMetaType<ControlLoss>("tavo::ControlLoss");
        return true;
    }();
}

} // namespace

ImplGenICamCamera::ImplGenICamCamera()
    : m_polling([this](HelperThread& thread) { asyncPollingMethod(thread); }, [](bool) {}),
      m_signalling(
          [this](HelperThread& thread) { asyncSignallingMethod(thread); },
          [this](bool starting) { starting ? m_changes.start() : m_changes.stop(); }) {
    registerSignalTypes();
}

ImplGenICamCamera::~ImplGenICamCamera() {
    stopAsyncMethods();
}

void ImplGenICamCamera::deleteLater() {
    stopAsyncMethods();
    if (GenICamPortInterface* const port = getPort(kDevicePort)) {
        port->setConnection(-1, -1, 0);
    }
    QObject::deleteLater();
}

void ImplGenICamCamera::setState(CameraState state) {
    m_state.store(state, std::memory_order_release);
    Q_EMIT signal_StateChanged(this, state);
}

// ---- Description -----------------------------------------------------------------------------------------

bool ImplGenICamCamera::enableStandardBehaviour(bool on) {
    const Quirks wanted = on ? Quirks::none() : Quirks();
    waitForConnection();
    if (wanted == m_quirks) {
        return true;
    }
    const bool rebuild = getState() == Connected;
    std::string description;
    if (rebuild) {
        stopAsyncMethods();
        description = m_description;
        forgetTree();
    }
    m_quirks = wanted;
    if (!rebuild) {
        return true;
    }
    auto text = std::make_unique<char[]>(description.size() + 1);
    std::memcpy(text.get(), description.c_str(), description.size() + 1);
    retrieveRegisterDescriptionFromMemory(text.release());
    return waitForConnection() != 0;
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

ImplGenICamNode& ImplGenICamCamera::adoptNode(std::unique_ptr<ImplGenICamNode> node) {
    node->setCamera(this);
    return m_nodes.own(std::move(node));
}

// While the tree is built it belongs to the retrieving thread alone.
bool ImplGenICamCamera::isTreeVisible() const {
    return getState() != Retrieving || m_retrieving->isCurrent();
}

GenICamNode* ImplGenICamCamera::getNodeByName(std::string_view name) const {
    return isTreeVisible() ? m_nodes.find(name) : nullptr;
}

std::vector<GenICamNode*> ImplGenICamCamera::getNodes() const {
    if (!isTreeVisible()) {
        return {};
    }
    const std::vector<ImplGenICamNode*> nodes = m_nodes.byName();
    return {nodes.begin(), nodes.end()};
}

std::vector<ImplGenICamNode*> ImplGenICamCamera::getCommandNodes() const {
    std::vector<ImplGenICamNode*> nodes = m_nodes.byName();
    std::erase_if(nodes, [](const auto* node) { return node->getNodeType() != GenICamTypes::Command; });
    return nodes;
}

void ImplGenICamCamera::invalidateAllNodes() {
    if (!isTreeVisible()) {
        return;
    }
    const DeviceLockScope scope(this);
    m_access.invalidation.everything(m_nodes.all());
}

void ImplGenICamCamera::dumpNodeValues() {
    for (GenICamNode* const node : getNodes()) {
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

void ImplGenICamCamera::setPort(GenICamPortInterface* port, const std::string& name) {
    const std::lock_guard lock(m_registryLock);
    if (port != nullptr) {
        m_ports[name] = port;
    } else {
        m_ports.erase(name);
    }
}

GenICamPortInterface* ImplGenICamCamera::getPort(const std::string& name) const {
    const std::lock_guard lock(m_registryLock);
    const auto port = m_ports.find(name);
    return port != m_ports.end() ? port->second : nullptr;
}

void ImplGenICamCamera::sendHeartbeat() {
    if (GenICamPortInterface* const port = getPort(kDevicePort)) {
        RegisterBytes timeout;
        timeout.reset(sizeof(kHeartbeatTimeoutMs));
        timeout.setNumber(kHeartbeatTimeoutMs, true); // bootstrap registers are big-endian
        port->write(timeout.data(), kHeartbeatTimeoutAddress, static_cast<long long>(timeout.size()));
    }
}

// ---- Control ---------------------------------------------------------------------------------------------

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
        throw GicConnectionException();
    }
    const DeviceLockScope scope(this); // no access is under way while the camera moves
    port->setConnection(connection.board, connection.port, ip);
    {
        const std::lock_guard lock(m_registryLock);
        m_connectionChanged = !(m_connection == connection);
        m_connection = connection;
    }
    invalidateAllNodes();
}

// ---- Lock ------------------------------------------------------------------------------------------------

bool ImplGenICamCamera::lock(unsigned timeoutMs) {
    return util::lockForWrite(m_lock, timeoutMs);
}

void ImplGenICamCamera::unlock() {
    ++m_access.number;
    m_access.hops = 0;
    m_access.formulaEvaluations = 0;
    util::unlock(m_lock);
}

void ImplGenICamCamera::notifyNodeHasBeenInvalidated(ImplGenICamNode* node, bool trigger) {
    if (!m_changes.holds(*node, trigger) && !node->isWriteOnly()) {
        m_changes.add(*node, trigger);
    }
}

int ImplGenICamCamera::waitForConnection() const {
    constexpr std::chrono::milliseconds polling(20);
    while (getState() == Retrieving) {
        std::this_thread::sleep_for(polling);
    }
    return getState() == Connected ? 1 : 0;
}

} // namespace tavo
