// What the exported calls tell beside the statuses with which they fail (util/error_detail.h). None of it
// runs where nothing fails.
#pragma once

#include "api/connection_state.h"
#include "liomol/gige.h"
#include "util/error_detail.h"
#include "util/status.h"

#include <initializer_list>
#include <string>

namespace board {
class CameraPort;
class HeldPort;
} // namespace board

namespace tavo {
class GenICamNode;
class NodeTree;
} // namespace tavo

namespace api {

using util::refused;

// status::IllegalParameter: the argument of that name is null.
[[gnu::cold]] int nullArgument(const char* name);
// The same for the first of several that is.
struct Argument {
    const void* value;
    const char* name;
};
[[gnu::cold]] int firstNull(std::initializer_list<Argument> arguments);

// status::IllegalParameter for a board handle that is null, or a port that is out of range.
[[gnu::cold]] int badPort(const BoardHandle* board, long long port);

std::string noBoard(long long board);
std::string noPort(long long port);
// status::BoardDoesNotExist.
[[gnu::cold]] int boardClosed(int board);
// status::PortNotAvailable: another program has it, or another handle of this one.
[[gnu::cold]] int portTaken(const board::CameraPort& place);
// The same, of a port that this program has, too: another program.
[[gnu::cold]] int portLocked(const board::CameraPort& place);
// status::CameraBusy: another handle, or another program of this computer, has the camera.
[[gnu::cold]] int cameraTaken();
[[gnu::cold]] int cameraLocked(const unsigned char* mac);
// status::CameraDoesNotExist: the last scan of a port has not found the camera with this MAC address.
[[gnu::cold]] int notFound(const board::CameraPort& place, const unsigned char* mac);

// status::NoCamerasFound, or what a look-up's arguments are refused for.
[[gnu::cold]] int noCameras(const board::HeldPort& held);
[[gnu::cold]] int
badLookUp(const BoardHandle* board, unsigned port, std::initializer_list<Argument> arguments);

// status::Connection, in a forked process.
[[gnu::cold]] int refusedAsFork();

// `code`, the status that the gate gives a call in a state; `handle` may have lost control.
[[gnu::cold]] int refusedInState(const CameraHandle& handle, State state, int code);

// status::CameraNotConnected, of a handle that was moved without ever being connected.
[[gnu::cold]] int noDescription();

// status::IllegalNode: no node has the name, or (`found`) it is of a kind that the call is not for.
[[gnu::cold]] int noSuchFeature(const tavo::NodeTree& tree, const char* name, tavo::GenICamNode* found);

// Puts a feature's name before what a failed call told of it; for calls that choose the feature themselves.
int about(const char* feature, int result);

// status::BufferTooSmall.
[[gnu::cold]] int tooSmall(unsigned long long needed, unsigned long long given);

} // namespace api
