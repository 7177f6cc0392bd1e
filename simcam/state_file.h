// The file in which a camera keeps what it keeps without power, so that a process may end and start again.
#pragma once

#include "simcam/Nonvolatile.h"

namespace simcam {

// No file, or no name: nothing is kept yet. None with a one-line `error` when the file cannot be read, is too
// large or holds anything else.
std::optional<Nonvolatile::Contents> readState(const std::string& path, std::string& error);

// Replaces the file as a whole; false when that fails, and then the earlier one stays.
bool writeState(const std::string& path, const Nonvolatile::Contents& contents);

} // namespace simcam
