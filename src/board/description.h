// Finding a camera's description and giving it to a device.
#pragma once

#include "board/CameraPort.h"
#include "board/description_url.h"

#include <memory>

namespace board {

// Reads and parses the First (0) or Second (any other) URL register of the port's current camera.
DescriptionUrl readUrl(CameraPort& place, int which);
// The parts of the URL that was parsed last, by whichever thread; each retrieval works on its own.
DescriptionUrl lastUrl();

// Finds the description of the port's current camera, first through its First URL and then through its Second
// URL, makes `device` the port's own and gives it the description; without a device it makes one, once there
// is a document. True when the device is connected to it. Throws tavo::GicTavoPathNotSetException and
// tavo::GicFileDoesNotExistException for a "File:" URL. `standardBehaviour`: see the device's
// enableStandardBehaviour. The port must not be held.
bool retrieveDescription(CameraPort& place, std::shared_ptr<Device>& device, bool standardBehaviour);

// The same for a camera whose own description is not wanted: with one that has no feature, only the way to
// the camera's registers and memory.
bool doWithoutDescription(CameraPort& place, std::shared_ptr<Device>& device);

} // namespace board
