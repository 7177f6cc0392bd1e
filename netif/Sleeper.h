// Sleeping until a socket has something, and being woken before.
#pragma once

#include <atomic>
#include <chrono>

namespace netif {

// One thread sleeps at a time; wake() may come from any thread at any time.
class Sleeper {
public:
    Sleeper();
    ~Sleeper();
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    // False when the system had no file for it (errno tells).
    bool good() const { return m_event >= 0; }

    // Until something comes in at `file`, wake() is called or has been called since the last sleep, or
    // `deadline`. What poll() says of the file.
    short sleep(int file, std::chrono::steady_clock::time_point deadline);

    void wake();
    // Whether wake() was called since the last sleep; it counts no more then.
    bool takeWake();

private:
    void forget();

    const int m_event;
    std::atomic<bool> m_woken{false};
};

} // namespace netif
