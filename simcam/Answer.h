// What the device sends in answer to a command, and what faults make of it.
#pragma once

#include "simcam/Station.h"
#include "simcam/faults.h"

#include <vector>

namespace simcam {

// A message to send to `to`, `delay` after the command that it answers.
struct Answer {
    Peer to;
    Bytes message;
    milliseconds delay{0};
    bool damaged = false; // to be damaged on the way, as a fault asks
};

// A GVCP acknowledgement: its header and its payload.
Bytes ackMessage(gvcp::Status status, std::uint16_t code, std::uint16_t id, ByteView payload);

// The PENDING_ACK that announces `answer` in `time`.
Answer pendingAck(const Answer& answer, milliseconds time);

// What is sent instead of `sound` when the fault strikes it.
std::vector<Answer> spoilt(const Answer& sound, const Fault& fault);

} // namespace simcam
