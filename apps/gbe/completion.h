// What the last word of a command line may become. Nobody is asked: no service, no camera.
#pragma once

#include "Context.h"
#include "help.h"

namespace gbe {

// `words` are those behind the program's name. A row's name takes the place of the last one, also where only
// the part behind a "=" is new. Features are those of the camera that the words, or the context, mean: as it
// was connected to last. Empty where files are wanted, or nothing is known.
std::vector<HelpRow> completions(CLI::App& app, Context& context, const std::vector<std::string>& words);

} // namespace gbe
