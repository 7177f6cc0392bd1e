#include "streaming/CurrentStream.h"

#include <utility>

namespace streaming {

bool CurrentStream::take(std::shared_ptr<ImageStream> stream) {
    std::shared_ptr<ImageStream> earlier; // ends when the lock is not held any more
    const std::lock_guard lock(m_mutex);
    if (m_stream != nullptr && !m_stream->isEnded()) {
        return false;
    }
    earlier = std::exchange(m_stream, std::move(stream));
    return true;
}

std::shared_ptr<ImageStream> CurrentStream::get() const {
    const std::lock_guard lock(m_mutex);
    return m_stream;
}

void CurrentStream::restart() const {
    if (const auto stream = get()) {
        stream->restart();
    }
}

void CurrentStream::count() const {
    if (const auto stream = get()) {
        stream->count();
    }
}

void CurrentStream::fail(int reason) const {
    if (const auto stream = get()) {
        stream->fail(reason);
    }
}

void CurrentStream::end(int reason) const {
    if (const auto stream = get()) {
        stream->end(reason);
    }
}

} // namespace streaming
