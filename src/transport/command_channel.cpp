// Register commands are sent once more when another command's acknowledgement comes back, and only then. A
// block of memory is asked for once more after any failure. AckWait decides what an acknowledgement is.
#include "transport/command_channel.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace transport {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kBlock = gvcp::kMaxMemoryBlock;
constexpr unsigned kGranularity = 8; // some cameras read memory only in multiples of this
static_assert(kBlock % kGranularity == 0);

// Frames to look at before a command is sent, after an earlier one failed: more cannot be late answers.
constexpr int kMostLateFrames = 64;

// Milliseconds for an answer that must be on its way: many times that of any local network.
constexpr int kOwedTimeout = 20;

// What the acknowledgement of a register command says; `value` is null for a write.
int registerResult(const UDPPacket& ack, std::size_t size, int* value) {
    const int status = frame::ackStatus(ack);
    if (status == 0 && value != nullptr) {
        if (size < frame::kPayload + 4) {
            return transport_error::kTruncated;
        }
        *value = static_cast<int>(frame::get32<frame::kPayload>(ack));
    }
    return status;
}

int waitForRegisterAck(Port& port, AckWait& wait, int* value) {
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, wait, ack, size);
    return result != 0 ? result : registerResult(ack, size, value);
}

// Looks through what has arrived, and what is just arriving, for the acknowledgement, and throws the rest
// away. Copies of another command's follow each other closely, but a camera may pause between any two.
bool takeArrived(Port& port, AckWait& wait, UDPPacket& ack, std::size_t& size) {
    bool found = false;
    UDPPacket next;
    unsigned length = 0;
    for (int i = 0; i < kMostLateFrames; ++i) {
        if (port.receive(&next, &length, found ? 0 : kOwedTimeout) != 0) {
            break;
        }
        const std::size_t content = frame::contentLength(next, length);
        if (content >= frame::kPayload &&
            wait.take(frame::ackFacts(next, content), Clock::now()) == AckWait::Verdict::Answer) {
            ack = next;
            size = content;
            found = true;
        }
    }
    return found;
}

// Another command's acknowledgement makes the very same command go out once more. Where that one was not
// alone, its likes must not spoil the second attempt as well, nor must the answer to the first be lost with
// them.
int runRegisterCommand(Port& port, const UDPPacket& command, unsigned length, int* value) {
    const std::uint16_t requestId = frame::rawRequestId(command);
    sendCommand(port, command, length);
    AckWait wait(requestId, AckWait::Foreign::EndsTheWait, Clock::now());
    int result = waitForRegisterAck(port, wait, value);
    if (result != transport_error::kForeignReply) {
        return result;
    }
    UDPPacket ack;
    std::size_t size = 0;
    const bool arrived = takeArrived(port, wait, ack, size);
    port.send(&command, length);
    if (arrived) {
        result = registerResult(ack, size, value);
    } else {
        wait.restart(Clock::now());
        result = waitForRegisterAck(port, wait, value);
    }
    if (result >= 0) {
        port.arrears().owed = requestId;
    }
    return result;
}

int waitForMemoryWritten(Port& port, std::optional<std::uint16_t> requestId) {
    AckWait wait(requestId, AckWait::Foreign::IsPassedOver, Clock::now());
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, wait, ack, size);
    return result != 0 ? result : frame::ackStatus(ack);
}

// Where the command is known, request id and address must be its own: a late answer must not be taken for the
// data of another place, nor for what that place holds now.
int waitForMemory(Port& port, const UDPPacket* command, char* buffer, unsigned capacity) {
    std::optional<std::uint16_t> requestId;
    if (command != nullptr) {
        requestId = frame::rawRequestId(*command);
    }
    AckWait wait(requestId, AckWait::Foreign::IsPassedOver, Clock::now());
    UDPPacket ack;
    std::size_t size = 0;
    const bool good =
        receiveAck(port, wait, ack, size) == 0 && frame::ackStatus(ack) == 0 &&
        (command == nullptr || frame::get32<frame::kPayload>(ack) == frame::get32<frame::kPayload>(*command));
    const int stored = good ? frame::copyMemory(ack, size, buffer, capacity) : -1;
    if (stored < 0) {
        port.arrears().unsettled = true;
    }
    return stored;
}

bool readBlock(Port& port, unsigned address, unsigned asked, unsigned expected, char* buffer) {
    UDPPacket command;
    const unsigned length = frame::padded(
        frame::readMemory(
            command, port.toCurrentCamera(), port.takeRequestId(), address,
            static_cast<std::uint16_t>(asked)),
        frame::kReadMemoryMinimum);
    sendCommand(port, command, length);
    if (waitForMemory(port, &command, buffer, expected) >= 0) {
        return true;
    }
    port.send(&command, length);
    return waitForMemory(port, &command, buffer, expected) >= 0;
}

// The end of a camera's memory may not bear a read that reaches beyond it, nor even one up to it: a shorter
// block, and the last 1 to 8 bytes as registers.
bool readBlockInParts(Port& port, unsigned address, unsigned asked, unsigned expected, char* buffer) {
    const unsigned block = asked - kGranularity;
    if (block < 1 || !readBlock(port, address, block, block, buffer)) {
        return false;
    }
    for (unsigned offset = block; offset < expected; offset += 4) {
        int value = 0;
        if (readRegister(port, address + offset, &value) != 0) {
            return false;
        }
        for (unsigned i = 0; i < std::min(4U, expected - offset); ++i) {
            buffer[offset + i] = static_cast<char>(static_cast<unsigned>(value) >> (24 - 8 * i));
        }
    }
    return true;
}

} // namespace

// Acknowledgements that come too late, or twice, would be taken for those of the commands that follow, each
// of which would then leave its own behind: so what has piled up since a failure is thrown away first. The
// second answer to a command that was sent twice is waited for a little while: it is under way for sure.
void sendCommand(Port& port, const UDPPacket& command, unsigned length) {
    Port::Arrears& arrears = port.arrears();
    if (std::exchange(arrears.unsettled, false)) {
        std::optional<std::uint16_t> owed = std::exchange(arrears.owed, std::nullopt);
        UDPPacket late;
        for (int i = 0; i < kMostLateFrames; ++i) {
            if (port.receive(&late, nullptr, owed ? kOwedTimeout : 0) != 0) {
                break;
            }
            if (owed == frame::rawRequestId(late)) {
                owed.reset();
            }
        }
    }
    port.send(&command, length);
}

int receiveAck(Port& port, AckWait& wait, UDPPacket& ack, std::size_t& size) {
    int result = transport_error::kNoAnswer;
    do {
        unsigned length = 0;
        const auto left = static_cast<int>(wait.remaining(Clock::now()).count());
        if (const int failed = port.receive(&ack, &length, left); failed != 0) {
            result = failed;
            break;
        }
        size = frame::contentLength(ack, length);
        if (size < frame::kPayload) {
            result = transport_error::kTruncated;
            break;
        }
        const AckWait::Verdict verdict = wait.take(frame::ackFacts(ack, size), Clock::now());
        if (verdict == AckWait::Verdict::Answer) {
            return 0;
        }
        if (verdict == AckWait::Verdict::Foreign) {
            result = transport_error::kForeignReply;
            break;
        }
    } while (wait.remaining(Clock::now()).count() > 0);
    port.arrears().unsettled = true;
    return result;
}

int receiveRegisterAck(Port& port, int* value, std::uint16_t requestId) {
    AckWait wait(requestId, AckWait::Foreign::EndsTheWait, Clock::now());
    return waitForRegisterAck(port, wait, value);
}

int receiveMemoryAck(Port& port, char* buffer, unsigned capacity) {
    return waitForMemory(port, nullptr, buffer, capacity);
}

// Whose acknowledgement it is cannot be looked at: the command is not known here.
int receiveMemoryWrittenAck(Port& port) {
    return waitForMemoryWritten(port, std::nullopt);
}

int readRegister(Port& port, unsigned address, int* value) {
    UDPPacket command;
    const unsigned length =
        frame::readRegister(command, port.toCurrentCamera(), port.takeRequestId(), address);
    return runRegisterCommand(port, command, frame::padded(length), value);
}

int writeRegister(Port& port, unsigned address, int value) {
    UDPPacket command;
    const unsigned length = frame::writeRegister(
        command, port.toCurrentCamera(), port.takeRequestId(), address, static_cast<unsigned>(value));
    return runRegisterCommand(port, command, frame::padded(length), nullptr);
}

int prepareWriteRegister(Port& port, unsigned address, unsigned value) {
    UDPPacket command;
    const unsigned length =
        frame::writeRegister(command, port.toCurrentCamera(), port.takeRequestId(), address, value);
    port.prepare(&command, frame::padded(length));
    port.writeRegister(fpga::PortRegister::RequestIdEnable, 1);
    return 0;
}

int writeMemory(Port& port, unsigned address, const unsigned char* data, unsigned count) {
    if (count > kBlock) {
        return transport_error::kOversized;
    }
    UDPPacket command;
    const unsigned length =
        frame::writeMemory(command, port.toCurrentCamera(), port.takeRequestId(), address, data, count);
    sendCommand(port, command, frame::padded(length));
    return waitForMemoryWritten(port, frame::rawRequestId(command));
}

int readMemory(Port& port, unsigned address, unsigned count, unsigned short* done, char* buffer) {
    for (unsigned offset = 0; offset != count;) {
        const unsigned expected = std::min(kBlock, count - offset);
        const unsigned asked = (expected + kGranularity - 1) / kGranularity * kGranularity;
        const bool last = expected == count - offset;
        if (!readBlock(port, address + offset, asked, expected, buffer + offset) &&
            !(last && readBlockInParts(port, address + offset, asked, expected, buffer + offset))) {
            return 1;
        }
        offset += expected;
    }
    if (done != nullptr) {
        *done = static_cast<unsigned short>(count);
    }
    return 0;
}

} // namespace transport
