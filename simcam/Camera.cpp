#include "simcam/Camera.h"

#include <utility>

namespace simcam {

std::unique_ptr<Camera> Camera::make(const ethernet::Settings& settings, std::string& error) {
    const auto parsed = parseSettings(settings, error);
    if (!parsed) {
        return nullptr;
    }
    auto description = makeDescription(*parsed, error);
    if (!description) {
        error = "camera: " + error;
        return nullptr;
    }
    return std::unique_ptr<Camera>(new Camera(*parsed, *description));
}

Camera::Camera(const CameraSettings& settings, const Description& description)
    : m_core(settings, description, Clock::now()), m_thread([this] { run(); }) {}

Camera::~Camera() {
    {
        const std::scoped_lock lock(m_inboxMutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void Camera::plug(ethernet::FrameSink sink) {
    const std::scoped_lock lock(m_sinkMutex);
    m_sink = std::move(sink);
}

void Camera::receive(const std::uint8_t* frame, std::size_t size) {
    if (frame == nullptr || size > kMaxFrame) {
        return;
    }
    {
        const std::scoped_lock lock(m_inboxMutex);
        if (m_inbox.size() >= kInboxFrames) {
            ++m_dropped;
            return;
        }
        m_inbox.emplace_back(frame, frame + size);
    }
    m_wake.notify_one();
}

// Waits until frames arrived or the core has something due; false when the camera is to stop.
bool Camera::waitForWork(std::deque<Bytes>& frames) {
    std::unique_lock lock(m_inboxMutex);
    const auto ready = [this] { return m_stop || !m_inbox.empty(); };
    if (m_next) {
        m_wake.wait_until(lock, *m_next, ready);
    } else {
        m_wake.wait(lock, ready);
    }
    frames = std::exchange(m_inbox, {});
    return !m_stop;
}

std::vector<Bytes> Camera::work(const std::deque<Bytes>& frames, std::optional<Time>& next) {
    const std::scoped_lock lock(m_coreMutex);
    const Time now = Clock::now();
    for (const Bytes& frame : frames) {
        m_core.receive(frame, now);
    }
    auto due = m_core.due(now);
    next = m_core.deadline();
    return due;
}

void Camera::run() {
    std::deque<Bytes> frames;
    while (waitForWork(frames)) {
        const auto due = work(frames, m_next);
        const std::scoped_lock lock(m_sinkMutex);
        for (const Bytes& frame : due) {
            if (m_sink) {
                m_sink(frame.data(), frame.size());
            }
        }
    }
}

Report Camera::report() {
    const std::scoped_lock lock(m_coreMutex);
    return m_core.report(Clock::now());
}

std::optional<Bytes> Camera::peek(Address address, std::size_t count) {
    const std::scoped_lock lock(m_coreMutex);
    return m_core.memory().peek(address, count, Clock::now());
}

bool Camera::poke(Address address, ByteView bytes) {
    const std::scoped_lock lock(m_coreMutex);
    return m_core.memory().poke(address, bytes, Clock::now());
}

std::optional<std::uint32_t> Camera::peekRegister(Address address) {
    const auto bytes = peek(address, sizeof(std::uint32_t));
    return bytes ? std::optional(Reader(*bytes).u32()) : std::nullopt;
}

bool Camera::pokeRegister(Address address, std::uint32_t value) {
    return poke(address, Writer().u32(value).view());
}

std::uint64_t Camera::dropped() const {
    const std::scoped_lock lock(m_inboxMutex);
    return m_dropped;
}

} // namespace simcam
