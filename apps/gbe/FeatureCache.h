// What is known of cameras that were connected to before, in files below $XDG_CACHE_HOME (~/.cache): so that
// a command line can be completed without asking a camera.
#pragma once

#include "Selection.h"

#include "liomol/gige.h"

#include <string>
#include <vector>

namespace gbe {

struct KnownFeature {
    std::string name;
    std::string kind; // as gbe list prints it
    std::vector<std::string> entries;
};

// Texts as the camera gave them, fit for a terminal.
struct KnownCamera {
    std::string mac;
    std::string ip;
    std::string name;
    std::string model;
    std::vector<KnownFeature> features;
};

// Keeps a connected camera's features; says nothing where that fails.
void rememberCamera(CameraHandle* camera);

// All that are kept, the last one that was connected to first. Names and entries have letters, digits and
// underscores only.
std::vector<KnownCamera> knownCameras();

// Whether a selection can mean it.
bool isMeant(const KnownCamera& camera, const Selection& selection);

} // namespace gbe
