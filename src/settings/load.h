// A camera is set to what a text says.
#pragma once

#include "settings/Document.h"
#include "settings/NodeAccess.h"

#include "liomol/GenICamCamera.h"

#include <string>

namespace settings {

enum class Mode {
    Set,
    SetAndVerify, // reads everything from the camera afterwards
    Look,         // tells what Set would change
};

struct Loaded {
    int status = 0;         // other than 0 when control of the camera was lost on the way
    unsigned values = 0;    // that the text gives
    unsigned same = 0;      // the camera had already
    unsigned changed = 0;   // set, or to be set
    unsigned refused = 0;   // could not be set
    unsigned left = 0;      // locked, as they were when the text was saved
    unsigned different = 0; // of the changed and the same: the camera has another value in the end
    std::string report;     // a line for each that is not as the text says, "line 7: Width: why"
};

// Sets what the text gives, in its order, and begins again until nothing changes any more: limits of one
// feature depend on others. Moves selectors and puts them back, unless the text itself gives a selector.
// Whether the device checks accesses makes no difference.
Loaded load(tavo::GenICamCamera& device, const Document& document, Mode mode, NodeAccess& access);

} // namespace settings
