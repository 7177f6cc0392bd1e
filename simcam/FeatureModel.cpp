#include "simcam/FeatureModel.h"

namespace simcam {

FeatureModel::FeatureModel(Registers& registers, BootstrapModel& bootstrap, const EventLog& log, Time start)
    : m_image(registers, [this] { return m_acquisition.isAcquiring(); }),
      m_chunks([this] { return m_acquisition.isAcquiring(); }), m_acquisition(registers), m_analog(registers),
      m_counters(registers, m_acquisition, start), m_lines(registers, m_acquisition, m_counters),
      m_device(
          registers,
          {bootstrap, [this] { return m_acquisition.isAcquiring(); }, [&log] { return log.total(); }}, start),
      m_userSets(
          registers, {[this] { return m_acquisition.isAcquiring(); },
                      [this](Reg reg, std::uint32_t index, Time now) { written(reg, index, now); }}),
      m_all{&m_image, &m_chunks, &m_acquisition, &m_analog, &m_counters, &m_lines, &m_device, &m_userSets} {}

void FeatureModel::refresh(Time now) {
    for (RegisterModel* model : m_all) {
        model->refresh(now);
    }
}

gvcp::Status FeatureModel::check(const Candidate& candidate) const {
    for (const RegisterModel* model : m_all) {
        if (const auto status = model->check(candidate); status != gvcp::Status::Success) {
            return status;
        }
    }
    return gvcp::Status::Success;
}

void FeatureModel::written(Reg reg, std::uint32_t index, Time now) {
    for (RegisterModel* model : m_all) {
        model->written(reg, index, now);
    }
}

void FeatureModel::controlLost(Time now) {
    for (RegisterModel* model : m_all) {
        model->controlLost(now);
    }
}

} // namespace simcam
