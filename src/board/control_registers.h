// What the current camera of a port tells of who controls it. It is asked, and nothing is changed.
#pragma once

#include "board/CameraPort.h"

namespace board {

// The board must be open. Takes 4 s when the camera is silent.
ControlReading readControl(const HeldPort& held);

// Asks the camera for control; true when it refuses because somebody else has it.
bool isControlRefused(const HeldPort& held);

} // namespace board
