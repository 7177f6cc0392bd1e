// Boards: opening, closing, scanning.
#include "api/handles.h"
#include "api/refusals.h"
#include "board/host_locks.h"
#include "liomol/gige.h"
#include "streaming/StreamTable.h"
#include "util/process.h"
#include "util/status.h"

#include <mutex>

namespace {

constexpr int kEveryPort = -1;

// PHY register 1, "status", of IEEE 802.3 clause 22. The link bit stays low once the link has been down,
// until it is read: the second read tells how it is now.
bool readLinkState(GigeCamera& board, int port) {
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
        return api::nullArgument("out");
    }
    *out = nullptr;
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    util::claimProcess();
    board::Board* found = board::findBoard(board);
    if (found == nullptr) {
        return api::refused(status::BoardInitialization, [&] { return api::noBoard(board); });
    }
    util::setErrorDetail({});
    if (!found->open(flags)) {
        return status::BoardInitialization;
    }
    if (flags == board::kServiceMode) {
        return status::Success;
    }
    if (found->get() == nullptr) {
        return api::boardClosed(board);
    }
    *out = new BoardHandle(*found);
    return status::Success;
}

void Gbe_freeBoard(BoardHandle* board) {
    if (board == nullptr || util::isForkedChild()) {
        return;
    }
    for (CameraHandle* camera : board->slots->all()) {
        Gbe_freeCamera(camera);
    }
    streaming::StreamTable::instance().endAll(board->board().index, status::Connection);
    board->board().close();
    delete board;
}

int Gbe_scanNetwork(BoardHandle* board, int port, int timeout) {
    board::CameraPort* place = api::portOf(board, static_cast<unsigned>(port));
    if (board == nullptr || (port != kEveryPort && place == nullptr)) {
        return api::badPort(board, port);
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    if (board->board().get() == nullptr) {
        return api::boardClosed(board->board().index);
    }
    const int result =
        place == nullptr ? board->board().discover(timeout) : board::Board::discover(*place, timeout);
    return result == board::Board::kPortInUse ? api::portTaken(*place) : status::Success;
}

int Gbe_getCameraCount(BoardHandle* board, unsigned port) {
    board::CameraPort* place = api::portOf(board, port);
    if (place == nullptr) {
        return api::badPort(board, port);
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(*place);
    return held.port() != nullptr ? held.port()->cameras().count() : api::boardClosed(place->boardIndex);
}

int Gbe_getLinkState(int board, unsigned port, int* up) {
    board::Board* found = board::findBoard(board);
    board::CameraPort* place = found != nullptr ? api::portOf(*found, port) : nullptr;
    if (up == nullptr || place == nullptr) {
        return up == nullptr ? api::nullArgument("up") : api::refused(status::IllegalParameter, [&] {
            return found == nullptr ? api::noBoard(board) : api::noPort(port);
        });
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const std::lock_guard lock(found->mdioMutex());
    GigeCamera* open = found->get();
    if (open == nullptr) {
        return api::boardClosed(board);
    }
    const board::PhySequence phys(board);
    if (!phys) {
        return api::refused(
            status::PortNotAvailable, "another program has kept the PHYs of the board for 30 seconds");
    }
    *up = readLinkState(*open, place->number) ? 1 : 0;
    return status::Success;
}
