// Control of a camera through the stops of this process, as in a debugger: the service keeps it.
#pragma once

struct CameraHandle;

namespace api {

// Has the service keep control of the handle's camera, if that is wished and the camera is controlled; else
// ends an earlier keeping. A status.
int keepControl(CameraHandle& handle);

// The same for a connection that does without if need be.
void tryToKeepControl(CameraHandle& handle);

} // namespace api
