// The ends of a connection. Each for a Change of the handle.
#pragma once

#include "api/connection_state.h"

struct CameraHandle;

namespace api {

// Ends a connection without control. Nothing is given back to the camera, which may be silent or somebody
// else's by now; port and MAC stay the handle's for the attempt that follows.
void dropConnection(CameraHandle& handle);

// Ends a connection, if there is one, and gives the camera's control back in any case.
void endConnection(CameraHandle& handle, State before);

// Ends a handle that nobody else changes, and deletes it. What its device has queued is delivered before the
// caller goes on.
void freeHandle(CameraHandle* handle);

} // namespace api
