// One GenICam device: it owns the nodes of a camera's description, knows the ports through which they reach
// the camera, and runs the threads that build the tree, poll commands and report changes.
#pragma once

#include "genicam/description/standard_differences.h"
#include "genicam/device/HelperThread.h"
#include "genicam/nodes/NodeTree.h"
#include "liomol/GenICamCamera.h"
#include "liomol/signals.h"
#include "util/MacAddress.h"
#include "util/Quirks.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace tavo {

// Threads: node accesses, look-ups, getState and sendHeartbeat may come from any thread; retrieving,
// switching and destroying must not run beside other calls of the application.
//
// Listeners of the signals of the device and of its nodes may do anything, also replace the tree or destroy
// the device, in whichever thread they are called. What the calling thread must get out of first is done when
// the listener has returned. A node that a queued signal names can be used until the listener has returned to
// its event loop, also when its tree, or its device, has gone meanwhile: it reaches no camera then (-40010).
// For that, get the signals in the listener's own thread, whose event loop must run. Ports are
// registered, not owned, and must stay until the device is destroyed or stopAsyncMethods has returned and no
// access is under way.
class ImplGenICamCamera : public GenICamCameraSignals, public GenICamCamera, public VoCamera {
    Q_OBJECT

public:
    ImplGenICamCamera();
    ~ImplGenICamCamera() override;

    // Description and state -----------------------------------------------------------------------------

    // Replace the tree, in the background, by that of a file, or of a zero-terminated text made with new[],
    // which the device takes. Nodes of an earlier tree are gone when the call returns. A listener of
    // signal_StateChanged has to return first: the latest call that it makes is carried out then.
    void retrieveRegisterDescription(const std::string& fileName);
    void retrieveRegisterDescriptionFromMemory(char* text);
    // Waits while the device is retrieving, without limit: 1 when it is connected, 0 when it is not, or when
    // the caller is a listener for whose return the retrieving waits.
    int waitForConnection() const;
    CameraState getState() const { return m_state.load(std::memory_order_acquire); }
    // Why the latest description was refused; empty where it was not, or where nobody knows.
    std::string refusal() const;
    // Always emits signal_StateChanged.
    void setState(CameraState state);

    // The description as it came, with its terminating zero; copyXmlData needs getXmlDataSize() bytes.
    std::size_t getXmlDataSize() const;
    void copyXmlData(char* buffer) const;

    const DeviceHeader& header() const { return tree().header(); }
    const std::string& getModelName() const override { return header().modelName; }
    const std::string& getVendorName() const override { return header().vendorName; }
    const std::string& getToolTip() const override { return header().toolTip; }
    const std::string& getStandardNamespace() const override { return header().standardNamespace; }
    const std::string& getProductGuid() const override { return header().productGuid; }
    const std::string& getVersionGuid() const override { return header().versionGuid; }
    std::int64_t getMajorVersion() const override { return header().majorVersion; }
    std::int64_t getMinorVersion() const override { return header().minorVersion; }
    std::int64_t getSubMinorVersion() const override { return header().subMinorVersion; }
    std::int64_t getSchemaMajorVersion() const override { return header().schemaMajorVersion; }
    std::int64_t getSchemaMinorVersion() const override { return header().schemaMinorVersion; }
    std::int64_t getSchemaSubMinorVersion() const override { return header().schemaSubMinorVersion; }

    // Nodes ---------------------------------------------------------------------------------------------

    // What the description has become; while it is retrieved, an empty one. It goes with the device, and when
    // the next one takes its place.
    // The same, kept for as long as the result is held.
    std::shared_ptr<NodeTree> holdTree() const;
    NodeTree& tree() const { return *m_current.load(std::memory_order_acquire); }
    GenICamNode* getNodeByName(std::string_view name) const override;
    std::vector<GenICamNode*> getNodes() const override;
    // In ascending order of their names.
    std::vector<ImplGenICamNode*> getCommandNodes() const;
    void invalidateAllNodes() override;
    void enableChecking(bool on) override { m_commons->checking.store(on, std::memory_order_relaxed); }
    bool isCheckingEnabled() const override { return m_commons->checking.load(std::memory_order_relaxed); }
    // One line a node on standard output, in ascending order of the names: the name, " = " and the value as
    // text, or "exception: " and its message.
    void dumpNodeValues();

    // Whether descriptions are read, and values computed, as the GenICam standard has it instead of this
    // system's own way (see Quirks); off at first. On a device with a description the tree is replaced: nodes
    // obtained before are gone. False, with the thread's error detail, when that fails (the device is then
    // NotConnected) or a listener destroys it. In one of signal_StateChanged it happens afterwards: true.
    bool enableStandardBehaviour(bool on);
    const Quirks& quirks() const { return tree().quirks(); }
    // What of the description this system's own way reads otherwise than the standard, by quirk; the same
    // whichever way is switched on. Reads the description's text again, which takes about as long as loading
    // it.
    std::vector<QuirkUse> quirksTouched() const;

    // Ports ---------------------------------------------------------------------------------------------

    // Null takes a port away.
    void setPort(GenICamPortInterface* port, const std::string& name) { m_commons->ports.set(name, port); }
    GenICamPortInterface* getPort(const std::string& name) const { return m_commons->ports.find(name); }
    // Leaves the heartbeat time-out in the camera's register for it, through the port "Device": 8000
    // milliseconds unless another one was set. Does nothing without that port; throws what the port throws.
    void sendHeartbeat();
    // For the heartbeats that follow; 0: 8000 again.
    void setHeartbeatTimeout(int milliseconds) { m_heartbeatTimeout = milliseconds; }

    // Control -------------------------------------------------------------------------------------------

    // Why control of the camera is lost, as whoever accesses it for the port "Device" has noted.
    ControlLoss getControlLoss() const { return m_controlLoss.load(std::memory_order_acquire); }
    // What belongs to the reason, as it was noted with it: a number of whoever notes.
    std::uint32_t getControlLossFact() const { return m_controlLossFact.load(std::memory_order_relaxed); }
    // Emits nothing, so that it may be called under any lock.
    void noteControlLoss(ControlLoss loss, std::uint32_t fact = 0) {
        m_controlLossFact.store(fact, std::memory_order_relaxed);
        m_controlLoss.store(loss, std::memory_order_release);
    }
    // Whether anybody has asked for a signal of the device or of one of its nodes.
    bool hasListeners() const;
    // Emits signal_ControlChanged when what is noted is not what was announced last. No lock may be held.
    void announceControlLoss();

    // Connections ---------------------------------------------------------------------------------------

    void addCameraConnection(int board, int port) override;
    std::vector<CameraConnection> getConnectionList() const override;
    CameraConnection getCurrentCameraConnection() const override;
    // Whether the current connection has a board; says nothing of the description (see getState).
    bool isConnected() const override;
    bool getConnectionChangeStatus() const override;
    // Makes another connection of the list the current one, through the port "Device", and drops all that is
    // cached. GicConnectionException for a connection that is not in the list or without that port.
    void setConnection(CameraConnection connection, unsigned ip) override;

    const MacAddress& getMacAddress() const { return m_macAddress; }
    // Before the device is used by several threads.
    void setMacAddress(const MacAddress& address) { m_macAddress = address; }

    // Lock and changes ----------------------------------------------------------------------------------

    // Exclusive, and not for a thread that holds it already: DeviceLockScope is the way to take it.
    QReadWriteLock& getMutex() { return m_commons->lock; }
    // Queues a node's signals; `trigger` reports its values whether they differ or not. A write-only node has
    // nothing to report and is ignored.
    void notifyNodeHasBeenInvalidated(ImplGenICamNode* node, bool trigger) { tree().notify(*node, trigger); }

    // Threads -------------------------------------------------------------------------------------------

    GenICamCameraSignals* getCameraSignals() override { return this; }
    void enablePolling(bool on) override { m_polling.enable(on); }
    bool isPollingEnabled() const override { return m_polling.isEnabled(); }
    void setPollingSleepTime(long long milliseconds) override { m_pollingSleepTime.store(milliseconds); }
    long long getPollingSleepTime() const override { return m_pollingSleepTime.load(); }
    void enableSignalling(bool on) override { m_signalling.enable(on); }
    bool isSignallingEnabled() const override { return m_signalling.isEnabled(); }
    // Has the signalling thread do something, before the signals that wait; once it runs, if it does not.
    void callOnSignallingThread(std::function<void()> task) { m_commons->changes.addTask(std::move(task)); }
    // Asks all threads to end, and waits for them (but for the one that calls). Polling and signalling run
    // again after the next retrieval.
    void stopAsyncMethods();
    // The bodies of the threads. `text` is null when the file is to be read.
    void asyncRetrievingMethod(const std::string& fileName, std::unique_ptr<char[]> text);
    void asyncPollingMethod(HelperThread& thread);
    void asyncSignallingMethod(HelperThread& thread);
    // Stops the threads, unbinds the port "Device" (setConnection(-1, -1, 0)) and has the event loop delete
    // the device.
    void deleteLater();

private:
    struct Request { // to retrieve: a text, or the name of a file
        std::string fileName;
        std::unique_ptr<char[]> text;
    };
    // What a thread needs that a listener returns to, when the listener has destroyed the device.
    struct Presence {
        std::mutex control; // whoever replaces the tree
        std::atomic<std::thread::id> controller{};
        std::atomic<std::thread::id> retriever{};
        std::atomic<bool> isGone{false};
        bool mustReturn() const; // the calling thread, before a retrieval can begin
    };
    static void reportChanges(ChangeQueue& changes, HelperThread& thread);
    void startRetrieving(Request request);
    bool beginRetrieving(Request& request);
    void retrieve(Request request);
    void joinRetrieving();
    std::string buildTree(const std::string& fileName, std::unique_ptr<char[]> text);
    std::shared_ptr<NodeTree> newTree() const;
    void useTree(std::shared_ptr<NodeTree> tree);
    void forgetTree();

    const std::shared_ptr<DeviceCommons> m_commons = std::make_shared<DeviceCommons>();
    const std::shared_ptr<Presence> m_presence = std::make_shared<Presence>();
    Quirks m_quirks; // of the next tree
    std::shared_ptr<NodeTree> m_tree;
    std::shared_ptr<NodeTree> m_empty; // of those who retrieve: in place while there is no description
    std::atomic<NodeTree*> m_current{nullptr}; // m_tree, for look-ups
    std::optional<Request> m_next;             // of a listener; belongs to the thread that must return
    std::atomic<CameraState> m_state{NotConnected};
    mutable std::mutex m_stateLock; // taken for changes, and by those who wait for them
    mutable std::condition_variable m_stateChanged;
    std::atomic<int> m_heartbeatTimeout{0};
    std::atomic<ControlLoss> m_controlLoss{ControlLoss::None};
    std::atomic<std::uint32_t> m_controlLossFact{0};
    std::atomic<ControlLoss> m_announcedLoss{ControlLoss::None};
    std::string m_description;
    std::string m_refusal; // of the latest description
    std::unique_ptr<HelperThread> m_retrieving;
    mutable std::mutex
        m_registryLock; // guards the tree, the quirks, the description with its refusal and the connections
    std::vector<CameraConnection> m_connections{CameraConnection{}};
    CameraConnection m_connection;
    MacAddress m_macAddress{QString()}; // all zero until it is set
    bool m_connectionChanged = false;
    std::atomic<long long> m_pollingSleepTime{1000};
    SwitchableThread m_polling;
    SwitchableThread m_signalling;
};

} // namespace tavo
