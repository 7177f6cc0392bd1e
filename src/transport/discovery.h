// Discovery: a broadcast command on a port, and a record in its table for each camera that answers. A camera
// slower than 1.1 s is missed. Must not run while commands are under way on the port.
#pragma once

#include "transport/Port.h"

#include <cstdint>
#include <initializer_list>

namespace transport {

// Refills the port's table. Takes 1.1 s.
void discover(Port& port);
// Several ports at once: 0.1 s a port, and one second for all.
void discover(std::initializer_list<Port*> ports);

// Takes one frame: false when there was none. Stores the camera of an acknowledgement with this id (0: any).
bool receiveDiscoveryAck(
    Port& port, int timeout, std::uint16_t requestId, Port::Time end = Port::Time::max());

// Stores the camera of a frame with `size` bytes of content when that is a discovery acknowledgement, with
// all of its fields. The status in it is not looked at. The result is as DiscoveryTable::add's.
int storeDiscoveryAck(Port& port, const UDPPacket& ack, std::size_t size);

} // namespace transport
