// What stands behind the two opaque handles of the C interface.
#pragma once

#include "api/Watches.h"
#include "api/connection_state.h"
#include "board/Board.h"
#include "board/GbeHeartbeatThread.h"
#include "board/control.h"
#include "board/host_locks.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/gige.h"
#include "service/ControlKeep.h"
#include "service/GbeTransmission.h"
#include "streaming/CurrentStream.h"
#include "util/process.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace api {

struct FreeInfo {
    void operator()(CameraInfo* info) const { std::free(info); }
};

// The camera handles that a board handle reaches, one a port. Shared with those camera handles: a
// disconnected camera may be freed after its board handle. Any thread.
class BoardSlots {
public:
    explicit BoardSlots(board::Board& ofThem) : board(ofThem) {}

    board::Board& board;

    // What the slot held before is simply forgotten.
    void put(int port, CameraHandle* camera);
    // Nothing when the slot holds another one.
    void clear(int port, const CameraHandle* camera);
    bool isFree(int port) const;
    std::array<CameraHandle*, board::kPorts> all() const;

private:
    mutable std::mutex m_mutex;
    std::array<CameraHandle*, board::kPorts> m_cameras{}; // under m_mutex
};

// Texts that a handle has given out: C callers hold pointers, the nodes give copies.
class HandedTexts {
public:
    // Replaces what was given for this feature before.
    const char* keepFor(std::string_view feature, std::string text);
    // The one copy of this text, valid until clear().
    const char* intern(std::string_view text);
    void clear();

private:
    std::mutex m_mutex;
    std::map<std::string, std::string, std::less<>> m_byFeature; // under m_mutex
    std::set<std::string, std::less<>> m_interned;               // under m_mutex
};

// Ends a heartbeat: asks it to stop and waits for it, unless a listener of its own thread does it: then it
// ends when the listener is out, and goes with the next one that ends.
struct StopHeartbeat {
    void operator()(GbeHeartbeatThread* heartbeat) const;
};

} // namespace api

struct BoardHandle {
    explicit BoardHandle(board::Board& open) : slots(std::make_shared<api::BoardSlots>(open)) {}

    board::Board& board() const { return slots->board; }

    std::shared_ptr<api::BoardSlots> slots;
};

// The handle owns its device, its connection and its heartbeat; what the board layer keeps by numbers is a
// mirror of it. Threads: a Change (api/Change.h) writes what is marked so; all else is safe for any
// thread for as long as nobody frees the handle.
struct CameraHandle {
    using Mac = std::array<unsigned char, 6>;

    CameraHandle(std::shared_ptr<api::BoardSlots> from, board::CameraPort& port, const Mac& address)
        : mac(address), slots(std::move(from)), m_place(&port) {}

    const Mac mac; // names the camera, whatever becomes the port's current one

    // The port that the camera hangs on; moving the handle changes it.
    board::CameraPort& place() const { return *m_place.load(std::memory_order_acquire); }
    void setPlace(board::CameraPort& port) { m_place.store(&port, std::memory_order_release); }

    // Made by the first connect that finds a description, and the handle's as long as it lives. Null before.
    board::Device* device() const { return m_device.load(std::memory_order_acquire); }
    const std::shared_ptr<board::Device>& sharedDevice() const { return m_deviceShare; } // for a Change
    void setDevice(std::shared_ptr<board::Device> device) {
        m_deviceShare = std::move(device);
        m_device.store(m_deviceShare.get(), std::memory_order_release);
    }

    // What a stored state amounts to, and the gate with it.
    api::State shown(api::State stored) const {
        if (util::isForkedChild()) {
            return api::State::Forked;
        }
        return stored == api::State::Connected && isControlLost() ? api::State::Lost : stored;
    }
    api::State state() const { return shown(connection.load(std::memory_order_acquire)); }
    int allowed(api::Call call) const { return api::allowed(state(), call); }
    bool isConnected() const { return connection.load(std::memory_order_acquire) == api::State::Connected; }

    std::atomic<api::State> connection{api::State::Found}; // as a Change sets it
    std::atomic<int> loss{GBE_LOSS_NEVER_HELD};            // a GbeControlLoss, while not connected
    std::atomic<bool> checksEnabled{false};                // the wish, for the device that connecting makes
    std::atomic<bool> standardBehaviour{false};            // likewise
    std::atomic<int> heartbeatTimeout{0};                  // milliseconds; 0: as the system has it
    std::unique_ptr<CameraInfo, api::FreeInfo> info;       // as the look-up made it
    api::HandedTexts texts;
    api::Watches watches;
    // Of the connection. Shared with the heartbeat, which may outlive the handle.
    const std::shared_ptr<streaming::CurrentStream> stream = std::make_shared<streaming::CurrentStream>();

    // For the stops of this process (api/keeping.h). Shared with the heartbeat, likewise.
    const std::shared_ptr<ControlKeep> keep = std::make_shared<ControlKeep>();
    std::atomic<unsigned> keepSeconds{0}; // the wish; 0: none

    // --- For a Change
    std::shared_ptr<api::BoardSlots> slots;        // of the board handle that the camera was found through
    std::unique_ptr<GbeTransmission> transmission; // nothing makes one yet
    std::unique_ptr<GbeHeartbeatThread, api::StopHeartbeat> heartbeat;
    bool macIsTaken = true;        // this handle is why the camera counts as in use
    util::HostLock hostLock;       // of the camera, against other programs, while this handle works with it
    board::PortClaim portClaim;    // while connected
    bool isReading = false;        // connected without control
    bool isExclusive = false;      // control of it keeps others from reading
    bool descriptionReady = false; // connecting leaves the description alone; nothing sets it yet

private:
    bool isControlLost() const {
        const board::Device* own = device();
        return own != nullptr && own->getControlLoss() != tavo::ControlLoss::None;
    }

    std::atomic<board::CameraPort*> m_place;
    std::shared_ptr<board::Device> m_deviceShare;
    std::atomic<board::Device*> m_device{nullptr};
};

namespace api {

// Where a port number of the C interface becomes a port; null when it, or the handle, is bad.
inline board::CameraPort* portOf(board::Board& board, unsigned port) {
    return port < unsigned{board::kPorts} ? board.findPort(static_cast<int>(port)) : nullptr;
}
inline board::CameraPort* portOf(const BoardHandle* handle, unsigned port) {
    return handle != nullptr ? portOf(handle->board(), port) : nullptr;
}

// A GbeControlLoss; `held` is the handle's port.
inline int lossOf(const CameraHandle& camera, const board::HeldPort& held) {
    return camera.isConnected() ? static_cast<int>(board::controlLoss(held)) : camera.loss.load();
}

} // namespace api
