#include "simcam/AnalogModel.h"

#include <algorithm>

namespace simcam {

using gvcp::Status;

namespace {

enum Automatic : std::uint64_t { kAutoOff, kAutoOnce, kAutoContinuous };

// Which values an automatic function takes over.
struct Function {
    Reg automatic;
    Reg adjusted;
};
constexpr std::array kFunctions{
    Function{Reg::ExposureAuto, Reg::ExposureTime},
    Function{Reg::GainAuto, Reg::Gain},
    Function{Reg::BlackLevelAuto, Reg::BlackLevel},
    Function{Reg::BalanceWhiteAuto, Reg::BalanceRatio},
};

constexpr std::uint64_t kSceneExposure = 150000; // what the automatic functions find right for their scene
constexpr double kSceneGain = 6.0;
constexpr std::uint32_t kLutEntries = 128; // of each table
constexpr double kSceneRatios[] = {1.5, 1.0, 1.75};

} // namespace

AnalogModel::AnalogModel(Registers& registers) : m_registers(registers) {
    const auto top = static_cast<std::uint32_t>(fact(Reg::LutValue).high);
    for (std::uint32_t i = 0; i < fact(Reg::LutValue).count; ++i) {
        m_registers.set(Reg::LutValue, i % kLutEntries * top / (kLutEntries - 1), i);
    }
}

void AnalogModel::adjust(Reg automatic) {
    switch (automatic) {
    case Reg::ExposureAuto:
        m_registers.set(Reg::ExposureTime, kSceneExposure);
        break;
    case Reg::GainAuto:
        m_registers.setFloat(Reg::Gain, kSceneGain);
        break;
    case Reg::BlackLevelAuto:
        m_registers.set(Reg::BlackLevel, 0);
        break;
    case Reg::BalanceWhiteAuto:
        for (std::uint32_t i = 0; i < std::size(kSceneRatios); ++i) {
            m_registers.setFloat(Reg::BalanceRatio, kSceneRatios[i], i);
        }
        break;
    default:
        break;
    }
}

Status AnalogModel::check(const Candidate& candidate) const {
    const auto function =
        std::ranges::find_if(kFunctions, [&](const Function& row) { return row.adjusted == candidate.reg; });
    const bool held = function != kFunctions.end() && m_registers.get(function->automatic) == kAutoContinuous;
    return held ? Status::WriteProtect : Status::Success;
}

void AnalogModel::written(Reg reg, std::uint32_t, Time) {
    const bool isFunction =
        std::ranges::any_of(kFunctions, [&](const Function& row) { return row.automatic == reg; });
    if (!isFunction || m_registers.get(reg) == kAutoOff) {
        return;
    }
    adjust(reg);
    if (m_registers.get(reg) == kAutoOnce) {
        m_registers.set(reg, kAutoOff);
    }
}

} // namespace simcam
