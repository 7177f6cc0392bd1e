#include "genicam/device/HelperThread.h"

namespace tavo {

// ---- HelperThread ----------------------------------------------------------------------------------------

void HelperThread::requestCancel() {
    {
        const std::lock_guard lock(m_lock);
        m_cancel.store(true);
    }
    m_cancelled.notify_all();
}

bool HelperThread::sleepUnlessCancelled(std::chrono::milliseconds time) {
    std::unique_lock lock(m_lock);
    return !m_cancelled.wait_for(lock, time, [this] { return m_cancel.load(); });
}

void HelperThread::start() {
    m_thread = std::thread([this] {
        m_id.store(std::this_thread::get_id());
        m_body();
        m_id.store(std::thread::id());
    });
}

void HelperThread::join() {
    if (!isCurrent() && m_thread.joinable()) {
        m_thread.join();
    }
}

// ---- SwitchableThread ------------------------------------------------------------------------------------

SwitchableThread::SwitchableThread(
    std::function<void(HelperThread&)> body, std::function<void(bool starting)> rouse)
    : m_body(std::move(body)), m_rouse(std::move(rouse)), m_thread([this] { run(); }) {}

SwitchableThread::~SwitchableThread() {
    forbid();
    waitUntilIdle();
    m_thread.join();
}

// Called with m_lock held, after a wish has changed.
void SwitchableThread::apply() {
    const bool wanted = m_enabled.load() && m_allowed;
    if (wanted == m_wanted) {
        return;
    }
    m_wanted = wanted;
    if (!wanted) {
        m_thread.requestCancel();
        m_rouse(false);
        return;
    }
    m_thread.resetCancelRequested();
    m_rouse(true);
    if (!m_running) {
        m_thread.join(); // an earlier run, which needs the lock no more
        m_running = true;
        m_thread.start();
    }
}

void SwitchableThread::run() {
    for (;;) {
        m_body(m_thread);
        const std::lock_guard lock(m_lock);
        if (!m_wanted) {
            m_running = false;
            m_changed.notify_all();
            return;
        }
    }
}

void SwitchableThread::waitUntilIdle() {
    if (!m_thread.isCurrent()) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return !m_running || m_wanted; });
    }
}

void SwitchableThread::enable(bool on) {
    {
        const std::lock_guard lock(m_lock);
        m_enabled.store(on);
        apply();
        if (m_wanted) {
            m_changed.notify_all(); // nobody needs to wait for an end any more
        }
    }
    if (!on) {
        waitUntilIdle();
    }
}

void SwitchableThread::allow() {
    const std::lock_guard lock(m_lock);
    m_allowed = true;
    apply();
}

void SwitchableThread::forbid() {
    const std::lock_guard lock(m_lock);
    m_allowed = false;
    apply();
}

} // namespace tavo
