#include "genicam/device/HelperThread.h"

namespace tavo {

// ---- HelperThread ----------------------------------------------------------------------------------------

HelperThread::~HelperThread() {
    join();
    if (m_thread.joinable()) {
        m_thread.detach();
    }
}

void HelperThread::requestCancel() {
    {
        const std::lock_guard lock(m_state->lock);
        m_state->cancel.store(true);
    }
    m_state->cancelled.notify_all();
}

bool HelperThread::sleepUnlessCancelled(std::chrono::milliseconds time) {
    std::unique_lock lock(m_state->lock);
    return !m_state->cancelled.wait_for(lock, time, [this] { return m_state->cancel.load(); });
}

// The thread begins when the assignment is done: its body may destroy this object.
void HelperThread::start() {
    const auto shared = m_state;
    const std::lock_guard starting(shared->lock);
    m_thread = std::thread([state = m_state, body = m_body] {
        { const std::lock_guard started(state->lock); }
        state->id.store(std::this_thread::get_id());
        body();
        state->id.store(std::thread::id());
    });
}

void HelperThread::join() {
    if (!isCurrent() && m_thread.joinable()) {
        m_thread.join();
    }
}

// ---- SwitchableThread ------------------------------------------------------------------------------------

struct SwitchableThread::Core : std::enable_shared_from_this<Core> {
    Core(std::function<void(HelperThread&)> threadBody, std::function<void(bool)> threadRouse)
        : body(std::move(threadBody)), rouse(std::move(threadRouse)) {}

    void apply();
    void run();
    void waitUntilIdle();

    const std::function<void(HelperThread&)> body;
    const std::function<void(bool)> rouse;
    std::unique_ptr<HelperThread> thread;
    std::mutex lock; // guards what follows
    std::condition_variable changed;
    std::atomic<bool> enabled{false};
    bool allowed = false;
    bool wanted = false;
    bool running = false;
};

// Called with the lock held, after a wish has changed.
void SwitchableThread::Core::apply() {
    const bool isWanted = enabled.load() && allowed;
    if (isWanted == wanted) {
        return;
    }
    wanted = isWanted;
    if (!wanted) {
        thread->requestCancel();
        rouse(false);
        return;
    }
    thread->resetCancelRequested();
    rouse(true);
    if (!running) {
        thread->join(); // an earlier run, which needs the lock no more
        running = true;
        thread->start();
    }
    changed.notify_all(); // nobody needs to wait for an end any more
}

void SwitchableThread::Core::run() {
    for (;;) {
        body(*thread);
        const std::lock_guard guard(lock);
        if (!wanted) {
            running = false;
            changed.notify_all();
            return;
        }
    }
}

void SwitchableThread::Core::waitUntilIdle() {
    if (!thread->isCurrent()) {
        std::unique_lock guard(lock);
        changed.wait(guard, [this] { return !running || wanted; });
    }
}

SwitchableThread::SwitchableThread(
    std::function<void(HelperThread&)> body, std::function<void(bool starting)> rouse)
    : m_core(std::make_shared<Core>(std::move(body), std::move(rouse))) {
    // Weak here, or the core would keep itself; strong while the thread runs.
    m_core->thread = std::make_unique<HelperThread>([core = std::weak_ptr(m_core)] {
        if (const auto self = core.lock()) {
            self->run();
        }
    });
}

SwitchableThread::~SwitchableThread() {
    forbid();
    waitUntilIdle();
    m_core->thread->join();
}

bool SwitchableThread::isEnabled() const {
    return m_core->enabled.load();
}

void SwitchableThread::waitUntilIdle() {
    m_core->waitUntilIdle();
}

void SwitchableThread::enable(bool on) {
    {
        const std::lock_guard guard(m_core->lock);
        m_core->enabled.store(on);
        m_core->apply();
    }
    if (!on) {
        waitUntilIdle();
    }
}

void SwitchableThread::allow() {
    const std::lock_guard guard(m_core->lock);
    m_core->allowed = true;
    m_core->apply();
}

void SwitchableThread::forbid() {
    const std::lock_guard guard(m_core->lock);
    m_core->allowed = false;
    m_core->apply();
}

} // namespace tavo
