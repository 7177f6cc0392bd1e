#include "streaming/StreamTable.h"

#include <limits>
#include <utility>
#include <vector>

namespace streaming {

// Never destroyed: threads of the application may still run while the process ends.
StreamTable& StreamTable::instance() {
    static StreamTable& all = *new StreamTable;
    return all;
}

GbeStream* StreamTable::add(std::shared_ptr<ImageStream> stream) {
    constexpr std::uintptr_t kLast = std::numeric_limits<std::uintptr_t>::max() / 2 - 1;
    const std::lock_guard lock(m_mutex);
    if (m_next > kLast) {
        return nullptr;
    }
    const std::uintptr_t value = valueOf(m_next++);
    m_streams.emplace(value, std::move(stream));
    return reinterpret_cast<GbeStream*>(value); // NOLINT(performance-no-int-to-ptr)
}

int StreamTable::missing(std::uintptr_t value) const {
    const bool wasGivenOut = value % 2 == 1 && value > valueOf(0) && value < valueOf(m_next);
    return wasGivenOut ? status::StreamClosed : status::IllegalParameter;
}

int StreamTable::find(const GbeStream* value, std::shared_ptr<ImageStream>& stream) const {
    const auto number = reinterpret_cast<std::uintptr_t>(value);
    const std::lock_guard lock(m_mutex);
    const auto found = m_streams.find(number);
    if (found == m_streams.end()) {
        return missing(number);
    }
    stream = found->second;
    return status::Success;
}

int StreamTable::take(const GbeStream* value, std::shared_ptr<ImageStream>& stream) {
    const auto number = reinterpret_cast<std::uintptr_t>(value);
    const std::lock_guard lock(m_mutex);
    const auto found = m_streams.find(number);
    if (found == m_streams.end()) {
        return missing(number);
    }
    stream = std::move(found->second);
    m_streams.erase(found);
    return status::Success;
}

// A stream that is being opened is in no table yet: the path tells it that the board has gone.
void StreamTable::endAll(int board, int reason) {
    std::vector<std::shared_ptr<ImageStream>> streams;
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& [value, stream] : m_streams) {
            if (stream->place().boardIndex == board) {
                streams.push_back(stream);
            }
        }
    }
    for (const auto& stream : streams) {
        stream->end(reason);
    }
}

} // namespace streaming
