#include "simcam/CounterModel.h"

#include "simcam/AcquisitionModel.h"

#include <algorithm>

namespace simcam {

using std::chrono::microseconds;

namespace {

enum CounterSource : std::uint64_t {
    kNothing,
    kFrames,
    kMicroseconds,
    kLine0
}; // nothing is wired to the line
enum CounterStatus : std::uint64_t { kIdleCounter, kActive, kCompleted };
enum TimerSource : std::uint64_t { kTimerOff, kTimerAcquisitionStart, kTimerFrame };
constexpr std::uint64_t kResetAtAcquisitionStart = 1;

} // namespace

CounterModel::CounterModel(Registers& registers, const AcquisitionModel& acquisition, Time start)
    : m_registers(registers), m_acquisition(acquisition), m_start(start) {}

std::uint64_t CounterModel::events(std::uint32_t counter, Time now) const {
    switch (m_registers.get(Reg::CounterEventSource, counter)) {
    case kFrames:
        return m_acquisition.frames();
    case kMicroseconds:
        return static_cast<std::uint64_t>(std::chrono::duration_cast<microseconds>(now - m_start).count());
    default:
        return 0;
    }
}

void CounterModel::restart(std::uint32_t counter, Time now) {
    m_registers.set(Reg::CounterValueAtReset, m_registers.get(Reg::CounterValue, counter), counter);
    m_counted[counter] = 0;
    m_zero[counter] = events(counter, now);
}

void CounterModel::refreshCounter(std::uint32_t counter, Time now) {
    const std::uint64_t duration = m_registers.get(Reg::CounterDuration, counter);
    const std::uint64_t value =
        std::min(m_counted[counter] + events(counter, now) - m_zero[counter], duration);
    m_registers.set(Reg::CounterValue, value, counter);
    std::uint64_t status = value >= duration ? kCompleted : kActive;
    if (m_registers.get(Reg::CounterEventSource, counter) == kNothing) {
        status = kIdleCounter;
    }
    m_registers.set(Reg::CounterStatus, status, counter);
}

void CounterModel::refreshTimer(std::uint32_t timer, Time now) {
    const std::uint64_t source = m_registers.get(Reg::TimerTriggerSource, timer);
    const auto trigger = source == kTimerFrame              ? m_acquisition.lastFrame()
                         : source == kTimerAcquisitionStart ? m_acquisition.lastStart()
                                                            : std::nullopt;
    if (trigger && (!m_timerStart[timer] || *trigger > *m_timerStart[timer])) {
        m_timerStart[timer] = trigger;
    }
    std::uint64_t status = kIdleCounter;
    std::int64_t value = 0;
    if (m_timerStart[timer]) {
        const auto elapsed = std::chrono::duration_cast<microseconds>(now - *m_timerStart[timer]).count();
        const auto duration = static_cast<std::int64_t>(m_registers.get(Reg::TimerDuration, timer));
        const std::int64_t run = elapsed - static_cast<std::int64_t>(m_registers.get(Reg::TimerDelay, timer));
        value = std::clamp<std::int64_t>(run, 0, duration);
        status = run >= duration ? kCompleted : run >= 0 ? kActive : kIdleCounter;
    }
    m_registers.set(Reg::TimerValue, static_cast<std::uint64_t>(value), timer);
    m_registers.set(Reg::TimerStatus, status, timer);
}

void CounterModel::refresh(Time now) {
    const bool started = m_acquisition.starts() != m_startsSeen;
    m_startsSeen = m_acquisition.starts();
    for (std::uint32_t i = 0; i < kCount; ++i) {
        refreshCounter(i, now);
        if (started && m_registers.get(Reg::CounterResetSource, i) == kResetAtAcquisitionStart) {
            restart(i, now);
            refreshCounter(i, now);
        }
        refreshTimer(i, now);
    }
}

void CounterModel::written(Reg reg, std::uint32_t index, Time now) {
    if (reg == Reg::CounterEventSource) { // a new source goes on from the value that was reached
        m_counted[index] = m_registers.get(Reg::CounterValue, index);
        m_zero[index] = events(index, now);
        return;
    }
    if (reg != Reg::CounterReset && reg != Reg::TimerReset) {
        return;
    }
    const bool on = m_registers.get(reg, index) != 0;
    m_registers.set(reg, 0, index);
    if (on && reg == Reg::CounterReset) {
        restart(index, now);
    } else if (on) {
        m_timerStart[index] = now;
    }
}

bool CounterModel::timerIsActive(std::uint32_t timer) const {
    return m_registers.get(Reg::TimerStatus, timer) == kActive;
}

} // namespace simcam
