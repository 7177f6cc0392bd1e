// Steering of the frame grabber in software from the same process: for tests, benchmarks and tools that want
// to be the other end of a port. Applications never need it; they see the hardware library's calls only.
//
// Boards are 0 to 7 and ports 0 to 3. Before the first use the configuration is loaded as docs/softboard.md
// describes, unless `loadConfiguration` came first. All calls may come from any thread. A call on a board
// that is not configured, or on a number out of range, changes nothing and returns false or zeros.
#pragma once

#include "softboard/FaultPlan.h"
#include "softboard/Link.h"
#include "softboard/link_report.h"

#include "platform/ethernet_endpoint.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#define SOFTBOARD_API __attribute__((visibility("default")))

namespace softboard {

// The PHYs of a board when it is switched on: `Up` as after an earlier bring-up (the board keeps running
// between processes), or `Held` in reset until somebody brings them up.
enum class PhyPowerOn { Up, Held };

// Counts since the configuration was loaded, except where noted.
struct PortState {
    std::uint64_t framesSent = 0; // frames that left the port
    std::uint64_t framesNotSent =
        0; // complete frames lost: transmitter disabled, link down, too short, too long
    std::uint64_t framesReceived = 0;    // frames taken in: to the data queue or to the image path
    std::uint64_t framesToImagePath = 0; // those of them that were addressed to the image port
    std::uint64_t receiveErrors = 0;     // frames too short or too long
    std::uint64_t queueDrops = 0;        // frames lost because the data queue was full
    std::uint64_t framesIgnored = 0;     // frames that met a disabled receiver or a link that was down
    unsigned queuedWords = 0;            // 32-bit words that wait in the data queue now
    bool linkUp = false;                 // as the PHY reports it now
    std::uint16_t lineLength = 0;        // last value written to CLSyncLen
    std::uint16_t imagePort = 0;         // last value written to ImagePort
    std::uint32_t requestId = 0;         // the FPGA's own request id counter: what the next stamp writes
    bool requestIdEnabled = false;
    LinkStatistics link;
};

struct BoardState {
    bool present = false;
    unsigned opens = 0; // handles that are open now
    bool configured = false;
    std::uint8_t resetLines = 0; // last value of GigE_Reset
};

// Replaces the whole configuration by that of a text in the format of docs/softboard.md. Refused while a
// board is open. On failure the earlier configuration stays, and `error` says in one line what is wrong.
SOFTBOARD_API bool loadConfiguration(const std::string& text, std::string& error);

// Hangs a station or a link on a port, beside whatever hangs there already (stations on one port hear each
// other's broadcasts). May be called while the board runs. A station may answer from within `receive`, but
// must not hold a lock during its sink that its `receive` takes.
SOFTBOARD_API bool attach(int board, int port, std::shared_ptr<ethernet::Endpoint> station);
SOFTBOARD_API bool attach(int board, int port, std::shared_ptr<Link> link);

// Takes it off again. When the call returns, the station's sink is not in use any more; a frame that another
// thread was sending may still reach it. False when it does not hang there. Never call it from within the
// station's `receive` or the sink.
SOFTBOARD_API bool detach(int board, int port, const std::shared_ptr<ethernet::Endpoint>& station);
SOFTBOARD_API bool detach(int board, int port, const std::shared_ptr<Link>& link);

// Takes everything off a port, the cameras of the configuration too.
SOFTBOARD_API bool detachAll(int board, int port);

// Records every frame of a port, both directions, in a new pcap file (link type Ethernet, nanoseconds); each
// frame is in the file when the call that brought it returns. A port has one recorder; starting ends the
// earlier.
SOFTBOARD_API bool startCapture(int board, int port, const std::string& file, std::string& error);
SOFTBOARD_API bool stopCapture(int board, int port);

// Makes the wire of a port faulty, or sound again with an empty plan. The frame counts of the plan start
// at 0.
SOFTBOARD_API bool setFaultPlan(int board, int port, const FaultPlan& plan);

// A frame enters a port's receive path behind the PHY: it needs no link and nothing attached, but an enabled
// receiver, and it is filtered, counted and recorded like any other.
SOFTBOARD_API bool injectFrame(int board, int port, const void* frame, std::size_t size);

// Words enter a port's data queue as they are, well framed or not. False too when the queue has no room.
SOFTBOARD_API bool injectQueueWords(int board, int port, const std::vector<std::uint32_t>& words);

// Puts the PHYs of a board into the state of a fresh power-on, now.
SOFTBOARD_API bool powerOnPhys(int board, PhyPowerOn state);

// The registers of a PHY (address 0 to 3, register 0 to 31) and its extended registers (those behind 29 and
// 30), as an MDIO read would give them, but without side effects. 0xFFFF for what does not exist.
SOFTBOARD_API std::uint16_t phyRegister(int board, unsigned phy, unsigned reg);
SOFTBOARD_API std::uint16_t phyExtendedRegister(int board, unsigned phy, unsigned reg);

SOFTBOARD_API BoardState boardState(int board);
SOFTBOARD_API PortState portState(int board, int port);

} // namespace softboard
