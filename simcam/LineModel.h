// Digital lines and user outputs: registers that show the selected line, and levels that follow their
// sources. Lines 0 and 1 are inputs with nothing wired to them, 2 and 3 are outputs.
#pragma once

#include "simcam/RegisterModel.h"

namespace simcam {

class AcquisitionModel;
class CounterModel;

class LineModel : public RegisterModel {
public:
    LineModel(Registers& registers, const AcquisitionModel& acquisition, const CounterModel& counters);

    void refresh(Time now) override;
    gvcp::Status check(const Candidate& candidate) const override;
    void written(Reg reg, std::uint32_t index, Time now) override;

private:
    bool level(std::uint32_t line) const;
    bool source(std::uint64_t source) const;

    Registers& m_registers;
    const AcquisitionModel& m_acquisition;
    const CounterModel& m_counters;
    std::uint64_t m_userOutputs = 0; // before the write that is under way
};

} // namespace simcam
