// Who controls the device (GigE Vision 1.2, control channel privilege). A value machine: it is told what
// happens and when, and answers what is allowed.
//
//            write 2                      write 1
//     Open ───────────► Controlled ◄──────────────► Exclusive
//      ▲                    │  (by the owner; another application takes
//      │   write 0, or      │   over from Controlled with the switchover key)
//      └── heartbeat missed ┴───────────────────────────┘
//
// In Controlled and in Exclusive one application, known by its address and port, is the owner. Others may
// read while it is Controlled. Everything valid that the owner sends is its heartbeat.
#pragma once

#include "protocol/gvcp.h"
#include "simcam/Station.h"
#include "simcam/limits.h"

#include <optional>

namespace simcam {

class ControlChannel {
public:
    // What is in the privilege register now.
    std::uint32_t value() const { return m_value; }
    const std::optional<Peer>& owner() const { return m_owner; }

    bool mayWrite(const Peer& who) const { return owns(who); }
    bool mayRead(const Peer& who) const;
    gvcp::Status write(std::uint32_t value, std::uint16_t switchoverKey, const Peer& who, Time now);

    // A valid command arrived from `who`.
    void heard(const Peer& who, Time now);
    // When control is lost unless the owner is heard before; none while nobody is watched.
    std::optional<Time> deadline(milliseconds timeout) const;
    void release();

private:
    bool owns(const Peer& who) const { return m_owner && m_owner->sameApplication(who); }
    bool takesOver(std::uint32_t value, std::uint16_t switchoverKey) const;

    std::optional<Peer> m_owner;
    std::uint32_t m_value = 0;
    Time m_heard{};
};

} // namespace simcam
