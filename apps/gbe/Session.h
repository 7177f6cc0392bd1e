// A board and a camera for the length of a command.
#pragma once

#include "Failure.h"
#include "Selection.h"
#include "addresses.h"

#include "liomol/gige.h"

#include <memory>
#include <string>
#include <vector>

namespace gbe {

struct FoundCamera {
    unsigned port = 0;
    CameraInfo info{};
    Ipv4 ip;
};

using Board = std::unique_ptr<BoardHandle, decltype(&Gbe_freeBoard)>;
using Camera = std::unique_ptr<CameraHandle, decltype(&Gbe_freeCamera)>;

// All of these throw Failure.

Board openBoard(int board);

// Why a board could not be opened, as far as it can be told.
Failure
boardFailure(const std::string& what, int board, int code, const std::string& why = Gbe_getLastErrorDetail());

// Scans the port of the selection, or all, and tells what is there in the order of ports and MAC addresses.
std::vector<FoundCamera> findCameras(BoardHandle* board, const Selection& selection);

// Scans and picks the first camera of findCameras() that the selection allows; with a name, there must be one
// only.
struct PickedCamera {
    Camera handle;
    unsigned port = 0;
};
PickedCamera pickCamera(BoardHandle* board, const Selection& selection);

// What a command wants of a camera: to look at it, beside whoever works with it, to work with it, or to do so
// while nobody else can look. Each serves for those before it.
enum class Purpose { Look, Work, WorkAlone };

// Connects, with the checks of access, locks and availability on: what a person does wrong is to be told. A
// camera that lets nobody look who does not control it is connected to work with, with a word on standard
// error.
void connectCamera(CameraHandle* camera, bool standard, Purpose purpose);

// The program on this computer that works with a camera, "gbe, process 4711"; empty when none does.
std::string userText(CameraHandle* camera);

// A board and a connected camera: the beginning of most commands.
struct Session {
    Session(const Selection& selection, Purpose purpose);

    Board board;
    Camera camera; // freed before the board
};

// The text of a fixed field, which need not be terminated.
template<std::size_t N> std::string fieldText(const char (&field)[N]) {
    std::size_t length = 0;
    while (length < N && field[length] != '\0') {
        ++length;
    }
    return std::string(field, length);
}

} // namespace gbe
