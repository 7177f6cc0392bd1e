// The behaviour of the bootstrap registers: bounds of the heartbeat time-out, timestamp, stream channel,
// name.
#pragma once

#include "simcam/RegisterModel.h"

#include <utility>

namespace simcam {

class BootstrapModel : public RegisterModel {
public:
    BootstrapModel(Registers& registers, Time start) : m_registers(registers), m_start(start) {}

    void refresh(Time) override {}
    void written(Reg reg, std::uint32_t index, Time now) override;
    void controlLost(Time now) override;

    // Ticks of the timestamp counter since its last reset.
    std::uint64_t timestamp(Time now) const;
    void resetTimestamp(Time now) { m_start = now; }

    // Whether a test packet of the stream is to be sent, asked for since the last call.
    bool takeTestPacket() { return std::exchange(m_testPacket, false); }
    bool wantsTestPacket() const { return m_testPacket; }

private:
    void timestampControl(std::uint32_t value, Time now);

    Registers& m_registers;
    Time m_start; // when the timestamp counter was 0
    bool m_testPacket = false;
};

} // namespace simcam
