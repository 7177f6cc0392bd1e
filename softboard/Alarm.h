// Waking one thread at a time that may be put off again and again, without waking it for that.
#pragma once

#include <chrono>

namespace softboard {

// Setting and clearing cost no more than a call to the system; any thread may do it. Throws
// std::system_error when the system has no timer for it.
class Alarm {
public:
    Alarm();
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    // Rings once, `after` from now; one that was set before does not.
    void set(std::chrono::nanoseconds after);
    // One that has rung and was not awaited counts no more, either.
    void clear();
    // Until it rings.
    void await();

private:
    void setTime(std::chrono::nanoseconds after);

    const int m_timer;
};

} // namespace softboard
