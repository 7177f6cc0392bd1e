#include "api/handles.h"

namespace api {

const char* HandedTexts::keepFor(std::string_view feature, std::string text) {
    const std::lock_guard lock(m_mutex);
    auto place = m_byFeature.find(feature);
    if (place == m_byFeature.end()) {
        place = m_byFeature.emplace(feature, std::string()).first;
    }
    place->second = std::move(text);
    return place->second.c_str();
}

const char* HandedTexts::intern(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    auto place = m_interned.find(text);
    if (place == m_interned.end()) {
        place = m_interned.emplace(text).first;
    }
    return place->c_str();
}

void HandedTexts::clear() {
    const std::lock_guard lock(m_mutex);
    m_byFeature.clear();
    m_interned.clear();
}

void StopHeartbeat::operator()(GbeHeartbeatThread* heartbeat) const {
    heartbeat->requestStop();
    heartbeat->wait();
    delete heartbeat;
}

} // namespace api
