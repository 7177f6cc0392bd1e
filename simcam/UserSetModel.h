// User sets: snapshots of all settings. Set 0 is what the camera is made with and cannot be overwritten.
#pragma once

#include "simcam/RegisterModel.h"

#include <functional>

namespace simcam {

class UserSetModel : public RegisterModel {
public:
    using Snapshot = std::vector<Bytes>; // by register; empty for those that are no settings
    static constexpr std::size_t kSets = 3;

    struct Hooks {
        std::function<bool()> isAcquiring;                           // then nothing is loaded
        std::function<void(Reg, std::uint32_t index, Time)> changed; // loading changed this element
    };
    // To be made when the registers hold the default settings.
    UserSetModel(Registers& registers, Hooks hooks);

    void refresh(Time) override {}
    gvcp::Status check(const Candidate& candidate) const override;
    void written(Reg reg, std::uint32_t index, Time now) override;

    // A set other than 0 as it is saved, and its change when a camera is made again.
    const Snapshot& snapshot(std::uint32_t set) const { return m_sets[set]; }
    void restore(std::uint32_t set, Reg reg, ByteView bytes);
    // Loads the set that is the default, as the camera does when it starts.
    void loadDefault(Time now);

private:
    Snapshot save() const;
    void load(const Snapshot& snapshot, Time now);

    Registers& m_registers;
    Hooks m_hooks;
    std::array<Snapshot, kSets> m_sets;
};

} // namespace simcam
