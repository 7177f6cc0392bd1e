// The door from the C interface to the C++ faces: the device behind a camera handle, its nodes and its
// signals.
//
//     tavo::GenICamCamera* device = tavo::getGenICamInterface(camera);
//     tavo::GenICamNode* node = device->getNodeByName("Width");
//     QObject::connect(node->asInteger()->getIntegerSignals(),
//                      &tavo::ImplGenICamIntegerInterfaceSignals::signal_ValueChanged, ...);
//     device->enableSignalling(true);
//
// Lifetime: the device belongs to the handle. It stays until the handle is disconnected, switched, connected
// again after control was lost, or freed. Its nodes and their signals stay as long, or until
// Gbe_enableStandardBehaviour builds them again. Nobody else deletes a device or a node.
//
// Threads: look-ups, reads and writes may come from any thread, beside the feature calls of the C interface.
// The calls that end the device must not run beside them, as liomol/gige.h says of the handle.
//
// Errors: what the C interface returns as a status comes as an exception here (liomol/exceptions.h).
#pragma once

#include "liomol/GenICamCamera.h"
#include "liomol/exceptions.h"
#include "liomol/export.h"
#include "liomol/gige.h"
#include "liomol/node_kinds.h"
#include "liomol/signals.h"

namespace tavo {

// Null for a null handle, and while the handle is not connected.
LIOMOL_API GenICamCamera* getGenICamInterface(CameraHandle* camera);

} // namespace tavo
