// The choice of a link-local address (RFC 3927). A value machine: it is told what ARP is heard and when, and
// says what to send.
//
//            start              3 probes, no conflict        2nd announcement
//     Off ───────────► Probing ──────────────────────► Announcing ───────────► Claimed
//      ▲                │  ▲  ▲                            │                     │
//      └── stop         └──┘  └────── conflict twice within the defence interval ─┘
//          (from all)  conflict: another address
//
// From the first announcement on the address is the station's own; the first conflict then is answered by
// another announcement, as its defence.
#pragma once

#include "simcam/Random.h"
#include "simcam/Station.h"
#include "simcam/limits.h"

#include <optional>

namespace simcam {

class LinkLocal {
public:
    enum class Act { Nothing, Probe, Announce, GiveUp };

    // The address chosen is fixed by the MAC and by the conflicts met. `second` is what counts as a second of
    // the standard's times.
    LinkLocal(Mac mac, milliseconds second) : m_mac(mac), m_second(second), m_random(mac) {}

    // Begins to probe for the address used last, or for a first one.
    void start(Time now);
    void stop() { m_state = State::Off; }

    // What is due at `now`; to be called until it is nothing. Announce for the first time makes the address
    // the station's own.
    Act advance(Time now);
    std::optional<Time> deadline() const;
    // An ARP message was heard. GiveUp: the address is not the station's any more, and another is looked for.
    Act heard(const ArpMessage& arp, Time now);

    // The address that is probed for, announced or held.
    std::uint32_t address() const { return m_address; }
    bool claimed() const { return m_state == State::Announcing || m_state == State::Claimed; }

private:
    enum class State { Off, Probing, Announcing, Claimed };

    void pick();
    void probeLater(Time now);
    Act conflict(Time now);
    milliseconds between(double low, double high);
    milliseconds seconds(double count) const;

    Mac m_mac;
    milliseconds m_second;
    Random m_random;
    State m_state = State::Off;
    std::uint32_t m_address = 0;
    int m_sent = 0;      // probes, then announcements
    int m_conflicts = 0; // since an address was last held
    Time m_next{};
    std::optional<Time> m_defended;
};

} // namespace simcam
