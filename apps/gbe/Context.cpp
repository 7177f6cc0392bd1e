#include "Context.h"

namespace gbe {

const Session& Context::session(Purpose purpose) {
    const bool serves = m_session && m_of == selection && purpose <= m_for;
    if (!serves) {
        m_session.reset();
        m_session.emplace(selection, purpose);
        m_of = selection;
        m_for = purpose;
    }
    return *m_session;
}

} // namespace gbe
