// Control of the current camera of a port: taking it, and watching over it. The board must be open.
#pragma once

#include "board/CameraPort.h"

namespace board {

// Takes control by the port's terms, whoever has it, and sends the camera's stream to the port.
void prepareCamera(const HeldPort& held);

// Takes control, by the port's terms, if nobody has it, and watches over it from now on: accesses through the
// door of the port's device find out when it is lost, and are refused from then on. False when another
// application has it.
bool watchControl(const HeldPort& held);
// Looks what the camera has made of a heartbeat time-out that was written since.
void learnHeartbeatTimeout(const HeldPort& held);
void unwatchControl(const HeldPort& held);

// Why control is lost, if it is watched and lost.
tavo::ControlLoss controlLoss(const HeldPort& held);

// Looks who has control, and learns from it when it is watched.
ControlReading lookAtControl(const HeldPort& held);

} // namespace board
