// The door from the node tree of one camera to its frame grabber port, and the process-wide registry of open
// boards, device objects and cameras in use.
//
// Threads: every member may be called from any thread. Accesses to one port are serialised by its mutex,
// accesses to different ports run in parallel. What must not overlap, because it ends something that the
// other uses: freeBoard with calls that work on getBoard's result without holding the port's mutex, and
// deleteCamera with calls that work on the device.
#pragma once

#include "board/ControlWatch.h"
#include "board/description_url.h"
#include "liomol/GenICamPortInterface.h"
#include "transport/GigeCamera.h"

#include <QtCore/QMutex>
#include <QtCore/QString>

#include <atomic>
#include <mutex>

namespace tavo {
class GenICamCamera;
class ImplGenICamCamera;
} // namespace tavo

class GenICamPortWrapper : public tavo::GenICamPortInterface {
public:
    static constexpr int kBoards = 8;
    static constexpr int kPorts = GigeCamera::kPorts;

    // The flags of initBoard with which the service itself opens a board: it cannot ask itself.
    static constexpr int kServiceMode = 0x47537649;

    // The longest write; it is also a multiple of 4, as every write but that of a register must be.
    static constexpr long long kMaxWrite = 512;

    // A door that leads nowhere until setConnection: it reads and writes nothing and reports no error.
    // `device` is the device object that the port serves; not owned.
    explicit GenICamPortWrapper(tavo::ImplGenICamCamera* device);
    GenICamPortWrapper(int board, int port, tavo::ImplGenICamCamera* device);

    // Bytes of camera memory in address order. 4 bytes go as a register access, everything else as a memory
    // access; a failed access is repeated once, a write after taking control of the camera again.
    //
    // Addresses and lengths that are no multiples of 4 go out as they are, deliberately (a write of such a
    // length is refused). With the standard's meaning only whole words do: a read is cut out of them, and a
    // write reads those that it fills in part and writes them back, under the port's mutex.
    // Throws tavo::GicTransportLayerException: no device is registered for the port, the board is closed, the
    // range leaves the 32-bit address space, a write has a bad length, or both attempts failed; the buffer of
    // a failed read is left as the transport left it. Throws tavo::GicConnectionException once control of the
    // camera, where it is watched, has turned out to be lost, without accessing the camera any more.
    void read(unsigned char* buffer, long long address, long long length) override;
    void write(unsigned char* buffer, long long address, long long length) override;
    // Leads the door to another port. The address is not needed: commands go to the port's current camera.
    void setConnection(int board, int port, unsigned int ip) override;

    tavo::ImplGenICamCamera* device() const { return m_device; }

    // --- Boards. A board number outside 0 to 7 is a board that cannot be opened and never is.
    // Opens a board, unless it is open already: 0, or -1. Other flags than 0 reset the PHYs too. Except for
    // kServiceMode the service is asked for each port's MAC and must know all four.
    static int initBoard(int board, int flags);
    // Waits for accesses under way, and closes the board if it is open. Always 0.
    static int freeBoard(int board);
    // Null when closed. Owned by the registry.
    static GigeCamera* getBoard(int board);
    // Deliberately false for every board, open or not; getBoard tells.
    static bool isBoardInitialized(int board);

    // --- Discovery: the results of GigeCamera's calls; -1 for a closed board. The camera in use on a port
    // stays its current one, found again or not.
    static int discover(int board, int port, int value);
    static int discover(int board, int value);
    // Lets the service look for its boards' cameras. Throws tavo::GicConnectionException when it does not
    // answer or refuses.
    static void discoverAll();

    // --- Ports. Board and port must be in range.
    // Serialises a port's traffic, its discovery table and its current camera.
    static QMutex& mutex(int board, int port);
    // Serialises the MDIO access that the ports of a board share.
    static std::mutex& mdioMutex(int board);
    // A port carries the traffic of one connected camera handle, its user. False when another has it.
    static bool claimPort(int board, int port, const void* user);
    static void releasePort(int board, int port, const void* user);
    // Null when no connected handle uses the port.
    static const void* portUser(int board, int port);

    // --- Control of a port's current camera. The caller holds the port's mutex.
    // Takes control if nobody has it, and watches over it from now on: accesses through the door of the
    // port's device find out when it is lost, and are refused from then on. False when another application
    // has it.
    static bool watchControl(int board, int port);
    static void unwatchControl(int board, int port);
    // Why control is lost, if it is watched and lost.
    static tavo::ControlLoss controlLoss(int board, int port);
    // Looks who has control, and learns from it when it is watched. The board must be open.
    static board::ControlReading lookAtControl(int board, int port);

    // --- Devices
    // The device object of a port; null when none is, or board or port are out of range.
    static tavo::GenICamCamera* getGenICamInterface(int board, int port);
    static tavo::ImplGenICamCamera* getDevice(int board, int port);
    // Deletes a port's device object and its door, and lets the thread's event loop run once, so that what
    // the device had queued is delivered. Does nothing without a device.
    static void deleteCamera(int board, int port);
    // Takes a device along to another port that has none; false, and no change, when it has one.
    static bool moveCamera(int board, int port, int newBoard, int newPort);
    // The description file that the last connect on the port did not find; empty when it needed none.
    static QString localXmlFile(int board, int port);
    static void setLocalXmlFile(int board, int port, const QString& fileName);

    // --- Cameras in use, by their 6-byte MAC
    static bool isCameraInUse(const unsigned char* mac);
    static void setCameraInUse(const unsigned char* mac, bool inUse);
    // Marks a camera as in use; false when it was so already.
    static bool takeCamera(const unsigned char* mac);

    // --- Descriptions
    // Reads and parses the First (0) or Second (any other) URL register of the port's current camera. The
    // result is the scheme's number (see board/description_url.h): 1 "Local:", 2 "Http:", 3 "File:", -2
    // unusable, 0 nothing was read.
    static int ReadXMLUrl(int board, int port, int which);
    // The parts of the URL that was parsed last, by whichever thread; each retrieval works on its own.
    static board::DescriptionUrl lastUrl();
    // Finds the current camera's description, first through its First URL and then through its Second URL,
    // and builds the port's device object, or gives the existing one the new description. 0 when the device
    // is connected to its description, else -1. Throws tavo::GicTavoPathNotSetException and
    // tavo::GicFileDoesNotExistException for a "File:" URL. `standardBehaviour`: see the device's
    // enableStandardBehaviour.
    static int initializeGenICamInterface(int board, int port, bool standardBehaviour = false);

private:
    class Place;
    struct Range {
        unsigned address;
        unsigned length;
    };

    template<typename Access> void access(long long address, long long length, Access&& work);
    bool needsWholeWords(const Range& range) const;
    static Range wordsAround(const Range& range);
    static void readRange(Place& place, unsigned char* buffer, Range range);
    static void writeRange(Place& place, const unsigned char* buffer, Range range);
    static void readUnaligned(Place& place, unsigned char* buffer, Range range);
    static void writeUnaligned(Place& place, const unsigned char* buffer, Range range);
    static void readRegister(Place& place, unsigned char* buffer, unsigned address);
    static void readMemory(Place& place, unsigned char* buffer, unsigned address, unsigned length);
    static void writeRegister(Place& place, const unsigned char* buffer, unsigned address);
    static void writeMemory(Place& place, const unsigned char* buffer, unsigned address, unsigned length);

    static tavo::ImplGenICamCamera* makeDevice(int board, int port);

    std::atomic<int> m_board;
    std::atomic<int> m_port;
    tavo::ImplGenICamCamera* m_device; // the registry knows it; not owned
};
