#include "api/handles.h"

#include <algorithm>
#include <vector>

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

void BoardSlots::put(int port, CameraHandle* camera) {
    const std::lock_guard lock(m_mutex);
    m_cameras.at(static_cast<std::size_t>(port)) = camera;
}

void BoardSlots::clear(int port, const CameraHandle* camera) {
    const std::lock_guard lock(m_mutex);
    CameraHandle*& slot = m_cameras.at(static_cast<std::size_t>(port));
    slot = slot == camera ? nullptr : slot;
}

bool BoardSlots::isFree(int port) const {
    const std::lock_guard lock(m_mutex);
    return m_cameras.at(static_cast<std::size_t>(port)) == nullptr;
}

std::array<CameraHandle*, board::kPorts> BoardSlots::all() const {
    const std::lock_guard lock(m_mutex);
    return m_cameras;
}

namespace {

// Heartbeats that were ended on their own threads.
struct Ending {
    std::mutex mutex;
    std::vector<GbeHeartbeatThread*> threads; // under mutex
};

// Never destroyed: threads of the application may still run while the process ends.
Ending& ending() {
    static Ending& all = *new Ending;
    return all;
}

void deleteEnded() {
    const std::lock_guard lock(ending().mutex);
    auto& threads = ending().threads;
    const auto ended = std::partition(threads.begin(), threads.end(), [](const GbeHeartbeatThread* thread) {
        return !thread->isFinished();
    });
    std::for_each(ended, threads.end(), [](GbeHeartbeatThread* thread) {
        thread->wait();
        delete thread;
    });
    threads.erase(ended, threads.end());
}

} // namespace

void StopHeartbeat::operator()(GbeHeartbeatThread* heartbeat) const {
    heartbeat->requestStop();
    deleteEnded();
    if (QThread::currentThread() == heartbeat) {
        const std::lock_guard lock(ending().mutex);
        ending().threads.push_back(heartbeat);
    } else {
        heartbeat->wait();
        delete heartbeat;
    }
}

} // namespace api
