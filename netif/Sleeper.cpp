#include "netif/Sleeper.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace netif {

namespace {

using Clock = std::chrono::steady_clock;

timespec until(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now()).count();
    constexpr long long kSecond = 1000000000;
    const long long wait = std::max<long long>(left, 0);
    timespec time{};
    time.tv_sec = static_cast<std::time_t>(wait / kSecond);
    time.tv_nsec = static_cast<long>(wait % kSecond);
    return time;
}

} // namespace

Sleeper::Sleeper() : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Sleeper::~Sleeper() {
    if (good()) {
        close(m_event);
    }
}

short Sleeper::sleep(int file, Clock::time_point deadline) {
    const timespec time = until(deadline);
    pollfd waiting[] = {{file, POLLIN, 0}, {m_event, POLLIN, 0}};
    if (ppoll(waiting, std::size(waiting), &time, nullptr) <= 0) {
        return 0;
    }
    if (waiting[1].revents != 0) {
        forget();
    }
    return waiting[0].revents;
}

void Sleeper::wake() {
    m_woken.store(true, std::memory_order_release);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t done = write(m_event, &one, sizeof one);
}

bool Sleeper::takeWake() {
    if (!m_woken.load(std::memory_order_relaxed)) {
        return false;
    }
    forget();
    return true;
}

// The file is read in any case: it may be written to a moment after the mark is set.
void Sleeper::forget() {
    m_woken.store(false, std::memory_order_relaxed);
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t done = read(m_event, &count, sizeof count);
}

} // namespace netif
