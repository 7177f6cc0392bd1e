#include "transport/exchange.h"

#include "protocol/kept_control.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace transport {
namespace {

using std::chrono::milliseconds;
using util::Figure;

// Late acknowledgements to look at before a command is sent, and how long that may take: a wire on which more
// comes in all the time cannot be emptied.
constexpr int kMostLateFrames = 64;
constexpr milliseconds kLongestDrain{100};

constexpr milliseconds kBeatPeriod{1000};

// A read that comes back long before its time did not time out: the data queue itself has failed.
bool isFailure(int result, milliseconds waited, milliseconds wanted) {
    return result != transport_error::kNoAnswer && result != transport_error::kOversized &&
           waited < wanted / 2;
}

Port::Time nextEvent(Port& port, const AckWait& wait) {
    const bool beats = wait.isPending() && port.beat();
    return beats ? std::min(wait.nextEvent(), port.beat()->last + kBeatPeriod) : wait.nextEvent();
}

// What is to be done while nothing arrives.
void act(Port& port, AckWait& wait, const Command* command) {
    if (wait.takeResend(port.now()) && command != nullptr && port.mayRepeat(command->frame)) {
        port.arrears().addSpent(frame::rawRequestId(command->frame));
        port.counters()[Figure::Repeated].add();
        port.send(&command->frame, command->length);
    }
    if (wait.isPending()) {
        beatIfDue(port);
    }
}

std::uint64_t nanoseconds(Port::Time::duration time) {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

void countAnswer(Port& port, const AckWait& wait, const UDPPacket& ack, Port::Time now) {
    util::LinkCounters& counters = port.counters();
    counters[Figure::AnswerMoment].set(nanoseconds(now.time_since_epoch()));
    if (frame::ackStatus(ack) != 0) {
        counters[Figure::Refused].add();
    }
    if (!wait.wasRepeated()) {
        const std::uint64_t time = nanoseconds(now - wait.sent());
        counters[Figure::RoundTrips].add();
        counters[Figure::RoundTripTime].add(time);
        counters[Figure::LastRoundTrip].set(time);
        counters[Figure::LongestRoundTrip].set(std::max(counters[Figure::LongestRoundTrip].get(), time));
    }
}

int waitForAck(Port& port, AckWait& wait, const Command* command, UDPPacket& ack, std::size_t& size) {
    for (int result = transport_error::kNoAnswer;;) {
        const Port::Time now = port.now();
        if (wait.isOver(now)) {
            return result;
        }
        act(port, wait, command);
        unsigned length = 0;
        const Port::Time until = nextEvent(port, wait);
        result = port.receive(&ack, &length, Port::kPatient, until);
        if (result != 0) {
            const auto waited = std::chrono::duration_cast<milliseconds>(port.now() - now);
            if (isFailure(result, waited, std::chrono::duration_cast<milliseconds>(until - now))) {
                return result;
            }
            continue;
        }
        result = transport_error::kNoAnswer;
        size = frame::contentLength(ack, length);
        if (size < frame::kPayload) {
            continue;
        }
        const Port::Time arrived = port.now();
        switch (wait.take(factsOf(port, ack, size, command), arrived)) {
        case AckWait::Verdict::Answer:
            countAnswer(port, wait, ack, arrived);
            return 0;
        case AckWait::Verdict::Foreign:
            return transport_error::kForeignReply;
        case AckWait::Verdict::WaitOn:
            break;
        }
    }
}

} // namespace

// The command may be the very one whose id is spent: it was sent more than once. Commands that were sent for
// this process while it was stopped are none of its own.
AckFacts factsOf(Port& port, const UDPPacket& ack, std::size_t size, const Command* command) {
    AckFacts facts = frame::ackFacts(ack, size);
    const bool own = command != nullptr && frame::rawRequestId(command->frame) == facts.id;
    const bool spent =
        port.arrears().isSpent(facts.id) || kept_control::isRequestId(frame::get16<frame::kRequestId>(ack));
    facts.other = (!own && spent) || (command != nullptr && !frame::isFromTarget(ack, command->frame));
    if (own && facts.pending && facts.sound && !facts.other && port.access()) {
        port.access()->patient = true;
    }
    return facts;
}

// Acknowledgements that come too late, or twice, would be taken for those of the commands that follow, each
// of which would then leave its own behind: so what has piled up since a failure is thrown away first.
void sendCommand(Port& port, const Command& command) {
    const Port::Time end = port.now() + kLongestDrain;
    if (std::exchange(port.arrears().unsettled, false)) {
        UDPPacket late;
        for (int i = 0; i < kMostLateFrames && port.receive(&late, nullptr, 0, end) == 0; ++i) {
        }
    }
    if (!port.access() || port.now() < port.access()->end()) {
        port.counters()[Figure::Commands].add();
        port.send(&command.frame, command.length);
    }
}

int receiveAck(Port& port, AckWait& wait, const Command* command, UDPPacket& ack, std::size_t& size) {
    const int result = waitForAck(port, wait, command, ack, size);
    if (result != 0) {
        port.counters()[Figure::Unanswered].add(result != transport_error::kForeignReply ? 1 : 0);
        port.arrears().unsettled = true;
        if (command != nullptr) {
            port.arrears().addSpent(frame::rawRequestId(command->frame));
        }
    }
    return result;
}

int runCommand(Port& port, AckWait& wait, const Command& command, UDPPacket& ack, std::size_t& size) {
    sendCommand(port, command);
    return receiveAck(port, wait, &command, ack, size);
}

void beatIfDue(Port& port) {
    std::optional<Port::Beat>& beat = port.beat();
    if (!beat || port.now() < beat->last + kBeatPeriod) {
        return;
    }
    beat->last = port.now();
    UDPPacket command;
    const auto send = [&](unsigned length) {
        port.arrears().addSpent(frame::rawRequestId(command));
        port.counters()[Figure::Commands].add();
        port.send(&command, frame::padded(length));
    };
    const frame::Route route = port.toCurrentCamera();
    send(frame::writeRegister(command, route, port.takeRequestId(), beat->address, beat->value));
    send(frame::readRegister(command, route, port.takeRequestId(), beat->look));
}

} // namespace transport
