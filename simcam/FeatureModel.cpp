#include "simcam/FeatureModel.h"

namespace simcam {

FeatureModel::FeatureModel(Registers& registers, BootstrapModel&, EventLog&, Time) : m_registers(registers) {}

void FeatureModel::refresh(Time) {
    m_registers.set(Reg::WidthMax, m_registers.get(Reg::SensorWidth));
    m_registers.set(Reg::HeightMax, m_registers.get(Reg::SensorHeight));
    m_registers.set(Reg::PayloadSize, m_registers.get(Reg::Width) * m_registers.get(Reg::Height));
}

void FeatureModel::report(Report&) const {}

} // namespace simcam
