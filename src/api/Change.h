// A change of a handle's connection, for a scope: it has the handle for itself, if the gate of
// api/connection_state.h lets it.
#pragma once

#include "api/connection_state.h"
#include "board/devices.h"

#include <memory>

struct CameraHandle;

namespace api {

class Change {
public:
    Change(CameraHandle& handle, Call call);
    // Somebody may have wished to free the handle meanwhile: then it is freed here.
    ~Change();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

    // The status that the gate refuses with; 0: the change may go on.
    int refused() const { return m_refused; }
    State before() const { return m_before; }
    // The state after the change; without it, the one before.
    void to(State state) { m_after = state; }

private:
    CameraHandle& m_handle;
    State m_before{};
    State m_after{};
    int m_refused = status::Success;
};

// Tells listeners what a change has made of control; status::Success. After the change: the handle is theirs
// to change again, and its caller does not touch it any more. Null is allowed.
int announced(const std::shared_ptr<board::Device>& device);

} // namespace api
