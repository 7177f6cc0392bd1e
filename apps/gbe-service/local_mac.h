// MAC addresses of the ports.
#pragma once

#include "protocol/addresses.h"

namespace gbe_service {

using net::Mac;

// A locally administered address that stays the same for a machine, a board and a port.
Mac localMac(unsigned board, unsigned port);

} // namespace gbe_service
