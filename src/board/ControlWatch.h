// Who controls a camera, and what becomes of control that this host has taken (GigE Vision 1.2, control
// channel privilege).
#pragma once

#include "liomol/GenICamCamera.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace board {

enum class Holder {
    Unknown,  // the camera does not answer, or refuses to tell
    Nobody,   //
    Self,     // a port of this board
    Other,    // another application
    Somebody, // the camera does not say who
};

// What a look at the camera's registers has shown.
struct ControlReading {
    Holder holder = Holder::Unknown;
    bool answered = false;       // whether the camera said anything at all
    bool isRefused = false;      // the holder does not even let others read
    bool isExclusive = false;    // the holder lets nobody else read
    bool canBeTakenOver = false; // the holder lets others take over
    std::uint32_t ip = 0;        // of the holder, first octet on top; 0 where the camera does not say
    std::uint16_t udpPort = 0;   // of the holder
    std::optional<std::uint32_t> heartbeatTimeout; // milliseconds; looked at when nobody has control
};

// A value machine: it is told when and how accesses ended and what a look has shown, and says whether control
// is lost. One thread at a time.
//
//              start              overdue, and a look in vain
//      (off) ─────────► held ─────────────────────────────────────────► lost: silent
//        ▲                │  a look shows that nobody has control,             │ a look shows why
//        │                │  or somebody else                                  ▼
//        └──── stop ──────┴─────────────────────────────────► lost: heartbeat missed, rebooted, taken over
//
// What is lost stays lost until the next start: the camera may have forgotten what it was told.
class ControlWatch {
public:
    using Time = std::chrono::steady_clock::time_point;
    using milliseconds = std::chrono::milliseconds;

    // Control was taken. The camera keeps `heartbeatTimeout` in its register.
    void start(milliseconds heartbeatTimeout, Time now);
    void stop() { m_on = false; }
    bool isOn() const { return m_on; }
    tavo::ControlLoss loss() const { return m_loss; }
    // What belongs to the reason: of a camera that was taken over the other's IP address, first octet on top
    // and 0 where the camera does not say; of silence the milliseconds of the heartbeat time-out.
    std::uint32_t lossFact() const {
        return m_loss == tavo::ControlLoss::TakenOver ? m_takerIp
                                                      : static_cast<std::uint32_t>(m_timeout.count());
    }

    void answered(Time now) { m_heard = now; }
    // Whether there was no answer for as long as the camera keeps control for a silent host: time for a look.
    bool isOverdue(Time now) const { return m_on && now - m_heard >= m_timeout; }
    void looked(const ControlReading& reading, Time now);
    // A camera that does not say who controls it has refused control to this host.
    void controlRefused();
    // This host has written another heartbeat time-out; what the camera has made of one.
    void heartbeatTimeoutWritten(milliseconds heartbeatTimeout) { m_timeout = heartbeatTimeout; }
    void heartbeatTimeoutRead(milliseconds heartbeatTimeout) { m_madeOfIt = heartbeatTimeout; }

private:
    bool isKept(std::uint32_t heartbeatTimeout) const;

    bool m_on = false;
    tavo::ControlLoss m_loss = tavo::ControlLoss::None;
    std::uint32_t m_takerIp = 0;
    milliseconds m_timeout{};  // what this host wrote last
    milliseconds m_madeOfIt{}; // what the camera was last seen to make of one
    Time m_heard{};
};

} // namespace board
