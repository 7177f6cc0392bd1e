// One Ethernet PHY as MDIO shows it (IEEE 802.3 clause 22), with a link that comes up as a real one does.
#pragma once

#include "softboard/Link.h"
#include "softboard/softboard.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace softboard {

// States of the link:
//
//                 line released            control: reset or            negotiation time over,
//      +------+ --------------> +------+   restart      +-------------+ something plugged       +----+
//      | Held |                 | Idle | -------------> | Negotiating | ----------------------> | Up |
//      +------+ <-------------- +------+                +-------------+                         +----+
//         ^       line low                                   ^  control: reset or restart          |
//         |                                                  +-------------------------------------+
//         +---- line low, from every state
//
// Power-on `Up` begins in the state of that name, `Held` in Held. A cable plugged into a PHY that has
// negotiated has its link at once. All calls but `negotiated` want the caller's lock.
class Phy {
public:
    static constexpr unsigned kRegisters = 32;
    static constexpr unsigned kExtendedRegisters = 256;
    static constexpr std::uint16_t kNothing =
        0xFFFF; // what the pulled-up MDIO line reads where nobody answers

    explicit Phy(std::chrono::milliseconds negotiationTime) : m_negotiationTime(negotiationTime) {}

    void powerOn(PhyPowerOn state);
    void setHeld(bool held);

    // `carrier` is whether something is plugged. A read counts as a poll of the reset bit; a look does not.
    std::uint16_t read(unsigned reg, bool carrier);
    std::uint16_t look(unsigned reg, bool carrier) const;
    std::uint16_t lookExtended(unsigned reg) const;
    void write(unsigned reg, std::uint16_t value);

    // Whether frames pass, given that something is plugged. Any thread.
    bool negotiated() const;

private:
    using Ticks = Clock::rep;
    static constexpr Ticks kAlways = 0;
    static constexpr Ticks kNever = -1;

    void reset();
    void writeControl(std::uint16_t value);
    void negotiateFrom(Clock::time_point now);
    bool resetting() const;

    const std::chrono::milliseconds m_negotiationTime;
    bool m_held = false;
    unsigned m_resetPolls = 0; // that still show the reset bit
    Clock::time_point m_resetEnd;
    std::array<std::uint16_t, kRegisters> m_registers{};
    std::array<std::uint16_t, kExtendedRegisters> m_extended{};
    std::atomic<Ticks> m_upAt{kNever}; // since the clock's epoch
};

} // namespace softboard
