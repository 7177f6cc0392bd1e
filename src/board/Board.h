// The frame grabber boards of the process: one object a board number, open or not, with its four ports.
//
// Threads: any. Opening and closing wait for each other; closing waits for what is under way on the ports.
#pragma once

#include "board/CameraPort.h"

#include <array>
#include <atomic>
#include <mutex>

namespace board {

inline constexpr int kBoards = 8;
inline constexpr int kPorts = GigeCamera::kPorts;

// The flags of Board::open with which the service itself opens a board: it cannot ask itself.
inline constexpr int kServiceMode = 0x47537649;

class Board {
public:
    explicit Board(int number);

    const int index; // 0 to 7

    // Opens the board, unless it is open already. Other flags than 0 reset the PHYs too. Except for
    // kServiceMode the service is asked for each port's addresses and must know all four.
    bool open(int flags);
    // Waits for accesses under way, and closes the board if it is open.
    void close();
    // Null when closed. Owned by the board; it goes when the board closes, which waits for whoever holds one
    // of its ports.
    GigeCamera* get() const { return m_open; }

    // 0 to 3; null for any other number.
    CameraPort* findPort(int number);

    // Discovery on one port, or on all: 0; -1 for a closed board, kPortInUse for a port that another program
    // uses (of all ports, those are left out). The camera in use on a port stays its current one, found again
    // or not.
    static constexpr int kPortInUse = -2;
    static int discover(CameraPort& port, int value);
    int discover(int value);

    // Serialises the MDIO access that the ports share.
    std::mutex& mdioMutex() { return m_mdio; }

private:
    std::mutex m_opening; // keeps two threads from opening or closing at once
    std::mutex m_mdio;
    std::atomic<GigeCamera*> m_open{nullptr};
    std::array<CameraPort, kPorts> m_ports;
};

// The board of a number, and the port of two: null where no board or port has the number. They live until the
// process ends, since threads of the application may still run then.
Board* findBoard(int board);
CameraPort* findPort(int board, int port);

} // namespace board
