// The device itself: temperatures, clocks, identity of the sensor, status bits.
#pragma once

#include "simcam/RegisterModel.h"

#include <functional>

namespace simcam {

class BootstrapModel;

class DeviceModel : public RegisterModel {
public:
    struct Sources {
        BootstrapModel& bootstrap;
        std::function<bool()> isAcquiring;
        std::function<std::uint64_t()> commands; // how many came so far
    };
    DeviceModel(Registers& registers, Sources sources, Time start);

    void refresh(Time now) override;
    void written(Reg reg, std::uint32_t index, Time now) override;

private:
    double temperature(std::uint32_t sensor, Time now) const;

    Registers& m_registers;
    Sources m_sources;
    Time m_start;
    Time m_refreshed;
    double m_warmth = 0; // above idle, from acquisition; degrees Celsius
};

} // namespace simcam
