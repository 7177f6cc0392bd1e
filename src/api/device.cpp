// The door to the C++ faces.
#include "api/features.h"
#include "liomol/GenICamDevice.h"

namespace tavo {

GenICamCamera* getGenICamInterface(CameraHandle* camera) {
    ImplGenICamCamera* device = nullptr;
    api::deviceOf(camera, device);
    return device;
}

} // namespace tavo
