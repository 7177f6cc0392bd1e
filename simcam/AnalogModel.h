// The automatic functions of exposure, gain, black level and white balance: they set their values once, or
// hold them for as long as they run continuously.
#pragma once

#include "simcam/RegisterModel.h"

namespace simcam {

class AnalogModel : public RegisterModel {
public:
    explicit AnalogModel(Registers& registers);

    void refresh(Time) override {}
    gvcp::Status check(const Candidate& candidate) const override;
    void written(Reg reg, std::uint32_t index, Time now) override;

private:
    void adjust(Reg automatic);

    Registers& m_registers;
};

} // namespace simcam
