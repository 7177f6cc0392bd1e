#include "simcam/BootstrapModel.h"

#include <algorithm>

namespace simcam {

namespace {

constexpr std::uint32_t kTimestampReset = 1;
constexpr std::uint32_t kTimestampLatch = 2;
constexpr std::uint32_t kGvcpConfigurationBits = 3; // PENDING_ACK, heartbeat disable
constexpr std::uint32_t kMinPacketSize = 220;
constexpr std::uint32_t kMaxPacketSize = 9000;
constexpr std::uint32_t kPacketSizeStep = 4;
constexpr std::uint32_t kStreamPortMask = 0xFFFF; // one interface: its index stays 0

// The standard lets a device round a packet size. The bit that fires a test packet reads 0 again.
std::uint32_t roundedPacketSize(std::uint32_t value) {
    const std::uint32_t size = std::clamp(value & bootstrap::kPacketSizeMask, kMinPacketSize, kMaxPacketSize);
    return (value & bootstrap::kDoNotFragmentBit) | (size - size % kPacketSizeStep);
}

} // namespace

std::uint64_t BootstrapModel::timestamp(Time now) const {
    constexpr std::int64_t kNanosecondsPerTick = 8;
    const auto elapsed = std::chrono::duration_cast<std::chrono::nanoseconds>(now - m_start).count();
    return static_cast<std::uint64_t>(std::max<std::int64_t>(elapsed, 0) / kNanosecondsPerTick);
}

void BootstrapModel::timestampControl(std::uint32_t value, Time now) {
    if ((value & kTimestampLatch) != 0) { // before a reset that comes with it
        const std::uint64_t ticks = timestamp(now);
        m_registers.set(Reg::TimestampHigh, ticks >> 32);
        m_registers.set(Reg::TimestampLow, ticks);
    }
    if ((value & kTimestampReset) != 0) {
        resetTimestamp(now);
    }
    m_registers.set(Reg::TimestampControl, 0);
}

void BootstrapModel::written(Reg reg, std::uint32_t, Time now) {
    const auto value = static_cast<std::uint32_t>(m_registers.get(reg));
    switch (reg) {
    case Reg::HeartbeatTimeout:
        m_registers.set(reg, std::max<std::uint64_t>(value, kMinHeartbeat.count()));
        break;
    case Reg::TimestampControl:
        timestampControl(value, now);
        break;
    case Reg::InterfaceConfiguration:
        m_registers.set(reg, (value & bootstrap::kPersistentIpBit) | bootstrap::kLinkLocalBit);
        break;
    case Reg::GvcpConfiguration:
        m_registers.set(reg, value & kGvcpConfigurationBits);
        break;
    case Reg::StreamPacketSize:
        m_registers.set(reg, roundedPacketSize(value));
        m_testPacket = m_testPacket || (value & bootstrap::kFireTestPacketBit) != 0;
        break;
    case Reg::GvspConfiguration:
        m_registers.set(reg, value & bootstrap::kLongBlockIdsBit);
        break;
    case Reg::StreamConfiguration:
        m_registers.set(reg, value & bootstrap::kExtendedChunkDataBit);
        break;
    case Reg::StreamPort:
        m_registers.set(reg, value & kStreamPortMask);
        break;
    default:
        break;
    }
}

void BootstrapModel::controlLost(Time) {
    m_registers.set(Reg::StreamPort, 0);
    m_registers.set(Reg::StreamDestination, 0);
    m_registers.set(Reg::SwitchoverKey, 0);
    // The next application may not know of what this one has switched on.
    m_registers.set(Reg::GvspConfiguration, 0);
    m_registers.set(
        Reg::StreamConfiguration, static_cast<std::uint64_t>(fact(Reg::StreamConfiguration).initial));
}

} // namespace simcam
