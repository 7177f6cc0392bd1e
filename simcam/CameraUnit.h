// What of a camera starts anew with its power: registers, their behaviour and the control channel.
#pragma once

#include "simcam/BootstrapModel.h"
#include "simcam/Description.h"
#include "simcam/GvcpDevice.h"
#include "simcam/Nonvolatile.h"

#include <memory>

namespace simcam {

class FeatureModel;
class StreamModel;

class CameraUnit {
public:
    // What outlives it. The station may not have its address yet.
    struct Surroundings {
        const CameraSettings& settings;
        const Description& description;
        Station& station;
        EventLog& log;
        FaultPlan& faults;
        const NoticeSink& notices;
        std::function<void(const IpConfiguration&, Time)> forceIp;
    };
    CameraUnit(const Surroundings& around, const Nonvolatile::Contents& kept, Time now);
    ~CameraUnit();

    Registers registers;
    Memory memory;
    BootstrapModel bootstrap;
    std::unique_ptr<FeatureModel> features; // none behind a description of others
    std::unique_ptr<StreamModel> stream;    // never null
    std::unique_ptr<Nonvolatile> nonvolatile;
    GvcpDevice device;

private:
    void fillIn(const CameraSettings& settings, const Description& description);
};

} // namespace simcam
