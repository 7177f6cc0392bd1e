// A board and a camera for the length of a command.
#pragma once

#include "addresses.h"

#include "liomol/gige.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace gbe {

// Which board, and which camera behind it; what is not given does not count.
struct Selection {
    int board = 0;
    std::optional<unsigned> port;
    std::optional<Mac> mac;
    std::optional<Ipv4> ip;
    std::string name;
    bool standard = false; // read the description as the GenICam standard has it
};

struct FoundCamera {
    unsigned port = 0;
    CameraInfo info{};
    Ipv4 ip;
};

using Board = std::unique_ptr<BoardHandle, decltype(&Gbe_freeBoard)>;
using Camera = std::unique_ptr<CameraHandle, decltype(&Gbe_freeCamera)>;

// All of these throw Failure.

Board openBoard(int board);

// Scans the port of the selection, or all, and tells what is there in the order of ports and discovery.
std::vector<FoundCamera> findCameras(BoardHandle* board, const Selection& selection);

// Scans and picks the first camera that the selection allows; with a name, there must be one only.
struct PickedCamera {
    Camera handle;
    unsigned port = 0;
};
PickedCamera pickCamera(BoardHandle* board, const Selection& selection);

// What a command wants of a camera: to look at it, beside whoever works with it, or to work with it.
enum class Purpose { Look, Work };

// Connects, with the checks of access, locks and availability on: what a person does wrong is to be told.
void connectCamera(CameraHandle* camera, bool standard, Purpose purpose);

// The program on this computer that works with a camera, "gbe, process 4711"; empty when none does.
std::string userText(CameraHandle* camera);

// What of a connected camera's description the GenICam standard reads otherwise, most first; empty where
// nothing is, or nothing is known.
std::string standardDifferences(CameraHandle* camera);

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
