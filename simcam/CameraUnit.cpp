#include "simcam/CameraUnit.h"

#include "simcam/FeatureModel.h"
#include "simcam/StreamModel.h"

namespace simcam {

CameraUnit::CameraUnit(const Surroundings& around, const Nonvolatile::Contents& kept, Time now)
    : memory(registers), bootstrap(registers, now),
      device(
          {around.station, registers, memory, around.log, around.faults, around.settings, around.notices},
          {[this](Time when) {
               bootstrap.controlLost(when);
               if (features) {
                   features->controlLost(when);
               }
               stream->controlLost(when);
           },
           around.forceIp, [this](const ResendRequest& request) { stream->resend(request); }}) {
    fillIn(around.settings, around.description);
    memory.addModel(bootstrap);
    if (around.settings.plainMemory) {
        memory.usePlainMemory();
    } else {
        features = std::make_unique<FeatureModel>(registers, bootstrap, around.log, now);
    }
    stream = std::make_unique<StreamModel>(StreamModel::Parts{
        registers, bootstrap, features ? &features->acquisition() : nullptr, around.station,
        around.settings.images});
    memory.addModel(*stream); // before the features: it sees commands that they take back
    if (features) {
        memory.addModel(*features);
    }
    nonvolatile = std::make_unique<Nonvolatile>(registers, features ? &features->userSets() : nullptr);
    memory.addModel(*nonvolatile);
    nonvolatile->restore(kept);
    if (features) {
        features->userSets().loadDefault(now);
    }
    for (const Content& content : around.settings.contents) {
        memory.poke(content.address, content.bytes, now);
    }
}

CameraUnit::~CameraUnit() = default;

void CameraUnit::fillIn(const CameraSettings& settings, const Description& description) {
    registers.set(Reg::MacHigh, settings.mac >> 32);
    registers.set(Reg::MacLow, settings.mac);
    registers.setText(Reg::ManufacturerName, settings.vendor);
    registers.setText(Reg::ModelName, settings.model);
    registers.setText(Reg::DeviceVersion, settings.version);
    registers.setText(Reg::ManufacturerInfo, settings.info);
    registers.setText(Reg::SerialNumber, settings.serial);
    registers.setText(Reg::UserDefinedName, settings.name);
    if (!settings.concatenates) {
        registers.set(Reg::Capability, registers.get(Reg::Capability) & ~bootstrap::kConcatenationBit);
    }
    registers.setText(Reg::FirstUrl, description.firstUrl);
    registers.setText(Reg::SecondUrl, description.secondUrl);
    memory.addFile(description.zip.address, description.zip.content);
    if (description.text) {
        memory.addFile(description.text->address, description.text->content);
    }
}

} // namespace simcam
