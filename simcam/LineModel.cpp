#include "simcam/LineModel.h"

#include "simcam/AcquisitionModel.h"
#include "simcam/CounterModel.h"

namespace simcam {

using gvcp::Status;

namespace {

constexpr std::uint32_t kLines = 4;
constexpr std::uint32_t kFirstOutput = 2;
constexpr std::uint64_t kOutput = 1;

enum LineSource : std::uint64_t {
    kNoSource,
    kUserOutput0,
    kUserOutput1,
    kExposureActive,
    kTimer0Active,
    kFrameTriggerWait
};

// The registers that show the selected line, and where each line's value is kept.
struct Window {
    Reg shown;
    Reg kept;
};
constexpr std::array kWindows{
    Window{Reg::LineMode, Reg::LineModes},           Window{Reg::LineInverter, Reg::LineInverters},
    Window{Reg::LineSource, Reg::LineSources},       Window{Reg::LineFormat, Reg::LineFormats},
    Window{Reg::LineDebouncer, Reg::LineDebouncers},
};

} // namespace

LineModel::LineModel(Registers& registers, const AcquisitionModel& acquisition, const CounterModel& counters)
    : m_registers(registers), m_acquisition(acquisition), m_counters(counters) {
    for (std::uint32_t line = kFirstOutput; line < kLines; ++line) {
        m_registers.set(Reg::LineModes, kOutput, line);
    }
}

bool LineModel::source(std::uint64_t source) const {
    switch (source) {
    case kUserOutput0:
    case kUserOutput1:
        return (m_registers.get(Reg::UserOutputs) >> (source - kUserOutput0) & 1) != 0;
    case kExposureActive:
        return m_acquisition.isExposing();
    case kTimer0Active:
        return m_counters.timerIsActive(0);
    case kFrameTriggerWait:
        return m_acquisition.waitsForFrameTrigger();
    default:
        return false;
    }
}

bool LineModel::level(std::uint32_t line) const {
    const bool driven =
        m_registers.get(Reg::LineModes, line) == kOutput && source(m_registers.get(Reg::LineSources, line));
    return driven != (m_registers.get(Reg::LineInverters, line) != 0);
}

void LineModel::refresh(Time) {
    const auto selected = static_cast<std::uint32_t>(m_registers.get(Reg::LineSelector));
    for (const Window& window : kWindows) {
        m_registers.set(window.shown, m_registers.get(window.kept, selected));
    }
    std::uint64_t all = 0;
    for (std::uint32_t line = 0; line < kLines; ++line) {
        all |= std::uint64_t{level(line)} << line;
    }
    m_registers.set(Reg::LineStatusAll, all);
    m_registers.set(Reg::LineStatus, all >> selected & 1);
    m_userOutputs = m_registers.get(Reg::UserOutputs);
}

Status LineModel::check(const Candidate& candidate) const {
    const std::uint64_t selected = m_registers.get(Reg::LineSelector);
    const bool direction = candidate.reg == Reg::LineMode || candidate.reg == Reg::LineSource;
    const bool drivesInput = direction && selected < kFirstOutput && candidate.integer != 0;
    return drivesInput ? Status::WriteProtect : Status::Success;
}

void LineModel::written(Reg reg, std::uint32_t, Time) {
    const auto selected = static_cast<std::uint32_t>(m_registers.get(Reg::LineSelector));
    for (const Window& window : kWindows) {
        if (reg == window.shown) {
            m_registers.set(window.kept, m_registers.get(reg), selected);
        }
    }
    if (reg == Reg::UserOutputs) {
        const std::uint64_t mask = m_registers.get(Reg::UserOutputMask);
        m_registers.set(reg, (m_userOutputs & ~mask) | (m_registers.get(reg) & mask));
    }
}

} // namespace simcam
