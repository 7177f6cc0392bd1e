// The threads of a device: each ends when it is asked to.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace tavo {

// Runs `body` once for each start. start() and join() belong to one caller at a time, the rest may be called
// from any thread. The destructor waits like join(); in the thread itself it lets it go on alone.
class HelperThread {
public:
    explicit HelperThread(std::function<void()> body) : m_body(std::move(body)) {}
    ~HelperThread();
    HelperThread(const HelperThread&) = delete;
    HelperThread& operator=(const HelperThread&) = delete;

    // After the construction, or join().
    void start();
    // Waits without limit for a run to end. In the thread itself it does nothing.
    void join();
    // Whether the caller is the thread.
    bool isCurrent() const { return std::this_thread::get_id() == m_state->id.load(); }

    void requestCancel();
    bool isCancelRequested() const { return m_state->cancel.load(); }
    const std::atomic<bool>& cancelRequest() const { return m_state->cancel; }
    void resetCancelRequested() { m_state->cancel.store(false); }
    // For the body: returns early, and false, when the thread is asked to end.
    bool sleepUnlessCancelled(std::chrono::milliseconds time);

private:
    struct State {
        std::atomic<std::thread::id> id{}; // of the run that is under way
        std::atomic<bool> cancel{false};
        std::mutex lock;
        std::condition_variable cancelled;
    };
    const std::function<void()> m_body;
    const std::shared_ptr<State> m_state = std::make_shared<State>(); // the thread's as well
    std::thread m_thread;
};

// A thread that runs while two sides want it: the device, once its tree stands, and the application.
//
//   enable(true) and allow() start it, in either order; enable(false) and forbid() end it.
//
// All calls may come from any thread. Ending waits for the thread, except in the thread itself (in a
// listener): there it ends when the listener has returned, or goes on if it is wanted again by then. The same
// goes for the destructor; `body` and `rouse` must bear being called until then.
class SwitchableThread {
public:
    // `body` returns when the thread is asked to end. `rouse` is called when that happens, and with true
    // before the body begins.
    SwitchableThread(std::function<void(HelperThread&)> body, std::function<void(bool starting)> rouse);
    ~SwitchableThread();

    bool isEnabled() const;
    void enable(bool on);
    void allow();
    // Asks the thread to end, whatever the application wants; waitUntilIdle() waits for it.
    void forbid();
    void waitUntilIdle();

private:
    struct Core;
    const std::shared_ptr<Core> m_core; // the thread's as well
};

} // namespace tavo
