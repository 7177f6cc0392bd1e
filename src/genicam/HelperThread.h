// A thread of a device that ends when it is asked to.
#pragma once

#include "util/qt_locks.h"

#include <QtCore/QThread>

#include <atomic>
#include <functional>

namespace tavo {

// Runs `body` once for each start. requestCancel and isCancelRequested may be called from any thread.
class HelperThread : public QThread {
public:
    explicit HelperThread(std::function<void()> body) : m_body(std::move(body)) {}

    void requestCancel() { m_cancel.store(true); }
    bool isCancelRequested() const { return m_cancel.load(); }
    void resetCancelRequested() { m_cancel.store(false); }

    // Waits without limit. What the body did is seen after it.
    void join() {
        wait();
        util::happensAfter(this);
    }

private:
    void run() override {
        m_body();
        util::happensBefore(this);
    }

    std::function<void()> m_body;
    std::atomic<bool> m_cancel{false};
};

} // namespace tavo
