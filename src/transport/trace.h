// The one place where every frame that is sent or received passes a diagnostic's eye.
#pragma once

#include <QtCore/QLoggingCategory>

// Bytes of all frames, at debug level; off unless a user enables "liomol.transport.debug".
Q_DECLARE_LOGGING_CATEGORY(transportLog)

namespace trace {

enum Direction { Received = 0, Sent = 1 };

// Hands a frame to the packet log and, when enabled, to the logging category. Any thread.
void packet(Direction direction, int port, const void* data, unsigned length);

} // namespace trace
