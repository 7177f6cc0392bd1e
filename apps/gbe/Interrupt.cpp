#include "Interrupt.h"

namespace gbe {
namespace {

volatile std::sig_atomic_t g_asked = 0;

void ask(int) {
    g_asked = 1;
}

} // namespace

Interrupt::Interrupt() {
    g_asked = 0;
    struct sigaction action {};
    action.sa_handler = &ask;
    action.sa_flags = SA_RESTART | SA_RESETHAND; // a second one ends the program as ever
    sigaction(SIGINT, &action, &m_onInterrupt);
    sigaction(SIGTERM, &action, &m_onTerminate);
}

Interrupt::~Interrupt() {
    sigaction(SIGINT, &m_onInterrupt, nullptr);
    sigaction(SIGTERM, &m_onTerminate, nullptr);
}

bool Interrupt::asked() const {
    return g_asked != 0;
}

} // namespace gbe
