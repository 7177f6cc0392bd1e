#include "Context.h"

#include <utility>

namespace gbe {

const Session& Context::session(Purpose purpose) {
    const bool serves = m_session && m_of == selection && purpose <= m_for;
    if (!serves) {
        m_session.reset();
        m_session.emplace(selection, purpose);
        m_of = selection;
        m_for = purpose;
        m_kept = 0;
    }
    keepControl();
    return *m_session;
}

// A wish that fails is given up: it is not the next verb's.
void Context::keepControl() {
    if (m_for == Purpose::Look || keepSeconds == m_kept) {
        return;
    }
    const unsigned wish = std::exchange(keepSeconds, m_kept);
    check("keeping control while stopped", Gbe_keepControlWhileStopped(m_session->camera.get(), wish));
    keepSeconds = m_kept = wish;
}

} // namespace gbe
