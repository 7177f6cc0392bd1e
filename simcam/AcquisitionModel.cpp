#include "simcam/AcquisitionModel.h"

#include "protocol/gvsp.h"

#include <algorithm>

namespace simcam {

using gvcp::Status;
using std::chrono::nanoseconds;

namespace {

enum Mode : std::uint64_t { kContinuous, kSingleFrame, kMultiFrame };

constexpr double kReadoutSeconds = 0.0005; // what a frame takes beside its exposure
constexpr std::int64_t kNanosecondsPerExposureUnit = 100;
constexpr std::uint64_t kNanosecondsPerTick = 8; // of the timestamp counter
constexpr std::uint64_t kSoftware = 0;           // of TriggerSource; nothing is wired to the lines

// Writing one of these changes the time from frame to frame.
constexpr std::array kPacing{
    Reg::FrameRate, Reg::FrameRateEnable, Reg::ExposureTime, Reg::ThroughputLimit, Reg::ThroughputLimitMode};

constexpr double kBytesPerMegabit = 125000;

} // namespace

// --- rates ---

nanoseconds AcquisitionModel::exposure() const {
    return nanoseconds(
        static_cast<std::int64_t>(m_registers.get(Reg::ExposureTime)) * kNanosecondsPerExposureUnit);
}

double AcquisitionModel::bytesPerSecond() const {
    const bool limited = m_registers.get(Reg::ThroughputLimitMode) != 0;
    const double link = static_cast<double>(m_registers.get(Reg::LinkSpeed)) * kBytesPerMegabit;
    const double limit = static_cast<double>(m_registers.get(Reg::ThroughputLimit));
    return std::max(limited ? std::min(limit, link) : link, kBytesPerMegabit);
}

nanoseconds AcquisitionModel::packetDelay() const {
    return nanoseconds(m_registers.get(Reg::StreamPacketDelay) * kNanosecondsPerTick);
}

// Of one frame.
double AcquisitionModel::secondsToSend() const {
    const std::uint64_t payload = std::max<std::uint64_t>(m_registers.get(Reg::PayloadSize), 1);
    const std::uint64_t size = m_registers.get(Reg::StreamPacketSize) & bootstrap::kPacketSizeMask;
    const std::uint64_t room = size - gvsp::kExtendedPacketOverhead;
    const double pauses = static_cast<double>((payload + room - 1) / room + 1);
    return static_cast<double>(payload) / bytesPerSecond() +
           pauses * std::chrono::duration<double>(packetDelay()).count();
}

double AcquisitionModel::maxFrameRate() const {
    const double seconds = std::chrono::duration<double>(exposure()).count() + kReadoutSeconds;
    return 1.0 / std::max(seconds, secondsToSend());
}

nanoseconds AcquisitionModel::period() const {
    double rate = maxFrameRate();
    if (m_registers.get(Reg::FrameRateEnable) != 0) {
        rate = std::min(rate, m_registers.getFloat(Reg::FrameRate));
    }
    return nanoseconds(static_cast<std::int64_t>(1e9 / rate));
}

// --- what happens ---

void AcquisitionModel::start(Time now) {
    if (isAcquiring()) {
        return;
    }
    std::ranges::fill(m_triggers, 0);
    m_triggeredAt.reset();
    m_toGo.reset();
    const std::uint64_t mode = m_registers.get(Reg::AcquisitionMode);
    if (mode != kContinuous) {
        m_toGo = mode == kSingleFrame ? 1 : m_registers.get(Reg::AcquisitionFrameCount);
    }
    ++m_starts;
    m_lastStart = now;
    m_state = State::Waiting;
    if (!triggered(kAcquisitionStart)) {
        run(now);
    }
}

void AcquisitionModel::run(Time now) {
    m_state = State::Running;
    m_next = now + period();
}

void AcquisitionModel::softwareTrigger(std::uint32_t index, Time now) {
    const auto trigger = static_cast<Trigger>(index);
    const bool listens = triggered(trigger) && m_registers.get(Reg::TriggerSource, index) == kSoftware;
    const bool wanted = trigger == kAcquisitionStart ? m_state == State::Waiting
                                                     : m_state == State::Running && !m_triggeredAt;
    if (!listens || !wanted) {
        ++m_missed;
        return;
    }
    if (++m_triggers[index] % m_registers.get(Reg::TriggerDivider, index) != 0) {
        return;
    }
    if (trigger == kAcquisitionStart) {
        run(now);
        return;
    }
    m_triggeredFrames = m_registers.get(Reg::TriggerMultiplier, index);
    if (trigger == kBurstStart) {
        m_triggeredFrames *= m_registers.get(Reg::BurstFrameCount);
    }
    m_triggeredAt = now + std::chrono::microseconds(m_registers.get(Reg::TriggerDelay, index));
}

void AcquisitionModel::stop() {
    m_state = State::Idle;
    skipWaiting();
}

void AcquisitionModel::skipWaiting() {
    m_skipped += m_waiting.size();
    m_waiting.clear();
}

void AcquisitionModel::expose(std::uint64_t count, Time last, nanoseconds step) {
    if (m_toGo) {
        count = std::min(count, *m_toGo);
        *m_toGo -= count;
        if (*m_toGo == 0) {
            m_state = State::Idle;
        }
    }
    if (count == 0) {
        return;
    }
    m_frames += count;
    m_counted += count;
    m_lastFrame = last;
    if (m_registers.get(Reg::StreamPort) != 0 && m_registers.get(Reg::StreamDestination) != 0) {
        keep(count, last, step);
    }
}

// The newest frames stay: who looks at them is better off with a gap than with a delay that grows.
void AcquisitionModel::keep(std::uint64_t count, Time last, nanoseconds step) {
    const std::size_t limit = freeRunning() ? kWaitingFrames : kWaitingTriggeredFrames;
    const std::uint64_t kept = std::min<std::uint64_t>(count, limit);
    m_skipped += count - kept;
    for (std::uint64_t before = kept; before-- > 0;) {
        m_waiting.push_back({m_frames - before, last - static_cast<std::int64_t>(before) * step});
    }
    while (m_waiting.size() > limit) {
        m_waiting.pop_front();
        ++m_skipped;
    }
}

std::optional<AcquisitionModel::Exposure> AcquisitionModel::takeExposure() {
    if (m_waiting.empty()) {
        return std::nullopt;
    }
    const Exposure oldest = m_waiting.front();
    m_waiting.pop_front();
    return oldest;
}

std::optional<Time> AcquisitionModel::deadline() const {
    if (m_state != State::Running) {
        return std::nullopt;
    }
    return freeRunning() ? std::optional(m_next) : m_triggeredAt;
}

void AcquisitionModel::advance(Time now) {
    if (m_state == State::Running && m_triggeredAt && *m_triggeredAt <= now) {
        const Time at = *m_triggeredAt;
        m_triggeredAt.reset();
        expose(m_triggeredFrames, at, nanoseconds(0));
    }
    if (m_state == State::Running && freeRunning() && m_next <= now) {
        const nanoseconds step = period();
        const auto more = static_cast<std::uint64_t>((now - m_next) / step);
        const Time last = m_next + static_cast<std::int64_t>(more) * step;
        m_next = last + step;
        expose(more + 1, last, step);
    }
}

// --- registers ---

bool AcquisitionModel::waitsForFrameTrigger() const {
    return m_state == State::Running && !freeRunning() && !m_triggeredAt;
}

void AcquisitionModel::showStatus(Time now) {
    m_exposing = m_lastFrame && now - *m_lastFrame < exposure();
    const bool status[] = {
        m_state == State::Waiting, m_state == State::Running, waitsForFrameTrigger(), m_exposing};
    m_registers.set(Reg::AcquisitionStatus, status[m_registers.get(Reg::AcquisitionStatusSelector)]);
    m_registers.setFloat(Reg::FrameRateMax, maxFrameRate());
    m_registers.set(Reg::TriggersMissed, m_missed);
}

void AcquisitionModel::refresh(Time now) {
    advance(now);
    showStatus(now);
}

Status AcquisitionModel::check(const Candidate& candidate) const {
    const bool mode = candidate.reg == Reg::AcquisitionMode || candidate.reg == Reg::AcquisitionFrameCount ||
                      candidate.reg == Reg::TriggerMode;
    return mode && isAcquiring() ? Status::Busy : Status::Success;
}

void AcquisitionModel::written(Reg reg, std::uint32_t index, Time now) {
    if (fact(reg).role == Role::Trigger) {
        const bool fires = m_registers.get(reg, index) != 0;
        if (fires) {
            fire(reg, index, now);
        }
    } else if (std::ranges::count(kPacing, reg) > 0) { // the frame that is under way takes the new period
        m_next = std::max(now, m_lastFrame.value_or(now) + period());
    }
}

void AcquisitionModel::fire(Reg command, std::uint32_t index, Time now) {
    switch (command) {
    case Reg::AcquisitionStart:
        start(now);
        break;
    case Reg::AcquisitionStop:
    case Reg::AcquisitionAbort:
        stop();
        break;
    case Reg::TriggerSoftware:
        softwareTrigger(index, now);
        break;
    case Reg::StatisticsReset:
        m_counted = 0;
        m_skipped = 0;
        m_missed = 0;
        break;
    default:
        return; // another model's
    }
    m_registers.set(command, 0, index);
}

} // namespace simcam
