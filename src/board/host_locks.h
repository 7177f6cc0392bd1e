// What programs on this computer must keep from doing at the same time, and the locks with which they do
// (util/HostLock.h).
//
// All programs on a network interface have the same MAC and IP address there: each sends its commands from a
// UDP port of its own, and has its stream sent to one. On a frame grabber everything that a port receives
// lands in one queue, so that one program at a time may use it. What is private to a process needs no lock.
#pragma once

#include "util/HostLock.h"

#include <cstdint>
#include <optional>
#include <string>

namespace board {

enum class Sharing { Exclusive, Shared, Private };

// What the hardware library says; Exclusive when it says nothing. Any thread.
Sharing sharingOf(int board, int port);

// The number of this process among those that use network interfaces: the lowest that no other one has, from
// 0 to kMostProcesses - 1, kept until the process ends. Nothing when all are taken. Any thread.
inline constexpr unsigned kMostProcesses = 256;
std::optional<unsigned> processNumber();

// The names of locks: of a camera, by the 6 bytes of its MAC address, and of a frame grabber's port.
std::string cameraLockName(const std::uint8_t* mac);
std::string portLockName(int board, int port);

// The use of a port by this process. One program at a time may use a frame grabber's port, which this process
// keeps while any of its claims lives; other ports are everybody's. Any thread.
class PortClaim {
public:
    PortClaim() = default;
    PortClaim(int board, int port);
    PortClaim(PortClaim&& other) noexcept;
    PortClaim& operator=(PortClaim&& other) noexcept;
    ~PortClaim();

    // False when another program uses the port.
    explicit operator bool() const { return m_isOurs; }

private:
    int m_board = 0;
    int m_port = 0;
    bool m_isOurs = false;
    bool m_isCounted = false;
};

// A sequence of steps with a board's PHYs, which are reached through a few registers that all share. A real
// board's are locked against other programs while this lives; who cannot get the lock within 30 seconds must
// leave the PHYs alone.
class PhySequence {
public:
    explicit PhySequence(int board);
    explicit operator bool() const { return m_isAllowed; }

private:
    util::HostLock m_lock;
    bool m_isAllowed;
};

} // namespace board
