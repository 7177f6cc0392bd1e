#include "transport/trace.h"

#include "util/logging.h"

#include <QtCore/QByteArray>

#include <atomic>
#include <mutex>

Q_LOGGING_CATEGORY(transportLog, "liomol.transport", QtInfoMsg)

namespace trace {
namespace {

struct Listener {
    std::mutex mutex;
    GbeFrameListener call = nullptr; // under mutex, as the next one
    void* user = nullptr;
};

// Looked at for every frame.
std::atomic<bool> isHeard{false};

Listener& listener() {
    static Listener& one = *new Listener; // threads of the application may still speak while the process ends
    return one;
}

} // namespace

void listen(GbeFrameListener call, void* user) {
    Listener& one = listener();
    const std::lock_guard lock(one.mutex);
    one.call = call;
    one.user = user;
    isHeard.store(call != nullptr, std::memory_order_relaxed);
}

void packet(Direction direction, int board, int port, const void* data, unsigned length) {
    if (isHeard.load(std::memory_order_relaxed)) {
        Listener& one = listener();
        const std::lock_guard lock(one.mutex);
        if (one.call != nullptr) {
            one.call(one.user, board, static_cast<unsigned>(port), direction, data, length);
        }
    }
    log_packet(direction, port, const_cast<void*>(data), length);
    qCDebug(transportLog).noquote()
        << (direction == Sent ? "sent" : "received") << "port" << port
        << QByteArray::fromRawData(static_cast<const char*>(data), static_cast<int>(length)).toHex(' ');
}

} // namespace trace
