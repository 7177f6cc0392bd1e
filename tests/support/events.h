// The event loop of a test's main thread, for queued signals.
#pragma once

#include "support/wait.h"
#include "util/qt_locks.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

// Delivers what is queued, also late deletions. Qt hands a queued call and its arguments over by a lock
// inside Qt, which ThreadSanitizer cannot see: it does not look at what this thread does here.
inline void processEvents() {
    const util::InsideQt quiet;
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Waits for a condition, and meanwhile delivers what is queued.
template<typename Condition> bool eventuallyHeard(Condition&& condition) {
    return eventually([&] {
        processEvents();
        return condition();
    });
}
