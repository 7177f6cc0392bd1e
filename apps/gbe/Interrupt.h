// Ctrl-C, and what ends a service, as a wish: while an Interrupt lives they end nothing by themselves, so
// that the camera is told to stop. One at a time.
#pragma once

#include <csignal>

namespace gbe {

class Interrupt {
public:
    Interrupt();
    ~Interrupt(); // the signals do again what they did
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool asked() const;

private:
    struct sigaction m_onInterrupt {};
    struct sigaction m_onTerminate {};
};

} // namespace gbe
