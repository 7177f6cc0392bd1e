// The bounds of the service process, in one place.
#pragma once

#include <chrono>
#include <cstddef>

namespace gbe_service {

inline constexpr unsigned kBoards = 8;
inline constexpr unsigned kPorts = 4; // of a board

inline constexpr std::size_t kMaxRequestLength = std::size_t{64} * 1024; // a longer line ends the connection
inline constexpr std::size_t kMaxWaitingOutput =
    std::size_t{64} * 1024;                       // a client that reads nothing of so much is cut off
inline constexpr int kMaxClients = 256;           // far below the usual limit of descriptors
inline constexpr int kMaxKeeps = 128;             // so that clients with other requests have room beside them
inline constexpr int kMaxKeepsOfOne = 32;         // of a process: one a port of each board
inline constexpr std::size_t kMaxStatSize = 4096; // of a process
inline constexpr std::size_t kMaxSocketListSize = std::size_t{1} << 20; // of the whole computer
inline constexpr std::size_t kMaxConfigurationSize = std::size_t{1} << 20;

inline constexpr std::chrono::seconds kDefaultIdleLimit{60}; // without a request
inline constexpr std::chrono::milliseconds kKeepLook{
    500};                                                 // a second before a camera's shortest patience ends
inline constexpr std::chrono::seconds kReplyLimit{30};    // for a board to open or a link to be read
inline constexpr std::chrono::seconds kLinkRefresh{5};    // between looks at the links of a board
inline constexpr std::chrono::seconds kSeldomRefresh{60}; // where that keeps others from its PHYs
inline constexpr std::chrono::seconds kStopLimit{10}; // for a look at links to end, and a board to be closed

} // namespace gbe_service
