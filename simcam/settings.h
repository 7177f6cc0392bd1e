// What a camera in software is made from: the texts of a configuration file, read and checked.
#pragma once

#include "platform/ethernet_endpoint.h"
#include "simcam/LinkFaults.h"
#include "simcam/PictureFolder.h"
#include "simcam/Station.h"
#include "simcam/faults.h"
#include "simcam/limits.h"
#include "simcam/register_names.h"
#include "simcam/slow_writes.h"

#include <optional>
#include <string>
#include <vector>

namespace simcam {

// Where a file in camera memory ends: at the next multiple of 8 bytes, as hosts like to read, or of 4, which
// is the least that a device can offer.
enum class FileEnd { Padded, Exact };

struct CameraSettings {
    Mac mac = 0;
    bool linkLocal = false;         // the address is looked for, with a conflict probe
    IpConfiguration ip;             // used at once; 0 when it is looked for
    milliseconds probeSecond{1000}; // what counts as a second of RFC 3927's times
    std::string name;
    std::string serial;
    std::string model = "SimCam 2M";
    std::string vendor = "liomol";
    std::string version = "1.0";
    std::string info = "camera in software";
    std::string firstUrl = "{zip}"; // {zip} and {xml} stand for the Local: URLs of the description
    std::string secondUrl;          // empty: {xml} where there is one, else {zip}
    std::string descriptionFile;    // XML or zip; empty: the built-in description
    std::string descriptionText;
    bool concatenates = true; // one command may read or write several registers
    bool plainMemory = false; // no models: memory behind a description of one's own
    FileEnd fileEnd = FileEnd::Padded;
    milliseconds latency{0};
    std::vector<Fault> faults;
    LinkFaults linkFaults;
    std::vector<SlowWrite> slowWrites;
    PendingAcks pendingAcks = PendingAcks::Always;
    std::vector<Content> contents;               // put into memory at each start, regardless of access rights
    std::shared_ptr<const PictureFolder> images; // null: the camera shows a ramp
    std::string stateFile; // keeps what the camera keeps without power; empty: for the process's life
};

struct SettingFact {
    std::string_view key;
    std::string_view help;
};

// Every key with what it takes. Keys that are left out get these values: a locally administered MAC of their
// own for each camera of the process, a fixed IP of the link-local range and a serial number made from the
// MAC, and those above.
extern const std::vector<SettingFact> kSettingFacts;

// On a bad setting none, and `error` says in one line which and why.
std::optional<CameraSettings> parseSettings(const ethernet::Settings& settings, std::string& error);

} // namespace simcam
