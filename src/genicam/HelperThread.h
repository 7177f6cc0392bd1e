// The threads of a device: each ends when it is asked to.
#pragma once

#include <QtCore/QThread>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace tavo {

// Runs `body` once for each start. All calls may come from any thread.
class HelperThread : public QThread {
public:
    explicit HelperThread(std::function<void()> body) : m_body(std::move(body)) {}

    void requestCancel();
    bool isCancelRequested() const { return m_cancel.load(); }
    void resetCancelRequested() { m_cancel.store(false); }
    // For the body: returns early, and false, when the thread is asked to end.
    bool sleepUnlessCancelled(std::chrono::milliseconds time);

    bool isCurrent() const { return QThread::currentThread() == this; }
    // Waits without limit, and what the body did is seen after it. In the thread itself it does nothing.
    void join();

private:
    void run() override;

    const std::function<void()> m_body;
    std::atomic<bool> m_cancel{false};
    std::mutex m_lock;
    std::condition_variable m_cancelled;
};

// A thread that runs while two sides want it: the device, once its tree stands, and the application.
//
//   enable(true) and allow() start it, in either order; enable(false) and forbid() end it.
//
// All calls may come from any thread. Ending waits for the thread, except in the thread itself (in a
// listener): there it ends when the listener has returned, or goes on if it is wanted again by then.
class SwitchableThread {
public:
    // `body` returns when the thread is asked to end. `rouse` is called when that happens, and with true
    // before the body begins.
    SwitchableThread(std::function<void(HelperThread&)> body, std::function<void(bool starting)> rouse);
    ~SwitchableThread();

    bool isEnabled() const { return m_enabled.load(); }
    void enable(bool on);
    void allow();
    // Asks the thread to end, whatever the application wants; waitUntilIdle() waits for it.
    void forbid();
    void waitUntilIdle();

private:
    void apply();
    void run();

    const std::function<void(HelperThread&)> m_body;
    const std::function<void(bool)> m_rouse;
    HelperThread m_thread;
    std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    std::atomic<bool> m_enabled{false};
    bool m_allowed = false;
    bool m_wanted = false;
    bool m_running = false;
};

} // namespace tavo
