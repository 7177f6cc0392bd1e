#include "softboard/StreamTimer.h"

namespace softboard {

StreamTimer::~StreamTimer() {
    leave();
    join();
}

void StreamTimer::start() {
    const std::lock_guard lock(m_joining);
    m_thread = std::thread([this] { run(); });
}

void StreamTimer::hurry() {
    {
        const std::lock_guard lock(m_mutex);
        m_hurry = true;
    }
    m_changed.notify_one();
}

void StreamTimer::leave() {
    {
        const std::lock_guard lock(m_mutex);
        m_leave = true;
    }
    m_changed.notify_one();
}

void StreamTimer::join() {
    const std::lock_guard lock(m_joining);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void StreamTimer::run() {
    const auto called = [this] { return m_hurry || m_leave; };
    std::unique_lock lock(m_mutex);
    while (!m_leave) {
        m_hurry = false;
        lock.unlock();
        const auto deadline = m_stream.tend().due;
        lock.lock();
        if (deadline) {
            m_changed.wait_until(lock, *deadline, called);
        } else {
            m_changed.wait(lock, called);
        }
    }
}

} // namespace softboard
