// The behaviour of the camera's own registers as one: the models of their groups, in the order in which they
// build on each other.
#pragma once

#include "simcam/AcquisitionModel.h"
#include "simcam/AnalogModel.h"
#include "simcam/BootstrapModel.h"
#include "simcam/ChunkModel.h"
#include "simcam/CounterModel.h"
#include "simcam/DeviceModel.h"
#include "simcam/EventLog.h"
#include "simcam/ImageModel.h"
#include "simcam/LineModel.h"
#include "simcam/UserSetModel.h"

namespace simcam {

class FeatureModel : public RegisterModel {
public:
    // All are the caller's and outlive this.
    FeatureModel(Registers& registers, BootstrapModel& bootstrap, const EventLog& log, Time start);

    void refresh(Time now) override;
    gvcp::Status check(const Candidate& candidate) const override;
    void written(Reg reg, std::uint32_t index, Time now) override;
    void controlLost(Time now) override;

    AcquisitionModel& acquisition() { return m_acquisition; }
    UserSetModel& userSets() { return m_userSets; }

private:
    ImageModel m_image;
    ChunkModel m_chunks;
    AcquisitionModel m_acquisition;
    AnalogModel m_analog;
    CounterModel m_counters;
    LineModel m_lines;
    DeviceModel m_device;
    UserSetModel m_userSets; // last: it takes its defaults from what the others have set
    std::array<RegisterModel*, 8> m_all;
};

} // namespace simcam
