#include "simcam/DeviceModel.h"

#include "simcam/BootstrapModel.h"

#include <cmath>

namespace simcam {

namespace {

constexpr std::uint64_t kReady = 1;
constexpr std::uint64_t kAcquiring = 2;
constexpr std::uint64_t kControlled = 4;

// Temperatures: what each place has at rest, how far acquisition warms it, and how fast; a slow swing of the
// room besides, so that no two readings a second apart need to agree.
constexpr double kIdleTemperatures[] = {38.0, 41.5, 45.0};
constexpr double kWarming = 9.0;
constexpr double kWarmingSeconds = 60.0;
constexpr double kSwing = 0.5;
constexpr double kSwingSeconds = 40.0;
constexpr double kTau = 6.283185307179586;

constexpr double kDigitizationClock = 37125000;
constexpr double kPixelSize = 3.45; // micrometres

// Sensor identity (2 bytes, big-endian), revision (2 bytes, little-endian), tilt in 1/10 degree as two signed
// bytes; the rest is reserved.
constexpr std::uint8_t kSensorInfo[16] = {0x02, 0xA1, 0, 0, 0x07, 0x01, 0, 0, 0, 0, 0xFD, 0x05};

} // namespace

DeviceModel::DeviceModel(Registers& registers, Sources sources, Time start)
    : m_registers(registers), m_sources(std::move(sources)), m_start(start), m_refreshed(start) {
    m_registers.setText(Reg::FirmwareVersion, "2.4.1");
    m_registers.store(Reg::SensorInfo, 0, kSensorInfo);
    m_registers.setFloat(Reg::ClockFrequency, kDigitizationClock, 1);
    m_registers.setFloat(Reg::SensorPixelSize, kPixelSize);
}

double DeviceModel::temperature(std::uint32_t sensor, Time now) const {
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    return kIdleTemperatures[sensor] + m_warmth + kSwing * std::sin(kTau * seconds / kSwingSeconds);
}

void DeviceModel::refresh(Time now) {
    const bool acquiring = m_sources.isAcquiring();
    const double seconds = std::chrono::duration<double>(now - m_refreshed).count();
    m_warmth += ((acquiring ? kWarming : 0.0) - m_warmth) * (1.0 - std::exp(-seconds / kWarmingSeconds));
    m_refreshed = now;
    for (std::uint32_t i = 0; i < fact(Reg::Temperature).count; ++i) {
        m_registers.setFloat(Reg::Temperature, temperature(i, now), i);
    }
    const bool controlled = m_registers.get(Reg::Privilege) != 0;
    m_registers.set(
        Reg::DeviceStatus, kReady | (acquiring ? kAcquiring : 0) | (controlled ? kControlled : 0));
    const auto uptime = std::chrono::duration_cast<std::chrono::microseconds>(now - m_start).count();
    m_registers.set(Reg::Uptime, static_cast<std::uint64_t>(uptime));
    m_registers.set(Reg::CommandCount, m_sources.commands());
}

void DeviceModel::written(Reg reg, std::uint32_t, Time now) {
    if (reg != Reg::TimestampLatch && reg != Reg::TimestampReset) {
        return;
    }
    const bool on = m_registers.get(reg) != 0;
    m_registers.set(reg, 0);
    if (on && reg == Reg::TimestampLatch) {
        m_registers.set(Reg::TimestampLatched, m_sources.bootstrap.timestamp(now));
    } else if (on) {
        m_sources.bootstrap.resetTimestamp(now);
    }
}

} // namespace simcam
