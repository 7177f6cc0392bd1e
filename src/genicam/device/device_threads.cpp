// The threads of a device that poll commands and report changes, and the end of all its threads.
#include "genicam/device/ImplGenICamCamera.h"

#include <algorithm>

namespace tavo {
namespace {

// The sleep between two looks at the commands is cut, so that a changed time takes effect soon.
constexpr long long kPollingSlices = 20;
// Of a slice, in milliseconds: no sleep at all would leave no time for others, and a clock counts only so
// far.
constexpr long long kShortestSlice = 1;
constexpr long long kLongestSlice = 365LL * 24 * 3600 * 1000;

} // namespace

void ImplGenICamCamera::asyncPollingMethod(HelperThread& thread) {
    const std::vector<ImplGenICamNode*> commands = getCommandNodes();
    for (;;) {
        for (ImplGenICamNode* const command : commands) {
            notifyNodeHasBeenInvalidated(command, false);
        }
        for (long long slice = 0; slice < kPollingSlices; ++slice) {
            const long long time =
                std::clamp(getPollingSleepTime() / kPollingSlices, kShortestSlice, kLongestSlice);
            if (!thread.sleepUnlessCancelled(std::chrono::milliseconds(time))) {
                return;
            }
        }
    }
}

void ImplGenICamCamera::asyncSignallingMethod(HelperThread& thread) {
    reportChanges(m_commons->changes, thread);
}

// Does without the device, which a listener may destroy; the notice keeps the tree of its node. The queue's
// lock is free while a node updates, so that a listener may cause new notices.
void ImplGenICamCamera::reportChanges(ChangeQueue& changes, HelperThread& thread) {
    while (!thread.isCancelRequested()) {
        const ChangeQueue::Notice notice = changes.take();
        if (notice.node != nullptr) {
            notice.node->performSignalUpdate(notice.trigger);
        }
        if (notice.task) {
            notice.task();
        }
    }
}

// The retrieving thread first: at its end it lets the other two run.
void ImplGenICamCamera::stopAsyncMethods() {
    if (!m_presence->mustReturn()) {
        const std::lock_guard control(m_presence->control);
        joinRetrieving();
    }
    m_polling.forbid();
    m_signalling.forbid();
    m_polling.waitUntilIdle();
    m_signalling.waitUntilIdle();
}

} // namespace tavo
