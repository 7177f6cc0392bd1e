// A camera's settings as a text.
#pragma once

#include "settings/NodeAccess.h"

#include "liomol/GenICamCamera.h"

#include <string>

namespace settings {

// Every streamable feature that the camera has now and that can be written, also once it is unlocked, in the
// order of the description. `camera` says whose they are, for the heading. What cannot be read is named in a
// comment that begins with kProblem. Moves selectors and puts them back. Throws Refusal when control of the
// camera is lost.
std::string save(tavo::GenICamCamera& device, const std::string& camera, NodeAccess& access);

inline constexpr const char* kProblem = "#! ";

} // namespace settings
