// What a person wants to know besides a status: which names and which values there are.
#pragma once

#include "liomol/gige.h"

#include <string>

namespace gbe {

// Why there is no node for a feature: no feature has the name, and one perhaps has almost the same. Empty
// when one has it.
std::string nameHint(CameraHandle* camera, const std::string& name);

// The values that a feature takes now; empty where they cannot be told.
std::string valueHint(CameraHandle* camera, const std::string& name);

} // namespace gbe
