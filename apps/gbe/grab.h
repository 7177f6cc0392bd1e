// gbe grab and gbe stream: images of a camera, as files or as figures. Both throw Failure.
#pragma once

#include "Session.h"
#include "commands.h"

#include <optional>
#include <string>
#include <vector>

namespace gbe {

struct StreamRequest {
    std::vector<std::string> settings; // NAME=VALUE, written before
    std::string packetSize = "auto";
    double seconds = 0; // of gbe grab: for each image; of gbe stream: altogether, 0 without end
};

struct GrabRequest : StreamRequest {
    unsigned count = 1;
    std::string file;   // empty: the usual name, or none with Format::Json
    std::string format; // empty: by the file's name
    bool trigger = false;
    Format output = Format::Text;
};

// The number of images that were not whole; each is named on standard error.
unsigned grabImages(const Selection& selection, const GrabRequest& request);

void streamImages(const Selection& selection, const StreamRequest& request);

} // namespace gbe
