// Control of the cameras behind the ports: taking it, watching over it, looking who has it.
#include "board/GenICamPortWrapper.h"
#include "board/camera.h"
#include "board/tables.h"
#include "genicam/ImplGenICamCamera.h"
#include "protocol/bootstrap.h"

using board::Holder;
using board::tables;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

// What the camera has made of the heartbeat time-out that it was given. One that does not say keeps control
// for as long as it was told.
milliseconds heartbeatTimeoutOf(GigeCamera& board, int port) {
    int timeout = camera::kHeartbeatTimeout;
    board.ReadRegister(port, bootstrap::kHeartbeatTimeout, &timeout);
    return milliseconds(timeout > 0 ? timeout : camera::kHeartbeatTimeout);
}

} // namespace

// Somebody's late or repeated command may have taken control away again in the meantime.
bool GenICamPortWrapper::watchControl(int board, int port) {
    GigeCamera* open = getBoard(board);
    if (open == nullptr) {
        return false;
    }
    const board::ControlReading reading = board::readControl(*open, port);
    if (reading.holder == Holder::Nobody) {
        open->WriteRegister(
            port, bootstrap::kControlChannelPrivilege, static_cast<int>(bootstrap::kPrivilegeControl));
    }
    tables().port(board, port).control.start(heartbeatTimeoutOf(*open, port), Clock::now());
    if (tavo::ImplGenICamCamera* device = getDevice(board, port)) {
        device->noteControlLoss(tavo::ControlLoss::None);
    }
    return reading.holder != Holder::Other;
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
