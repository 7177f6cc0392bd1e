#include "BoardWorker.h"

#include "link_report/link_report.h"
#include "liomol/gige.h"

#include <cstdio>
#include <utility>

namespace gbe_service {

BoardWorker::BoardWorker(unsigned board, bool expected, std::function<void()> changed)
    : m_board(board), m_expected(expected), m_changed(std::move(changed)) {
    m_wanted.fill(true);
    m_thread = std::thread([this] { run(); });
}

BoardWorker::~BoardWorker() {
    m_thread.join();
}

BoardWorker::View BoardWorker::view() const {
    const std::lock_guard lock(m_mutex);
    return m_view;
}

std::uint64_t BoardWorker::requestLook(std::optional<unsigned> port) {
    const std::lock_guard lock(m_mutex);
    for (unsigned i = 0; i < kPorts; ++i) {
        m_wanted[i] = m_wanted[i] || !port || *port == i;
    }
    m_wake.notify_all();
    return ++m_requested;
}

void BoardWorker::requestStop() {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
    m_wake.notify_all();
}

BoardWorker::End BoardWorker::waitForEnd(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(m_mutex);
    m_ended.wait_until(lock, deadline, [this] { return m_end || m_opening; });
    return m_end ? End::Ended : m_opening ? End::Opening : End::Stuck;
}

void BoardWorker::run() {
    Ports ports{};
    for (std::uint64_t number = 0; waitForWork(ports, number);) {
        if (view().phase != Phase::Open && beginOpening()) {
            open();
            ports.fill(true);
        }
        if (view().phase == Phase::Open) {
            look(ports);
        }
        {
            const std::lock_guard lock(m_mutex);
            m_view.looks = number;
        }
        m_changed();
    }
    close();
    const std::lock_guard lock(m_mutex);
    m_end = true;
    m_ended.notify_all();
}

// Waits until a look is asked for or due; false when the thread is to end. An absent board is looked at only
// when asked for.
bool BoardWorker::waitForWork(Ports& ports, std::uint64_t& number) {
    std::unique_lock lock(m_mutex);
    const auto wanted = [this] { return m_stop || m_wanted != Ports{}; };
    if (m_view.phase == Phase::Absent) {
        m_wake.wait(lock, wanted);
    } else if (!m_wake.wait_for(lock, link_report::isSoftware() ? kLinkRefresh : kSeldomRefresh, wanted)) {
        m_wanted.fill(true);
    }
    ports = std::exchange(m_wanted, Ports{});
    number = m_requested;
    return !m_stop;
}

bool BoardWorker::beginOpening() {
    const std::lock_guard lock(m_mutex);
    m_opening = !m_stop;
    return m_opening;
}

void BoardWorker::open() {
    BoardHandle* none = nullptr;
    const int result = Gbe_initBoard(static_cast<int>(m_board), GBE_SERVICE_MODE, &none);
    const std::lock_guard lock(m_mutex);
    m_opening = false;
    const bool news = m_view.phase != Phase::Absent; // later failures say nothing new
    m_view.phase = result == 0 ? Phase::Open : Phase::Absent;
    if (result != 0 && m_expected && news) {
        std::fprintf(
            stderr, "gbe-service: board %u: %s (%d)\n", m_board, Gbe_getErrorDescription(result), result);
    }
}

// The service's way of opening gives no handle, so the board is closed through another one.
void BoardWorker::close() {
    BoardHandle* handle = nullptr;
    if (view().phase == Phase::Open && Gbe_initBoard(static_cast<int>(m_board), 0, &handle) == 0) {
        Gbe_freeBoard(handle);
    }
}

void BoardWorker::look(const Ports& ports) {
    for (unsigned port = 0; port < kPorts && !stopRequested(); ++port) {
        int up = 0;
        if (!ports[port]) {
            continue;
        }
        const bool known = Gbe_getLinkState(static_cast<int>(m_board), port, &up) == 0;
        const auto interface = link_report::ofPort(static_cast<int>(m_board), port);
        {
            const std::lock_guard lock(m_mutex);
            m_view.linkUp[port] = known && up != 0;
            if (interface && !interface->mac.isNone()) {
                m_view.interfaceMacs[port] = interface->mac;
            }
        }
        m_changed();
    }
}

bool BoardWorker::stopRequested() const {
    const std::lock_guard lock(m_mutex);
    return m_stop;
}

} // namespace gbe_service
