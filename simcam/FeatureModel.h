// The behaviour of the camera's own registers: geometry, acquisition, analog part, lines, counters, user
// sets.
#pragma once

#include "simcam/BootstrapModel.h"
#include "simcam/CameraCore.h"

namespace simcam {

class FeatureModel : public RegisterModel {
public:
    FeatureModel(Registers& registers, BootstrapModel& bootstrap, EventLog& log, Time start);

    void refresh(Time now) override;
    void report(Report& report) const;

private:
    Registers& m_registers;
};

} // namespace simcam
