// The file that says which boards exist and what hangs on their ports (docs/softboard.md).
#pragma once

#include "softboard/FaultPlan.h"
#include "softboard/InterfaceLink.h"
#include "softboard/registers.h"
#include "softboard/softboard.h"

#include "platform/ethernet_endpoint.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace softboard {

struct CameraConfiguration {
    std::string place; // "file:line" of its section, for messages
    ethernet::Settings settings;
};

struct PortConfiguration {
    std::string place;
    std::string capture; // file name, empty for none
    std::size_t queueWords = 0;
    FaultPlan faults;
    InterfaceSettings interface;
    std::vector<CameraConfiguration> cameras;
};

struct BoardConfiguration {
    bool present = false;
    std::int32_t serial = 0;
    int firmwareMajor = 0;
    int firmwareMinor = 0;
    std::string camInterface;
    PhyPowerOn phy = PhyPowerOn::Up;
    std::chrono::milliseconds negotiation{0};
    std::array<PortConfiguration, kPorts> ports;
};

using Configuration = std::array<BoardConfiguration, kBoards>;

// The largest file that is read.
inline constexpr std::size_t kLargestConfiguration = std::size_t{1} << 20;
inline constexpr std::size_t kMostCameras = 128; // on a port

// What counts without a file, in the file's own format.
extern const char* const kDefaultConfiguration;

// Parses a configuration; `name` stands for the file in messages. False, and one line in `error`, on the
// first mistake.
bool parseConfiguration(
    const std::string& text, const std::string& name, Configuration& configuration, std::string& error);

// Reads the file that LIOMOL_SOFTBOARD names, else the system's, else takes the default. `name` gets what was
// read.
bool readConfiguration(std::string& text, std::string& name, std::string& error);

} // namespace softboard
