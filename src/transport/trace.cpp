#include "transport/trace.h"

#include "util/logging.h"

#include <QtCore/QByteArray>

Q_LOGGING_CATEGORY(transportLog, "liomol.transport", QtInfoMsg)

namespace trace {

void packet(Direction direction, int port, const void* data, unsigned length) {
    log_packet(direction, port, const_cast<void*>(data), length);
    qCDebug(transportLog).noquote()
        << (direction == Sent ? "sent" : "received") << "port" << port
        << QByteArray::fromRawData(static_cast<const char*>(data), static_cast<int>(length)).toHex(' ');
}

} // namespace trace
