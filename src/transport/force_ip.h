// FORCEIP: gives an IP address to a camera by its MAC address, wherever its present IP address is.
#pragma once

#include "transport/Port.h"

namespace transport {

// The acknowledgement is waited for; a camera that is to configure itself (address 0) need not send one,
// so that silence then is success too. The discovery table and the current camera learn the new address, but
// not that of a camera that configures itself: only the next discovery finds it. Results as in
// command_channel.h.
int forceIp(Port& port, const frame::ForcedAddress& to);

} // namespace transport
