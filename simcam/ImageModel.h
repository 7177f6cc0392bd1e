// The image's geometry and pixel format: which sizes fit the sensor, and how many bytes a frame has.
#pragma once

#include "simcam/RegisterModel.h"

#include <functional>

namespace simcam {

class ImageModel : public RegisterModel {
public:
    // `isAcquiring` tells whether the geometry is in use and must not change.
    ImageModel(Registers& registers, std::function<bool()> isAcquiring)
        : m_registers(registers), m_isAcquiring(std::move(isAcquiring)) {}

    void refresh(Time) override;
    gvcp::Status check(const Candidate& candidate) const override;
    void written(Reg reg, std::uint32_t index, Time now) override;

private:
    // One direction of the image, so that both follow the same rules.
    struct Axis {
        Reg sensor, max, size, offset, binning, decimation;
        std::uint32_t step;
    };
    static const Axis kAxes[2];

    std::uint64_t largest(const Axis& axis) const;
    void fit(const Axis& axis);

    Registers& m_registers;
    std::function<bool()> m_isAcquiring;
};

} // namespace simcam
