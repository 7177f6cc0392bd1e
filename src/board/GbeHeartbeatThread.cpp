#include "board/GbeHeartbeatThread.h"

#include "genicam/device/ImplGenICamCamera.h"
#include "util/qt_locks.h"

#include <exception>
#include <utility>

namespace {

constexpr unsigned long kTick = 20; // milliseconds
constexpr std::int64_t kTicksPerSecond = 1000 / kTick;

} // namespace

GbeHeartbeatThread::GbeHeartbeatThread(
    std::shared_ptr<tavo::ImplGenICamCamera> device, std::function<void()> onLoss,
    std::function<void()> onTick)
    : m_device(std::move(device)), m_onLoss(std::move(onLoss)), m_onTick(std::move(onTick)) {}

GbeHeartbeatThread::~GbeHeartbeatThread() {
    util::happensAfter(this);
}

void GbeHeartbeatThread::run() {
    while (waitForPeriod()) {
        beat();
    }
    m_device.reset();
    util::happensBefore(this);
}

// False when the thread shall end. Waits at least one tick, so that no period makes the thread spin.
bool GbeHeartbeatThread::waitForPeriod() {
    std::int64_t ticks = 0;
    do {
        if (m_stop) {
            return false;
        }
        msleep(kTick);
        ++ticks;
        if (m_onTick) {
            m_onTick();
        }
        if (m_device != nullptr) {
            announceLoss();
        }
    } while (ticks < m_period * kTicksPerSecond);
    return !m_stop;
}

void GbeHeartbeatThread::announceLoss() {
    if (m_onLoss && m_device->getControlLoss() != tavo::ControlLoss::None) {
        std::exchange(m_onLoss, nullptr)();
    }
    m_device->announceControlLoss();
}

void GbeHeartbeatThread::beat() {
    if (m_device != nullptr) {
        try {
            m_device->sendHeartbeat();
        } catch (const std::exception&) { // silent, deliberately
        }
    }
}
