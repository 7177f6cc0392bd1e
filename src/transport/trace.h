// The one place where every frame that is sent or received passes a diagnostic's eye.
#pragma once

#include "liomol/diagnostics.h"

#include <QtCore/QLoggingCategory>

// Bytes of all frames, at debug level; off unless a user enables "liomol.transport.debug".
Q_DECLARE_LOGGING_CATEGORY(transportLog)

namespace trace {

enum Direction { Received = 0, Sent = 1 };

// Hands a frame to the packet log and, when there are any, to the logging category and the listener. Any
// thread.
void packet(Direction direction, int board, int port, const void* data, unsigned length);

// As Gbe_setFrameListener has it. Waits for a call of the earlier listener that is under way.
void listen(GbeFrameListener listener, void* user);

} // namespace trace
