// The process-wide tables behind GenICamPortWrapper's static members. Not for anyone else.
#pragma once

#include "board/ControlWatch.h"
#include "board/GenICamPortWrapper.h"
#include "board/description_url.h"

#include <QtCore/QMutex>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>

// Texts are kept as std::string: copies of a QString share their characters between threads, in an order that
// only Qt sees.
namespace board {

// What is kept of one board. `opening` keeps two threads from opening or closing it at once.
struct BoardEntry {
    std::mutex opening;
    std::mutex mdio;
    std::atomic<GigeCamera*> board{nullptr};
};

// What is kept of one Ethernet port of one board.
struct PortEntry {
    QMutex traffic; // guards what goes over the port, its discovery table and its current camera
    std::atomic<tavo::ImplGenICamCamera*> device{nullptr};
    std::atomic<const void*> user{nullptr};
    ControlWatch control; // under traffic
    std::mutex fileMutex;
    std::string localXmlFile; // under fileMutex
};

// MAC addresses of the cameras that a handle has taken, as 64-bit keys.
struct CamerasInUse {
    std::mutex mutex;
    std::set<std::uint64_t> keys; // under mutex
};

// The parts of the URL that was parsed last, by whichever thread.
struct LastUrl {
    std::mutex mutex;
    DescriptionUrl url; // under mutex
};

struct Tables {
    std::array<BoardEntry, GenICamPortWrapper::kBoards> boards;
    std::array<std::array<PortEntry, GenICamPortWrapper::kPorts>, GenICamPortWrapper::kBoards> ports;
    CamerasInUse camerasInUse;
    LastUrl lastUrl;

    PortEntry& port(int boardIndex, int portIndex) {
        return ports.at(static_cast<std::size_t>(boardIndex)).at(static_cast<std::size_t>(portIndex));
    }
};

// Never destroyed: threads of the application may still run while the process ends.
Tables& tables();

constexpr bool isBoard(int board) {
    return board >= 0 && board < GenICamPortWrapper::kBoards;
}

constexpr bool isPort(int port) {
    return port >= 0 && port < GenICamPortWrapper::kPorts;
}

} // namespace board
