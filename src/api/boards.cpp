// Boards: opening, closing, scanning.
#include "api/handles.h"
#include "liomol/gige.h"
#include "util/qt_locks.h"
#include "util/status.h"

#include <array>
#include <mutex>

namespace {

constexpr int kAllPorts = -1;

bool isPort(unsigned port) {
    return port < static_cast<unsigned>(GenICamPortWrapper::kPorts);
}

// PHY register 1, "status", of IEEE 802.3 clause 22. The link bit stays low once the link has been down,
// until it is read: the second read tells how it is now.
bool readLinkState(GigeCamera& board, unsigned port) {
    constexpr unsigned char kPhyStatus = 1;
    constexpr unsigned short kLinkUp = 1U << 2;
    unsigned short value = 0;
    board.SetMdioPhyAddress(static_cast<unsigned char>(port));
    board.ReadMdioData(kPhyStatus, &value);
    value = 0;
    board.ReadMdioData(kPhyStatus, &value);
    return (value & kLinkUp) != 0;
}

} // namespace

int Gbe_initBoard(int board, int flags, BoardHandle** out) {
    if (out == nullptr) {
        return status::IllegalParameter;
    }
    *out = nullptr;
    if (GenICamPortWrapper::initBoard(board, flags) != 0) {
        return status::BoardInitialization;
    }
    if (flags == GenICamPortWrapper::kServiceMode) {
        return status::Success;
    }
    if (GenICamPortWrapper::getBoard(board) == nullptr) {
        return status::BoardDoesNotExist;
    }
    *out = new BoardHandle(board);
    return status::Success;
}

void Gbe_freeBoard(BoardHandle* board) {
    if (board == nullptr) {
        return;
    }
    for (CameraHandle* camera : std::array(board->slots->cameras)) {
        Gbe_freeCamera(camera);
    }
    GenICamPortWrapper::freeBoard(board->index());
    delete board;
}

int Gbe_scanNetwork(BoardHandle* board, int port, int timeout) {
    if (board == nullptr || port < kAllPorts || (port != kAllPorts && !isPort(static_cast<unsigned>(port)))) {
        return status::IllegalParameter;
    }
    if (GenICamPortWrapper::getBoard(board->index()) == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (port == kAllPorts) {
        GenICamPortWrapper::discover(board->index(), timeout);
    } else {
        GenICamPortWrapper::discover(board->index(), port, timeout);
    }
    return status::Success;
}

int Gbe_getCameraCount(BoardHandle* board, unsigned port) {
    if (board == nullptr || !isPort(port)) {
        return status::IllegalParameter;
    }
    const int place = static_cast<int>(port);
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(board->index(), place));
    const GigeCamera* open = GenICamPortWrapper::getBoard(board->index());
    return open != nullptr ? open->discoveredCount(place) : status::BoardDoesNotExist;
}

int Gbe_getLinkState(int board, unsigned port, int* up) {
    if (up == nullptr || board < 0 || board >= GenICamPortWrapper::kBoards || !isPort(port)) {
        return status::IllegalParameter;
    }
    const std::lock_guard lock(GenICamPortWrapper::mdioMutex(board));
    GigeCamera* open = GenICamPortWrapper::getBoard(board);
    if (open == nullptr) {
        return status::BoardDoesNotExist;
    }
    *up = readLinkState(*open, port) ? 1 : 0;
    return status::Success;
}
