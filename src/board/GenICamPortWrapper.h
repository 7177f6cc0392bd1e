// Ports by their numbers: a face before boards, devices, cameras in use and control, for who has no object to
// ask; and the door from a node tree to a port.
//
// Threads: every member may be called from any thread. Accesses to one port are serialised by its mutex,
// accesses to different ports run in parallel. What must not overlap, because it ends something that the
// other uses: freeBoard with calls that work on getBoard's result without holding the port's mutex, and
// deleteCamera with calls that work on the device.
#pragma once

#include "board/Board.h"
#include "board/PortBridge.h"
#include "board/description_url.h"

#include <QtCore/QMutex>
#include <QtCore/QString>

#include <mutex>

namespace tavo {
class GenICamCamera;
class ImplGenICamCamera;
} // namespace tavo

class GenICamPortWrapper : public board::PortBridge {
public:
    static constexpr int kBoards = board::kBoards;
    static constexpr int kPorts = board::kPorts;
    static constexpr int kServiceMode = board::kServiceMode;

    // A door that leads nowhere until setConnection.
    explicit GenICamPortWrapper(tavo::ImplGenICamCamera* device) : PortBridge(nullptr, device) {}
    GenICamPortWrapper(int board, int port, tavo::ImplGenICamCamera* device)
        : PortBridge(board::findPort(board, port), device) {}

    // --- Boards. A board number outside 0 to 7 is a board that cannot be opened and never is.
    // As board::Board::open: 0, or -1.
    static int initBoard(int board, int flags);
    // Waits for accesses under way, and closes the board if it is open. Always 0.
    static int freeBoard(int board);
    // Null when closed. Owned by the registry.
    static GigeCamera* getBoard(int board);
    // Deliberately false for every board, open or not; getBoard tells.
    static bool isBoardInitialized(int board);

    // --- Discovery: as board::Board::discover; -1 for a board or port that does not exist.
    static int discover(int board, int port, int value);
    static int discover(int board, int value);
    // Lets the service look for its boards' cameras. Throws tavo::GicConnectionException when it does not
    // answer or refuses.
    static void discoverAll();

    // --- Ports. Throws std::out_of_range for numbers that no port has.
    static QMutex& mutex(int board, int port);

    // --- Devices
    // The device object of a port; null when none is, or no port has the numbers.
    static tavo::GenICamCamera* getGenICamInterface(int board, int port);
    static tavo::ImplGenICamCamera* getDevice(int board, int port);
    // Lets go of a port's device, which ends unless a handle owns it, and lets the thread's event loop run
    // once, so that what the device had queued is delivered. Does nothing without a device.
    static void deleteCamera(int board, int port);

    // --- Cameras in use, by their 6-byte MAC
    static bool isCameraInUse(const unsigned char* mac);
    static void setCameraInUse(const unsigned char* mac, bool inUse);

    // --- Descriptions
    // As board::readUrl. The result is the scheme's number (see board/description_url.h): 1 "Local:", 2
    // "Http:", 3 "File:", -2 unusable, 0 nothing was read.
    static int ReadXMLUrl(int board, int port, int which);
    static board::DescriptionUrl lastUrl();
    // As board::retrieveDescription, with the port's device: 0 when it is connected to its description, else
    // -1.
    static int initializeGenICamInterface(int board, int port, bool standardBehaviour = false);
};
