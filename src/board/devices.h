// Device objects whose port "Device" leads to a camera's port.
#pragma once

#include "board/CameraPort.h"

#include <memory>

namespace board {

// Made with a door of its own to `place`. It ends with its last owner, its threads and its door first; with
// listeners, when what is queued for them has been delivered. The last owner must not hold a port.
std::shared_ptr<Device> makeDevice(CameraPort& place);

// Makes the device the port's own, in place of an earlier one. The port must not be held.
void makeOwn(CameraPort& place, std::shared_ptr<Device> device);
// Ends that, if the port's own is this one.
void disown(CameraPort& place, const Device* device);

// Leads the door of a device to another port, and drops what the device has cached. Takes the device's lock:
// no port may be held.
void leadTo(Device& device, CameraPort& place);

} // namespace board
