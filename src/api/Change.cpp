#include "api/Change.h"

#include "api/disconnecting.h"
#include "api/handles.h"
#include "api/refusals.h"

namespace api {

Change::Change(CameraHandle& handle, Call call) : m_handle(handle) {
    do {
        m_before = handle.connection.load();
        m_refused = allowed(handle.shown(m_before), call);
    } while (m_refused == status::Success &&
             !handle.connection.compare_exchange_weak(m_before, State::Changing));
    m_after = m_before;
    if (m_refused != status::Success) {
        refusedInState(handle, handle.shown(m_before), m_refused);
    }
}

Change::~Change() {
    State changing = State::Changing;
    if (m_refused == status::Success && !m_handle.connection.compare_exchange_strong(changing, m_after)) {
        freeHandle(&m_handle);
    }
}

int announced(const std::shared_ptr<board::Device>& device) {
    if (device != nullptr) {
        device->announceControlLoss();
    }
    return status::Success;
}

} // namespace api
