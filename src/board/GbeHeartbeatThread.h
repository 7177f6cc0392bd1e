// Keeps the control channel of one connected camera alive: a camera drops it when it hears nothing for its
// heartbeat time-out.
//
// The owner makes it with the camera's device, starts it, and ends it by asking it to stop, waiting for the
// thread and deleting it, in this order; that takes no longer than a tick of 20 ms and a heartbeat under way.
// Between heartbeats it announces what the device has noted of control of the camera (see
// ImplGenICamCamera::announceControlLoss): an access that finds it lost holds locks under which nobody must
// be called. Stop and period may be set from any thread at any time and are looked at on every tick.
#pragma once

#include <QtCore/QThread>

#include <atomic>
#include <functional>
#include <memory>

namespace tavo {
class ImplGenICamCamera;
}

class GbeHeartbeatThread : public QThread {
public:
    // The thread shares the device until its run is over. With a null device it idles. `onLoss` (which may be
    // empty) is called once, on this thread, when control is lost, before listeners are told; `onTick`
    // (likewise) on each tick.
    explicit GbeHeartbeatThread(
        std::shared_ptr<tavo::ImplGenICamCamera> device, std::function<void()> onLoss = {},
        std::function<void()> onTick = {});
    ~GbeHeartbeatThread() override;

    // Ends the thread as soon as its heartbeat, if one is under way, is over. Does not wait.
    void requestStop() { m_stop = true; }
    // Seconds between heartbeats, 1 at first; for 0 and less, one a tick.
    void setPeriod(int seconds) { m_period = seconds; }

protected:
    // A heartbeat that fails is dropped without a word; the next one follows a period later.
    void run() override;

private:
    bool waitForPeriod();
    void announceLoss();
    void beat();

    std::shared_ptr<tavo::ImplGenICamCamera> m_device;
    std::function<void()> m_onLoss;
    const std::function<void()> m_onTick;
    std::atomic<int> m_period{1};
    std::atomic<bool> m_stop{false};
};
