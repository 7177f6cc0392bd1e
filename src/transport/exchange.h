// What GVCP commands are made of: sending one, waiting for its acknowledgement, and the bounds of that.
//
// Results are as in command_channel.h. The caller serialises what is done on one port.
#pragma once

#include "transport/AckWait.h"
#include "transport/Port.h"

#include <cstddef>

namespace transport {

// The commands of a scope are one access, which ends as a whole: 8 seconds after it began, or 60 when the
// camera has asked for patience. What comes too late is not sent any more and has no answer. A scope within
// another one is part of that.
class Access {
public:
    explicit Access(Port& port) : m_port(port), m_isOuter(!port.access()) {
        if (m_isOuter) {
            begin();
        }
    }
    ~Access() {
        if (m_isOuter) {
            m_port.access().reset();
        }
    }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    // The camera has given a part of what was asked for: the time starts again.
    void begin() { m_port.access() = AccessTime{m_port.now()}; }
    const AccessTime& time() const { return *m_port.access(); }

private:
    Port& m_port;
    const bool m_isOuter;
};

// A command that was built, and the bytes of it that go out.
struct Command {
    const UDPPacket& frame;
    unsigned length;
};

// Sends a command, after throwing away what has come for earlier ones. Within an Access.
void sendCommand(Port& port, const Command& command);

// Waits for the acknowledgement until the wait is over, whatever else arrives; `size` is without Ethernet's
// padding. The command (null: it is not known) goes out again when the wait says so.
int receiveAck(Port& port, AckWait& wait, const Command* command, UDPPacket& ack, std::size_t& size);

// What a received frame says to the wait for a command's acknowledgement.
AckFacts factsOf(Port& port, const UDPPacket& ack, std::size_t size, const Command* command);

// Both: 0 when the command was acknowledged, with whatever status.
int runCommand(Port& port, AckWait& wait, const Command& command, UDPPacket& ack, std::size_t& size);

// Keeps control of the camera alive, if that is wished and due. The answers are passed over.
void beatIfDue(Port& port);

} // namespace transport
