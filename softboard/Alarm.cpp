#include "softboard/Alarm.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

namespace softboard {

Alarm::Alarm() : m_timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)) {
    if (m_timer < 0) {
        throw std::system_error(errno, std::generic_category(), "timer");
    }
}

Alarm::~Alarm() {
    close(m_timer);
}

void Alarm::set(std::chrono::nanoseconds after) {
    setTime(std::max(after, std::chrono::nanoseconds(1))); // none at all would clear it
}

void Alarm::clear() {
    setTime(std::chrono::nanoseconds(0));
}

void Alarm::setTime(std::chrono::nanoseconds after) {
    constexpr long long kSecond = 1000000000;
    itimerspec time{};
    time.it_value.tv_sec = static_cast<std::time_t>(after.count() / kSecond);
    time.it_value.tv_nsec = static_cast<long>(after.count() % kSecond);
    timerfd_settime(m_timer, 0, &time, nullptr);
}

void Alarm::await() {
    std::uint64_t times = 0;
    while (read(m_timer, &times, sizeof times) < 0 && errno == EINTR) {
    }
}

} // namespace softboard
