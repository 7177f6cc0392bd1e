// What a verb runs with: the camera that was chosen, how it prints, and the connection.
#pragma once

#include "Session.h"

#include <optional>
#include <utility>

namespace gbe {

// Used by one thread.
class Context {
public:
    Selection selection;
    bool json = false;        // --json
    unsigned keepSeconds = 0; // --keep-control, for sessions that work with a camera; 0: not

    // A board and its camera, connected for a purpose. It stays until another camera is chosen or more is
    // wanted of this one, so that verbs that follow one another share it. Throws Failure.
    const Session& session(Purpose purpose);
    // Ends the connection; false when there is none.
    bool disconnect() { return std::exchange(m_session, std::nullopt).has_value(); }

private:
    void keepControl();

    std::optional<Session> m_session;
    Selection m_of;
    Purpose m_for = Purpose::Look;
    unsigned m_kept = 0; // seconds that are kept of each stop in this session
};

} // namespace gbe
