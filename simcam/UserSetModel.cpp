#include "simcam/UserSetModel.h"

#include <algorithm>

namespace simcam {

using gvcp::Status;

namespace {

constexpr std::uint64_t kDefaultSet = 0;
constexpr std::array<std::string_view, 3> kTitles{"Default", "User set 0", "User set 1"};

bool isSetting(std::size_t reg) {
    return kRegisters[reg].role == Role::Setting;
}

} // namespace

UserSetModel::UserSetModel(Registers& registers, Hooks hooks)
    : m_registers(registers), m_hooks(std::move(hooks)) {
    m_sets.fill(save());
    for (std::uint32_t i = 0; i < kTitles.size(); ++i) {
        m_registers.setText(Reg::UserSetDescription, kTitles[i], i);
    }
}

UserSetModel::Snapshot UserSetModel::save() const {
    Snapshot snapshot(kRegisters.size());
    for (std::size_t i = 0; i < kRegisters.size(); ++i) {
        if (isSetting(i)) {
            const ByteView content = m_registers.all(static_cast<Reg>(i));
            snapshot[i].assign(content.begin(), content.end());
        }
    }
    return snapshot;
}

// All settings are in place before the first consequence, so that none is judged beside a stale one.
void UserSetModel::load(const Snapshot& snapshot, Time now) {
    std::vector<Place> changed;
    for (std::size_t i = 0; i < kRegisters.size(); ++i) {
        const auto reg = static_cast<Reg>(i);
        const std::uint32_t size = kRegisters[i].size;
        for (std::uint32_t index = 0; isSetting(i) && index < kRegisters[i].count; ++index) {
            const ByteView saved = ByteView(snapshot[i]).subspan(std::size_t{index} * size, size);
            if (!std::ranges::equal(saved, m_registers.element(reg, index))) {
                m_registers.store(reg, index, saved);
                changed.push_back({reg, index, 0});
            }
        }
    }
    for (const Place& place : changed) {
        m_hooks.changed(place.reg, place.index, now);
    }
}

void UserSetModel::restore(std::uint32_t set, Reg reg, ByteView bytes) {
    m_sets[set][static_cast<std::size_t>(reg)].assign(bytes.begin(), bytes.end());
}

void UserSetModel::loadDefault(Time now) {
    load(m_sets[m_registers.get(Reg::UserSetDefault)], now);
}

Status UserSetModel::check(const Candidate& candidate) const {
    if (candidate.reg == Reg::UserSetLoad && m_hooks.isAcquiring()) {
        return Status::Busy;
    }
    const bool isDefault = m_registers.get(Reg::UserSetSelector) == kDefaultSet;
    return candidate.reg == Reg::UserSetSave && isDefault ? Status::WriteProtect : Status::Success;
}

void UserSetModel::written(Reg reg, std::uint32_t, Time now) {
    if (reg != Reg::UserSetLoad && reg != Reg::UserSetSave) {
        return;
    }
    const bool on = m_registers.get(reg) != 0;
    Snapshot& selected = m_sets[m_registers.get(Reg::UserSetSelector)];
    m_registers.set(reg, 0);
    if (on && reg == Reg::UserSetLoad) {
        load(selected, now);
    } else if (on) {
        selected = save();
    }
}

} // namespace simcam
