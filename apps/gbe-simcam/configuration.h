// Which cameras there are: what the command line and a configuration file say.
#pragma once

#include "platform/ethernet_endpoint.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gbe_simcam {

// "key=value,key=value"; a comma within a value is written "\,". False with one line in `error`.
bool parseCamera(const std::string& text, ethernet::Settings& settings, std::string& error);

// Adds a camera for each section [camera] of a file: lines KEY = VALUE, and lines that begin with # or ;.
// False with one line in `error`, which tells where.
bool readCameras(const std::string& file, std::vector<ethernet::Settings>& cameras, std::string& error);

// Gives each camera what its settings leave open: a MAC address that follows from `seed` and its number, a
// link-local address, and memory without behaviour behind a description of its own. False with one line in
// `error` when two would have one MAC address.
bool complete(std::vector<ethernet::Settings>& cameras, const std::string& seed, std::string& error);

} // namespace gbe_simcam
