// Two counters of frames or clock ticks, and two timers that run from acquisition starts, frames or a
// command.
#pragma once

#include "simcam/RegisterModel.h"

namespace simcam {

class AcquisitionModel;

class CounterModel : public RegisterModel {
public:
    CounterModel(Registers& registers, const AcquisitionModel& acquisition, Time start);

    void refresh(Time now) override;
    void written(Reg reg, std::uint32_t index, Time now) override;

    bool timerIsActive(std::uint32_t timer) const;

private:
    static constexpr std::uint32_t kCount = 2;

    std::uint64_t events(std::uint32_t counter, Time now) const;
    void restart(std::uint32_t counter, Time now);
    void refreshCounter(std::uint32_t counter, Time now);
    void refreshTimer(std::uint32_t timer, Time now);

    Registers& m_registers;
    const AcquisitionModel& m_acquisition;
    Time m_start;
    std::uint64_t m_counted[kCount] = {}; // from sources before the present one
    std::uint64_t m_zero[kCount] = {};    // events of the present source that do not count
    std::uint64_t m_startsSeen = 0;
    std::optional<Time> m_timerStart[kCount];
};

} // namespace simcam
