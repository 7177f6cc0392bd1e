// Every limit of the program: its value and why it is what it is.
#pragma once

#include <cstddef>

namespace gbe_simcam {

// Cameras of one process; each has a thread.
inline constexpr std::size_t kMostCameras = 128;

// A file of settings.
inline constexpr std::size_t kMaxConfiguration = 1u << 20;

// A command line of a person or a test, without its end.
inline constexpr std::size_t kMaxCommand = 4096;

// Connections to the control socket, and what waits to be sent on one.
inline constexpr std::size_t kMostClients = 16;

// Registers that one command shows.
inline constexpr std::size_t kMostShown = 256;

} // namespace gbe_simcam
