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
constexpr std::uint64_t kLeaderBytes = gvsp::kPacketOverhead + 36; // of an image
constexpr std::uint64_t kTrailerBytes = gvsp::kPacketOverhead + 8;
constexpr std::uint64_t kSoftware = 0; // of TriggerSource; nothing is wired to the lines

// Writing one of these changes the time from frame to frame.
constexpr std::array kPacing{
    Reg::FrameRate, Reg::FrameRateEnable, Reg::ExposureTime, Reg::ThroughputLimit, Reg::ThroughputLimitMode};

struct FrameCost {
    std::uint64_t packets;
    std::uint64_t bytes;
};

FrameCost costOf(std::uint64_t payload, std::uint64_t packetSize) {
    const std::uint64_t room = packetSize - gvsp::kPacketOverhead;
    const std::uint64_t data = (payload + room - 1) / room;
    return {data + 2, payload + data * gvsp::kPacketOverhead + kLeaderBytes + kTrailerBytes};
}

} // namespace

// --- rates ---

nanoseconds AcquisitionModel::exposure() const {
    return nanoseconds(
        static_cast<std::int64_t>(m_registers.get(Reg::ExposureTime)) * kNanosecondsPerExposureUnit);
}

double AcquisitionModel::maxFrameRate() const {
    const double seconds = std::chrono::duration<double>(exposure()).count() + kReadoutSeconds;
    const double payload = static_cast<double>(std::max<std::uint64_t>(m_registers.get(Reg::PayloadSize), 1));
    const bool limited = m_registers.get(Reg::ThroughputLimitMode) != 0;
    const RegisterFact& link = fact(Reg::ThroughputLimit);
    const double bytesPerSecond =
        limited ? static_cast<double>(m_registers.get(Reg::ThroughputLimit)) : static_cast<double>(link.high);
    return std::min(1.0 / seconds, bytesPerSecond / payload);
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

void AcquisitionModel::expose(std::uint64_t count, Time last) {
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
    m_lastFrame = last;
    m_statistics.frames += count;
    if (m_registers.get(Reg::StreamPort) != 0 && m_registers.get(Reg::StreamDestination) != 0) {
        const auto cost =
            costOf(m_registers.get(Reg::PayloadSize), m_registers.get(Reg::StreamPacketSize) & 0xFFFF);
        m_statistics.packets += count * cost.packets;
        m_statistics.bytes += count * cost.bytes;
    }
}

void AcquisitionModel::advance(Time now) {
    if (m_state == State::Running && m_triggeredAt && *m_triggeredAt <= now) {
        const Time at = *m_triggeredAt;
        m_triggeredAt.reset();
        expose(m_triggeredFrames, at);
    }
    if (m_state == State::Running && freeRunning() && m_next <= now) {
        const nanoseconds step = period();
        const auto more = static_cast<std::uint64_t>((now - m_next) / step);
        const Time last = m_next + static_cast<std::int64_t>(more) * step;
        m_next = last + step;
        expose(more + 1, last);
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
    m_registers.set(Reg::FramesSent, m_statistics.frames);
    m_registers.set(Reg::PacketsSent, m_statistics.packets);
    m_registers.set(Reg::BytesSent, m_statistics.bytes);
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
        m_state = State::Idle;
        break;
    case Reg::TriggerSoftware:
        softwareTrigger(index, now);
        break;
    case Reg::StatisticsReset:
        m_statistics = {};
        m_missed = 0;
        break;
    default:
        return; // another model's
    }
    m_registers.set(command, 0, index);
}

} // namespace simcam
