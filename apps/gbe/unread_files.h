// Configuration that lies where nobody reads it: it looks right to whoever wrote it, and does nothing.
#pragma once

#include "Findings.h"

namespace gbe {

// Tells of files in folders where other builds, or other installations of this one, would look, and of the
// board's file when the environment names another.
void checkUnreadFiles(Findings& findings);

} // namespace gbe
