// What an acquisition needs of a port: the line length of its image path, and the packet counters.
#pragma once

#include "transport/Port.h"
#include "util/logging.h"

#include <string_view>

namespace transport {

// Sets the port's line length for lines of `width` pixels of a GenICam pixel format; an unknown format counts
// one unit a pixel. The result is that of the register write.
int setEolWidth(Port& port, int width, std::string_view pixelFormat);

// A counter whose register cannot be read is 0.
PacketCounters readPacketCounters(const Port& port);

} // namespace transport
