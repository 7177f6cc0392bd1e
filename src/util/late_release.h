// Keeps what queued signals may still name until they have been delivered.
#pragma once

#include <memory>

namespace util {

// Whoever makes objects that send signals calls this in the thread that connects to them: what is released
// late waits for what is queued for that thread.
void expectQueuedSignals();

// Keeps `object` until every such thread, and the thread of the application object, has gone through the
// events that were queued for it before this call, or has ended. A thread without a running event loop cannot
// say so: of what it keeps only the latest 16 stay, since trees of nodes take megabytes. The object is
// released in one of these threads, or in this one.
void releaseAfterQueuedSignals(std::shared_ptr<void> object);

} // namespace util
