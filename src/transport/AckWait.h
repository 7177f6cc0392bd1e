// What a command does with what arrives while it waits for its acknowledgement. A value machine: it reads no
// frame and no clock, and is told what came and when. One thread at a time.
//
//                  foreign id, where it ends the wait ──► Foreign
//   waiting ──┬──  acknowledgement with the command's id ──► Answer
//      ▲      │
//      └──────┴──  anything else; PENDING_ACK with the command's id puts the deadline off
//
// A wait that reaches its deadline is over; what has been read until then was no answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

// What a received frame says about the command that it belongs to.
struct AckFacts {
    bool sound = true;              // its checksums, where it has any, are right
    std::uint16_t id = 0;           // as frame::rawRequestId gives it
    bool pending = false;           // PENDING_ACK: the answer is still to come
    std::chrono::milliseconds in{}; // when, as the notice says
};

class AckWait {
public:
    using Time = std::chrono::steady_clock::time_point;
    using milliseconds = std::chrono::milliseconds;

    // Without a notice. What a notice names is added from its arrival on: the answer needs its way, too.
    static constexpr milliseconds kAckTimeout{2000};
    // Bounds of what a camera can make a caller wait: what one notice may name, and all of a command.
    static constexpr milliseconds kLongestNotice{30000};
    static constexpr milliseconds kLongestCommand{60000};

    // What another command's acknowledgement means. Register commands are sent again for it, reads and writes
    // of memory pass it over.
    enum class Foreign { EndsTheWait, IsPassedOver };

    enum class Verdict {
        Answer,  // it is this command's
        WaitOn,  // it is nothing to this command
        Foreign, // another command's, and this wait ends with it
    };

    // Without an id every acknowledgement is the command's.
    AckWait(std::optional<std::uint16_t> id, Foreign foreign, Time now)
        : m_id(id), m_foreign(foreign), m_last(now + kLongestCommand), m_deadline(now + kAckTimeout) {}

    // The command was sent again.
    void restart(Time now);
    Verdict take(const AckFacts& facts, Time now);
    // What is left of the wait, rounded up; 0 when it is over.
    milliseconds remaining(Time now) const;

private:
    std::optional<std::uint16_t> m_id;
    Foreign m_foreign;
    Time m_last; // no deadline lies behind it
    Time m_deadline;
};
