// Control of the cameras behind the ports: taking it, watching over it, looking who has it.
#include "board/GenICamPortWrapper.h"
#include "board/camera.h"
#include "board/tables.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "protocol/bootstrap.h"

using board::Holder;
using board::tables;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

// What the camera has made of the heartbeat time-out that it was given, or is given again here in case the
// command was lost. One that does not say keeps control for as long as it was told.
milliseconds heartbeatTimeoutOf(GigeCamera& board, int port) {
    int timeout = camera::kHeartbeatTimeout;
    board.ReadRegister(port, bootstrap::kHeartbeatTimeout, &timeout);
    if (timeout != camera::kHeartbeatTimeout) {
        board.WriteRegister(port, bootstrap::kHeartbeatTimeout, camera::kHeartbeatTimeout);
        board.ReadRegister(port, bootstrap::kHeartbeatTimeout, &timeout);
    }
    return milliseconds(timeout > 0 ? timeout : camera::kHeartbeatTimeout);
}

// Looks until somebody has control, and prepares the camera again while nobody has: the command that took
// control may have been lost, so that all others were refused, or a late copy of the one that gave it back
// may have come after it. Ends without a result when the camera does not answer any more.
Holder makeSureOfControl(GigeCamera& board, int port) {
    constexpr int kTries = 4;
    constexpr int kMostSilences = 2;
    Holder holder = Holder::Unknown;
    for (int tries = 0, silences = 0; tries < kTries && silences < kMostSilences; ++tries) {
        const board::ControlReading reading = board::readControl(board, port);
        holder = reading.holder;
        silences += reading.answered ? 0 : 1;
        if (holder == Holder::Nobody) {
            camera(&board, port).init();
        } else if (holder != Holder::Unknown) {
            break;
        }
    }
    return holder;
}

} // namespace

bool GenICamPortWrapper::watchControl(int board, int port) {
    GigeCamera* open = getBoard(board);
    if (open == nullptr) {
        return false;
    }
    const Holder holder = makeSureOfControl(*open, port);
    tables().port(board, port).control.start(heartbeatTimeoutOf(*open, port), Clock::now());
    if (tavo::ImplGenICamCamera* device = getDevice(board, port)) {
        device->noteControlLoss(tavo::ControlLoss::None);
    }
    return holder != Holder::Other;
}

void GenICamPortWrapper::unwatchControl(int board, int port) {
    tables().port(board, port).control.stop();
}

tavo::ControlLoss GenICamPortWrapper::controlLoss(int board, int port) {
    const board::ControlWatch& control = tables().port(board, port).control;
    return control.isOn() ? control.loss() : tavo::ControlLoss::None;
}

board::ControlReading GenICamPortWrapper::lookAtControl(int board, int port) {
    const board::ControlReading reading = board::readControl(*getBoard(board), port);
    board::ControlWatch& control = tables().port(board, port).control;
    control.looked(reading, Clock::now());
    tavo::ImplGenICamCamera* device = getDevice(board, port);
    if (control.isOn() && device != nullptr) {
        device->noteControlLoss(control.loss());
    }
    return reading;
}
