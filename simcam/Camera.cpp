#include "simcam/Camera.h"

#include "simcam/state_file.h"

#include <utility>

namespace simcam {

std::unique_ptr<Camera>
Camera::make(const ethernet::Settings& settings, std::string& error, NoticeSink notices) {
    auto parsed = parseSettings(settings, error);
    if (!parsed) {
        return nullptr;
    }
    auto description = makeDescription(*parsed, error);
    auto kept = description ? readState(parsed->stateFile, error) : std::nullopt;
    if (!kept) {
        error = "camera: " + error;
        return nullptr;
    }
    Made made{std::move(*parsed), std::move(*description), std::move(*kept)};
    return std::unique_ptr<Camera>(new Camera(std::move(made), std::move(notices)));
}

Camera::Camera(Made made, NoticeSink notices)
    : m_plain(made.settings.plainMemory), m_stateFile(made.settings.stateFile), m_notices(notices),
      m_core(
          std::move(made.settings), std::move(made.description), Clock::now(), std::move(notices), made.kept),
      m_thread([this] { run(); }) {}

Camera::~Camera() {
    {
        const std::scoped_lock lock(m_inboxMutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void Camera::plug(ethernet::FrameSink sink) {
    plug(std::move(sink), {});
}

void Camera::plug(ethernet::FrameSink sink, BatchSink batches) {
    const std::scoped_lock lock(m_sinkMutex);
    m_sink = std::move(sink);
    m_batchSink = std::move(batches);
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
    const auto ready = [this] { return m_stop || m_acted || !m_inbox.empty(); };
    if (m_next) {
        m_wake.wait_until(lock, *m_next, ready);
    } else {
        m_wake.wait(lock, ready);
    }
    frames = std::exchange(m_inbox, {});
    m_acted = false;
    return !m_stop;
}

// One turn of the camera: what the frames do, what is due then, and what it has to keep.
Camera::Turn Camera::work(const std::deque<Bytes>& frames) {
    const std::scoped_lock lock(m_coreMutex);
    const Time now = Clock::now();
    for (const Bytes& frame : frames) {
        m_core.receive(frame, now);
    }
    Turn turn;
    turn.due = m_core.due(now, m_packets);
    turn.kept = m_stateFile.empty() ? std::nullopt : m_core.changedNonvolatile();
    m_next = m_core.deadline();
    return turn;
}

void Camera::run() {
    std::deque<Bytes> frames;
    while (waitForWork(frames)) {
        const Turn turn = work(frames);
        if (turn.kept) { // before the answer that says so
            if (!writeState(m_stateFile, *turn.kept)) {
                tell(m_notices, Notice::State, "'" + m_stateFile + "' cannot be written");
            }
        }
        send(turn.due);
    }
}

void Camera::send(const std::vector<Bytes>& frames) {
    const std::scoped_lock lock(m_sinkMutex);
    if (!m_sink) {
        return;
    }
    for (const Bytes& frame : frames) {
        m_sink(frame.data(), frame.size());
    }
    if (m_batchSink) {
        m_batchSink(m_packets.frames());
        return;
    }
    for (const auto& [own, shared] : m_packets.frames()) {
        m_frame.assign(own.begin(), own.end());
        m_frame.insert(m_frame.end(), shared.begin(), shared.end());
        m_sink(m_frame.data(), m_frame.size());
    }
}

void Camera::wake() {
    {
        const std::scoped_lock lock(m_inboxMutex);
        m_acted = true;
    }
    m_wake.notify_one();
}

void Camera::reboot(milliseconds silent) {
    act([&] { m_core.reboot(Clock::now(), silent); });
}

void Camera::silence(milliseconds time) {
    act([&] { m_core.silence(Clock::now() + time); });
}

void Camera::setLinkFaults(const LinkFaults& faults) {
    act([&] { m_core.setLinkFaults(faults); });
}

void Camera::setSlowWrites(std::vector<SlowWrite> slow) {
    act([&] { m_core.setSlowWrites(std::move(slow)); });
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
    bool done = false;
    act([&] { done = m_core.memory().poke(address, bytes, Clock::now()); });
    return done;
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
