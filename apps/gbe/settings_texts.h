// Texts of settings: out of files and cameras, and into files.
#pragma once

#include "gbe/Context.h"

#include "liomol/gige.h"

#include <string>

namespace gbe {

// All of these throw Failure.

// Its settings as a text; options are those of Gbe_saveSettings.
std::string settingsOf(CameraHandle* camera, int options);
// The same of the context's camera, which has to be controlled to move its selectors. Where somebody else has
// control, it is only looked at, with a word on standard error: selectors stay where they are.
std::string settingsOf(Context& context, int options);

// A file of settings; "-" stands for standard input. Files that are too large are not read.
std::string readSettingsFile(const std::string& file);

// "-" stands for standard output. A file takes its name when it is whole.
void writeSettingsFile(const std::string& file, const std::string& text);

} // namespace gbe
