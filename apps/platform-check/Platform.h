// The calls of a hardware library, found the way the library finds them: by the loader, at run time.
#pragma once

#include "platform/image_path.h"
#include "platform/kemrt.h"
#include "platform/port_sharing.h"
#include "platform/tavo_hw.h"

#include <string>

namespace platform_check {

class Report;

inline constexpr unsigned kPorts = 4; // of a board

// Null where the call is missing.
struct Platform {
    decltype(&TavoInitAllHWEx) init = nullptr;
    decltype(&TavoFreeHW) free = nullptr;
    decltype(&TavoGetBoardInfoString) infoString = nullptr;
    decltype(&TavoGetBoardInfoInt) infoInt = nullptr;
    decltype(&TavoConfigureFpga) configure = nullptr;
    decltype(&TavoRegisterRead) read = nullptr;
    decltype(&TavoRegisterWrite) write = nullptr;
    decltype(&TavoDataQueueReadBufferLong) queueRead = nullptr;
    decltype(&TavoDataQueueClear) queueClear = nullptr;
    decltype(&KemFirmwareTrampoline) applet = nullptr;
    decltype(&KemUnloadKemFile) unload = nullptr;
    decltype(&KemGetRegisterByName) registerId = nullptr;
    TavoImagePathCall imagePath = nullptr;     // optional
    TavoPortSharingCall portSharing = nullptr; // optional
};

// Loads the libraries, which stay loaded, and tells of each call that is missing, and of optional ones that
// would not be taken. Empty names: what liomol itself would use. False when a call is missing.
bool load(const std::string& hardware, const std::string& runtime, Platform& platform, Report& report);

// An open board with its applet.
struct Board {
    const Platform& calls;
    int number;
    unsigned port; // the one that is looked at
    QLdevice device;
    fpga_design applet;
};

// One file each; what they look at is in docs/porting.md, call by call.
QLdevice checkOpening(const Platform& calls, int board, Report& report);
fpga_design checkApplet(const Platform& calls, QLdevice device, Report& report);
void checkRegisters(const Board& board, Report& report);
void checkPhys(const Board& board, Report& report);
void checkQueue(const Board& board, Report& report);
// Sends one scan for cameras from the port.
void checkFrames(const Board& board, Report& report);
void checkImagePath(const Board& board, Report& report);
void checkClosing(const Board& board, Report& report);

} // namespace platform_check
