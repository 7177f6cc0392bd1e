// One board of the service: a thread of its own opens it and looks at its links again and again, because both
// take long; everyone else sees what it saw last.
#pragma once

#include "bounds.h"
#include "local_mac.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace gbe_service {

class BoardWorker {
public:
    // Opening ---opened---> Open          a look at an Absent board tries to open it again
    //    |                   ^
    //    +---failed---> Absent +---opened
    enum class Phase { Opening, Open, Absent };

    struct View {
        Phase phase = Phase::Opening;
        std::array<std::optional<bool>, kPorts> linkUp; // nothing: not looked at yet
        // Of the network interfaces that ports are; each as it was when it was there last.
        std::array<std::optional<Mac>, kPorts> interfaceMacs;
        std::uint64_t looks = 0; // number of the last look that has ended
    };

    // `changed` is called by the thread after each change of the view. `expected`: a failure to open is told
    // on standard error.
    BoardWorker(unsigned board, bool expected, std::function<void()> changed);
    // The thread must have ended: waitForEnd said so.
    ~BoardWorker();
    BoardWorker(const BoardWorker&) = delete;
    BoardWorker& operator=(const BoardWorker&) = delete;

    unsigned board() const { return m_board; }
    View view() const;

    // Asks for a look at one port or all, begun after this call; it has ended when View::looks reaches the
    // result.
    std::uint64_t requestLook(std::optional<unsigned> port);

    void requestStop();
    enum class End { Ended, Opening, Stuck };
    // After requestStop: waits for the thread, which closes the board, until the deadline. A board that is
    // being opened is not waited for: it takes seconds, and whoever opens it next resets it.
    End waitForEnd(std::chrono::steady_clock::time_point deadline);

private:
    using Ports = std::array<bool, kPorts>;

    void run();
    bool beginOpening();
    void open();
    void close();
    void look(const Ports& ports);
    bool waitForWork(Ports& ports, std::uint64_t& number);
    bool stopRequested() const;

    const unsigned m_board;
    const bool m_expected;
    const std::function<void()> m_changed;

    mutable std::mutex m_mutex; // guards what follows, but the thread object
    std::condition_variable m_wake;
    std::condition_variable m_ended;
    View m_view;
    Ports m_wanted{};
    std::uint64_t m_requested = 0;
    bool m_opening = false;
    bool m_stop = false;
    bool m_end = false;

    std::thread m_thread;
};

} // namespace gbe_service
