// Taking a handle's camera and its port, against other handles, other programs and other hosts, and giving
// them back. Each for a Change of the handle; a status where the result is a number.
#pragma once

#include "board/CameraPort.h"

struct CameraHandle;

namespace api {

// The camera, against other handles of the process. A handle that was disconnected has let go of it, and
// somebody else may have taken it since: then false.
bool takeMac(CameraHandle& handle);
// Gives the camera back to other handles and other programs.
void releaseMac(CameraHandle& handle);

// Keeps other programs on this computer from the camera. Before anything is sent. False when one has it.
bool lockOut(CameraHandle& handle, const board::CameraPort& place);

// The port, too, must be no other program's.
bool claimPort(CameraHandle& handle, const board::CameraPort& place);

// Makes the handle's camera the port's current one and prepares it. A switch takes a camera in whatever state
// it is: the port that it comes from may still be in control of it.
enum class Beforehand { Look, DoNotLook };
int takeControl(CameraHandle& handle, board::CameraPort& place, Beforehand beforehand);

// Makes the handle's camera the port's current one, and sees whether it lets itself be read.
int prepareReading(CameraHandle& handle);

// Leaves the camera alone when another handle uses the port, and when control was never taken.
void giveControlBack(CameraHandle& handle);

// From here on the handle's control of the camera is watched over. False when another application has taken
// it meanwhile, or the board is closed.
bool startWatching(const CameraHandle& handle);
void stopWatching(const CameraHandle& handle);

// There may be no device after a move: the heartbeat then idles.
void startHeartbeat(CameraHandle& handle);

} // namespace api
