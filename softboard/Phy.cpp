#include "softboard/Phy.h"

#include <algorithm>

namespace softboard {

namespace {

constexpr unsigned kControl = 0;
constexpr unsigned kStatus = 1;
constexpr unsigned kIdentifierHigh = 2;
constexpr unsigned kIdentifierLow = 3;
constexpr unsigned kAdvertised = 4;
constexpr unsigned kPartnerAbility = 5;
constexpr unsigned kExpansion = 6;
constexpr unsigned kGigabitAdvertised = 9;
constexpr unsigned kGigabitStatus = 10;
constexpr unsigned kExtendedStatus = 15;
constexpr unsigned kExtendedSelect = 29;
constexpr unsigned kExtendedValue = 30;

constexpr std::uint16_t kControlReset = 0x8000;
constexpr std::uint16_t kControlPowerDown = 0x0800;
constexpr std::uint16_t kControlIsolate = 0x0400;
constexpr std::uint16_t kControlRestart = 0x0200;
constexpr std::uint16_t kStatusLink = 0x0004;
constexpr std::uint16_t kStatusNegotiated = 0x0020;
constexpr std::uint16_t kPartnerAllSpeeds = 0xC1E1;
constexpr std::uint16_t kGigabitPartner = 0x7C00;

// The reset bit clears after this many polls or this time, whichever comes first.
constexpr unsigned kResetPolls = 2;
constexpr std::chrono::milliseconds kResetTime{300};

struct RegisterDefault {
    unsigned reg;
    std::uint16_t value;
    bool writable;
};

// Registers that do not begin as plain storage with 0.
constexpr RegisterDefault kDefaults[] = {
    {kControl, 0x1140, true},         // auto-negotiation, full duplex, 1000 Mbit/s
    {kStatus, 0x7949, false},         // all of 10 and 100 Mbit/s, extended status, able to negotiate
    {kIdentifierHigh, 0x0050, false}, // made up
    {kIdentifierLow, 0xC2A0, false},  // made up
    {kAdvertised, 0x01E1, true},      // all of 10 and 100 Mbit/s
    {kPartnerAbility, 0, false},      // with link, what the partner advertises
    {kExpansion, 0x0004, false},      // next page able
    {kGigabitAdvertised, 0x0300, true}, {kGigabitStatus, 0, false},
    {kExtendedStatus, 0x3000, false}, // 1000BASE-T, half and full duplex
};

bool writable(unsigned reg) {
    const auto* const row = std::find_if(
        std::begin(kDefaults), std::end(kDefaults), [reg](const auto& r) { return r.reg == reg; });
    return row == std::end(kDefaults) || row->writable;
}

} // namespace

void Phy::powerOn(PhyPowerOn state) {
    reset();
    m_extended.fill(0);
    m_held = state == PhyPowerOn::Held;
    m_upAt = m_held ? kNever : kAlways;
}

void Phy::setHeld(bool held) {
    if (held && !m_held) {
        reset();
        m_extended.fill(0);
        m_upAt = kNever;
    }
    m_held = held;
}

void Phy::reset() {
    m_resetPolls = 0;
    m_registers.fill(0);
    for (const RegisterDefault& row : kDefaults) {
        m_registers[row.reg] = row.value;
    }
}

bool Phy::negotiated() const {
    const Ticks upAt = m_upAt.load(std::memory_order_relaxed);
    return upAt == kAlways || (upAt != kNever && Clock::now().time_since_epoch().count() >= upAt);
}

bool Phy::resetting() const {
    return m_resetPolls > 0 && Clock::now() < m_resetEnd;
}

std::uint16_t Phy::look(unsigned reg, bool carrier) const {
    if (m_held || reg >= kRegisters) {
        return kNothing;
    }
    const bool up = carrier && negotiated();
    const std::uint16_t value = m_registers[reg];
    switch (reg) {
    case kControl:
        return resetting() ? value | kControlReset : value;
    case kStatus:
        return up ? value | kStatusLink | kStatusNegotiated : value;
    case kPartnerAbility:
        return up ? kPartnerAllSpeeds : 0;
    case kGigabitStatus:
        return up ? kGigabitPartner : 0;
    case kExtendedValue:
        return lookExtended(m_registers[kExtendedSelect]);
    default:
        return value;
    }
}

std::uint16_t Phy::lookExtended(unsigned reg) const {
    return m_held || reg >= kExtendedRegisters ? kNothing : m_extended[reg];
}

std::uint16_t Phy::read(unsigned reg, bool carrier) {
    const std::uint16_t value = look(reg, carrier);
    if (reg == kControl && m_resetPolls > 0) {
        --m_resetPolls;
    }
    return value;
}

void Phy::write(unsigned reg, std::uint16_t value) {
    if (m_held || reg >= kRegisters) {
        return;
    }
    if (reg == kControl) {
        writeControl(value);
    } else if (reg == kExtendedValue) {
        if (m_registers[kExtendedSelect] < kExtendedRegisters) {
            m_extended[m_registers[kExtendedSelect]] = value;
        }
    } else if (writable(reg)) {
        m_registers[reg] = value;
    }
}

// A software reset puts the standard's registers back and keeps the extended ones, whose values it makes
// work.
void Phy::writeControl(std::uint16_t value) {
    const auto now = Clock::now();
    const bool wasOff = (m_registers[kControl] & (kControlPowerDown | kControlIsolate)) != 0;
    if ((value & kControlReset) != 0) {
        reset();
        m_resetPolls = kResetPolls;
        m_resetEnd = now + kResetTime;
    }
    m_registers[kControl] = static_cast<std::uint16_t>(value & ~(kControlReset | kControlRestart));
    if ((value & (kControlPowerDown | kControlIsolate)) != 0) {
        m_upAt = kNever;
    } else if (wasOff || (value & (kControlReset | kControlRestart)) != 0) {
        negotiateFrom(now);
    }
}

void Phy::negotiateFrom(Clock::time_point now) {
    m_upAt = std::max<Ticks>(1, (now + m_negotiationTime).time_since_epoch().count());
}

} // namespace softboard
