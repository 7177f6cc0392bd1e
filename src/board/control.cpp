#include "board/control.h"

#include "board/camera.h"
#include "board/control_registers.h"
#include "board/log.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "protocol/bootstrap.h"
#include "transport/command_channel.h"

namespace board {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

int firstTimeout(const HeldPort& held) {
    const int wanted = held.terms().heartbeatTimeout;
    return wanted != 0 ? wanted : camera::kHeartbeatTimeout;
}

// What the camera has made of the heartbeat time-out that it was given, or is given again here in case the
// command was lost. One that does not say keeps control for as long as it was told.
milliseconds heartbeatTimeoutOf(const HeldPort& held) {
    transport::Port& port = *held.port();
    const int given = firstTimeout(held);
    int timeout = given;
    transport::readRegister(port, bootstrap::kHeartbeatTimeout, &timeout);
    if (timeout != given) {
        transport::writeRegister(port, bootstrap::kHeartbeatTimeout, given);
        transport::readRegister(port, bootstrap::kHeartbeatTimeout, &timeout);
    }
    return milliseconds(timeout > 0 ? timeout : given);
}

// Looks until somebody has control, and prepares the camera again while nobody has: the command that took
// control may have been lost, so that all others were refused, or a late copy of the one that gave it back
// may have come after it. Ends without a result when the camera does not answer any more.
Holder makeSureOfControl(const HeldPort& held) {
    constexpr int kTries = 4;
    constexpr int kMostSilences = 2;
    Holder holder = Holder::Unknown;
    for (int tries = 0, silences = 0; tries < kTries && silences < kMostSilences; ++tries) {
        const ControlReading reading = readControl(held);
        holder = reading.holder;
        silences += reading.answered ? 0 : 1;
        if (holder == Holder::Nobody) {
            prepareCamera(held);
        } else if (holder != Holder::Unknown) {
            break;
        }
    }
    return holder;
}

} // namespace

void prepareCamera(const HeldPort& held) {
    camera(held.port()).init(held.terms().privilege(), firstTimeout(held));
}

bool watchControl(const HeldPort& held) {
    const Holder holder = makeSureOfControl(held);
    held.control().start(heartbeatTimeoutOf(held), Clock::now());
    held.port()->beat() = transport::Port::Beat{
        bootstrap::kHeartbeatTimeout, static_cast<unsigned>(firstTimeout(held)),
        bootstrap::kControlChannelPrivilege, held.port()->now()};
    if (Device* device = held.place.device()) {
        device->noteControlLoss(tavo::ControlLoss::None);
    }
    return holder != Holder::Other;
}

void learnHeartbeatTimeout(const HeldPort& held) {
    int timeout = 0;
    if (held.port() != nullptr &&
        transport::readRegister(*held.port(), bootstrap::kHeartbeatTimeout, &timeout) == 0 && timeout > 0) {
        held.control().heartbeatTimeoutRead(milliseconds(timeout));
    }
}

void unwatchControl(const HeldPort& held) {
    held.control().stop();
    if (held.port() != nullptr) {
        held.port()->beat().reset();
    }
}

tavo::ControlLoss controlLoss(const HeldPort& held) {
    return held.control().isOn() ? held.control().loss() : tavo::ControlLoss::None;
}

ControlReading lookAtControl(const HeldPort& held) {
    const ControlReading reading = readControl(held);
    const tavo::ControlLoss before = held.control().loss();
    held.control().looked(reading, Clock::now());
    if (held.control().isOn() && held.control().loss() != before) {
        qCDebug(boardLog) << "board" << held.place.boardIndex << "port" << held.place.number
                          << "control is lost, reason" << static_cast<int>(held.control().loss());
    }
    Device* device = held.place.device();
    if (held.control().isOn() && device != nullptr) {
        device->noteControlLoss(held.control().loss(), held.control().lossFact());
        if (held.control().loss() != tavo::ControlLoss::None) {
            held.place.counters[util::Figure::Use].set(GBE_LINK_LOST);
        }
    }
    return reading;
}

} // namespace board
