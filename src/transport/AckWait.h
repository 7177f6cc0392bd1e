// What a command does with what arrives while it waits for its acknowledgement. A value machine: it reads no
// frame and no clock, and is told what came and when. One thread at a time.
//
//                  foreign id, where it ends the wait ──► Foreign
//   waiting ──┬──  acknowledgement with the command's id ──► Answer
//      ▲      │
//      └──────┴──  anything else; PENDING_ACK with the command's id puts the deadline off
//
// A wait that reaches its deadline is over; what has been read until then was no answer. On the way there the
// command is due to go out again after some times of silence, in case it or its answer was lost: a device
// answers a repeated id without doing the command twice.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

// What a received frame says about the command that it belongs to.
struct AckFacts {
    bool sound = true;              // its checksums, where it has any, are right
    std::uint16_t id = 0;           // as frame::rawRequestId gives it
    bool pending = false;           // PENDING_ACK: the answer is still to come
    std::chrono::milliseconds in{}; // when, as the notice says
    bool other = false; // it comes from elsewhere than the command went to, or answers an earlier command
};

// How long an access may take that consists of several commands: a silent camera, and one that asks for
// patience, must not hold its caller for ever.
struct AccessTime {
    using Time = std::chrono::steady_clock::time_point;
    static constexpr std::chrono::milliseconds kQuiet{8000};
    static constexpr std::chrono::milliseconds kPatient{60000};

    Time start;
    bool patient = false; // the camera has asked for it (PENDING_ACK)

    Time end() const { return start + (patient ? kPatient : kQuiet); }
};

class AckWait {
public:
    using Time = std::chrono::steady_clock::time_point;
    using milliseconds = std::chrono::milliseconds;

    // Without a notice. What a notice names is added from its arrival on: the answer needs its way, too.
    static constexpr milliseconds kAckTimeout{2000};
    // Bounds of what a camera can make a caller wait: what one notice may name, and all of a command.
    static constexpr milliseconds kLongestNotice{30000};
    static constexpr milliseconds kLongestCommand = AccessTime::kPatient;
    // Silence after which the command goes out again.
    static constexpr std::array kResends{milliseconds(100), milliseconds(300), milliseconds(700)};

    // What another command's acknowledgement means. Register commands are sent again for it, reads and writes
    // of memory pass it over.
    enum class Foreign { EndsTheWait, IsPassedOver };

    enum class Verdict {
        Answer,  // it is this command's
        WaitOn,  // it is nothing to this command
        Foreign, // another command's, and this wait ends with it
    };

    // Without an id every acknowledgement is the command's. The wait ends with the access, if not before.
    AckWait(std::optional<std::uint16_t> id, Foreign foreign, Time now, const AccessTime& access)
        : m_id(id), m_foreign(foreign), m_sent(now), m_quietEnd(access.end()),
          m_last(access.start + AccessTime::kPatient), m_deadline(std::min(now + kAckTimeout, access.end())) {
    }
    AckWait(std::optional<std::uint16_t> id, Foreign foreign, Time now)
        : AckWait(id, foreign, now, AccessTime{now}) {}

    // The command was sent again because of a foreign acknowledgement.
    void restart(Time now);
    Verdict take(const AckFacts& facts, Time now);
    // Whether the command is to go out again now; each time is told once.
    bool takeResend(Time now);
    // When the wait began, and whether the command has gone out again since: its answer may then be that to
    // any of the copies.
    Time sent() const { return m_sent; }
    bool wasRepeated() const { return m_resends != 0; }
    // The camera has said that the answer is still to come.
    bool isPending() const { return m_pending; }
    // When something is to be done: the command is to go out again, or the wait is over.
    Time nextEvent() const;
    bool isOver(Time now) const { return now >= m_deadline; }
    // What is left of the wait, rounded up; 0 when it is over.
    milliseconds remaining(Time now) const;

private:
    std::optional<std::uint16_t> m_id;
    Foreign m_foreign;
    Time m_sent;
    Time m_quietEnd; // of the access, without a notice
    Time m_last;     // no deadline lies behind it
    Time m_deadline;
    std::size_t m_resends = 0; // that were told
    bool m_pending = false;
};
