// The states of a camera handle's connection, and the one gate that says which call may do what in which.
//
//            look-up        Change           connected, moved
//   (none) ----------> found ------> changing ------> connected ---- the camera's control is gone ---> lost
//                                     ^    | failed       |                                              |
//                      Change         |    v              +------------- Change ------> changing <-------+
//                      +------ as before, disconnected
//
//   changing ---- free ----> leaving: whoever changes the handle frees it when the change is over.
//
// A change takes the handle for itself: another one that comes meanwhile, from a listener or another thread,
// is refused and does not wait, since what it would wait for may be waiting for it.
#pragma once

#include "util/status.h"

#include <array>
#include <cstddef>

namespace api {

enum class State {
    Found,        // by a look-up, never connected
    Connected,    // under control
    Lost,         // connected, and control is gone: told by the device, never stored
    Disconnected, // by a call, or by a move that failed
    Changing,     // a call connects, disconnects, moves or frees
    Leaving,      // the same, and the handle is to be freed at its end
    Forked,       // of another process: told by util::isForkedChild, never stored
    Count
};

enum class Call {
    Connect,
    ConnectWithoutService,
    Disconnect,
    Move,
    Look, // at the description and the device
    Use,  // of a feature, which may be cached: the camera may have forgotten it when control is gone
    Count
};

// Row by state, column by call. That connecting twice gives "not connected" is documented so.
inline constexpr int kYes = status::Success;
inline constexpr int kNot = status::CameraNotConnected;
inline constexpr int kBusy = status::CameraBusy;
using GateRow = std::array<int, static_cast<std::size_t>(Call::Count)>;
inline constexpr std::array<GateRow, static_cast<std::size_t>(State::Count)> kGate{{
    // Connect, ConnectWithoutService, Disconnect, Move, Look, Use
    {kYes, kYes, kYes, kYes, kNot, kNot},
    {status::CameraNotConnected, status::CameraAlreadyConnected, kYes, kYes, kYes, kYes},
    {kYes, kYes, kYes, kYes, kYes, status::Connection},
    {kYes, kYes, kYes, kYes, kNot, kNot},
    {kBusy, kBusy, kBusy, kBusy, kNot, kNot},
    {kBusy, kBusy, kBusy, kBusy, kNot, kNot},
    {status::Connection, status::Connection, status::Connection, status::Connection, status::Connection,
     status::Connection},
}};

// 0, or the status that the call ends with.
constexpr int allowed(State state, Call call) {
    return kGate[static_cast<std::size_t>(state)][static_cast<std::size_t>(call)];
}

} // namespace api
