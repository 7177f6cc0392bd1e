// One Ethernet port of one board as the place of a camera, for the whole process: the lock of everything that
// goes over the port, who uses it, what is known of control of its camera, which device is its own.
//
// The lock rule: what goes over a port, its discovery table, its current camera and its watch over control
// are reached through a HeldPort alone, which holds the lock. It is taken after a device's lock, or alone:
// under it nothing of a device may be called that takes the device's lock, emits a signal or destroys a
// device.
#pragma once

#include "board/ControlWatch.h"
#include "liomol/diagnostics.h"
#include "protocol/bootstrap.h"
#include "transport/GigeCamera.h"
#include "util/LinkCounters.h"
#include "util/qt_locks.h"

#include <QtCore/QMutex>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tavo {
class ImplGenICamCamera;
}

namespace board {

using Device = tavo::ImplGenICamCamera;

// How whoever is connected deals with the camera.
struct Terms {
    bool readOnly = false;    // the door refuses writes
    bool exclusive = false;   // control keeps others from reading
    int heartbeatTimeout = 0; // milliseconds; 0: as the system has it

    std::uint32_t privilege() const {
        return exclusive ? bootstrap::kPrivilegeExclusive : bootstrap::kPrivilegeControl;
    }
};

class CameraPort {
public:
    // `board` is where the open board is found, if it is open; it outlives the port.
    CameraPort(int ofBoard, int port, const std::atomic<GigeCamera*>& board)
        : boardIndex(ofBoard), number(port), counters(util::linkCounters(ofBoard, port)), m_board(board) {}
    CameraPort(const CameraPort&) = delete;
    CameraPort& operator=(const CameraPort&) = delete;

    const int boardIndex; // 0 to 7
    const int number;     // 0 to 3
    util::LinkCounters& counters;

    // For who has to keep the port quiet without doing anything on it.
    QMutex& mutex() { return m_traffic; }
    bool isOpen() const { return m_board != nullptr; }

    // A port carries the traffic of one connected camera handle, its user. False when another has it.
    bool claim(const void* user);
    void release(const void* user);
    // What its user does with which camera (6 bytes), for who looks at the counters.
    void showUse(GbeLinkUse use, const std::uint8_t* mac);
    // Null when no connected handle uses the port.
    const void* user() const { return m_user; }

    // The device that accesses of the port are for; null when there is none. A mirror: whoever connects owns
    // the device as well, and is who to ask.
    Device* device() const { return m_device; }

    // The description file that the last connect did not find; empty when it needed none.
    std::string localXmlFile() const;
    void setLocalXmlFile(std::string fileName);

private:
    friend class HeldPort;

    const std::atomic<GigeCamera*>& m_board;
    QMutex m_traffic;
    ControlWatch m_control;                // under m_traffic
    Terms m_terms;                         // likewise
    std::shared_ptr<Device> m_deviceShare; // under m_traffic
    std::atomic<Device*> m_device{nullptr};
    std::atomic<const void*> m_user{nullptr};
    mutable std::mutex m_fileMutex;
    std::string m_localXmlFile; // under m_fileMutex
};

// A port under its lock, for a scope.
class HeldPort {
public:
    explicit HeldPort(CameraPort& port) : place(port), m_lock(port.m_traffic), m_board(port.m_board) {}

    CameraPort& place;

    // Null while the board is closed; it stays open as long as one of its ports is held.
    GigeCamera* board() const { return m_board; }
    transport::Port* port() const { return m_board != nullptr ? m_board->findPort(place.number) : nullptr; }

    ControlWatch& control() const { return place.m_control; }

    Terms& terms() const { return place.m_terms; }

    std::shared_ptr<Device> device() const { return place.m_deviceShare; }
    // The earlier device of the port, for the caller to let go when the lock is not held any more.
    [[nodiscard]] std::shared_ptr<Device> setDevice(std::shared_ptr<Device> device) const;

private:
    util::ScopedMutex m_lock;
    GigeCamera* m_board;
};

// While a connected handle uses a port, its camera stays the port's current one: what that handle sends must
// go neither to a camera that somebody merely looks at, nor to whoever answers a scan first.
class KeepCurrent {
public:
    explicit KeepCurrent(const HeldPort& held);
    ~KeepCurrent();
    KeepCurrent(const KeepCurrent&) = delete;
    KeepCurrent& operator=(const KeepCurrent&) = delete;

private:
    transport::Port* m_port;
    std::optional<DiscoveredCamera> m_record;
};

} // namespace board
