// Register commands are sent once more when another command's acknowledgement comes back. A block of memory
// is asked for once more after any failure. AckWait decides what an acknowledgement is, and when a command is
// repeated because of silence.
#include "transport/command_channel.h"

#include "transport/exchange.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace transport {
namespace {

constexpr unsigned kBlock = gvcp::kMaxMemoryBlock;
constexpr unsigned kGranularity = 8; // some cameras read memory only in multiples of this
static_assert(kBlock % kGranularity == 0);

// Copies of another command's acknowledgement to look at, and milliseconds for the next one to come.
constexpr int kMostCopies = 64;
constexpr int kCopyTimeout = 20;
constexpr std::chrono::milliseconds kLongestLook{100};

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

// Looks through what has arrived, and what is just arriving, for the acknowledgement, and throws the rest
// away. Copies of another command's follow each other closely, but a camera may pause between any two.
bool takeArrived(Port& port, AckWait& wait, const Command& command, UDPPacket& ack, std::size_t& size) {
    bool found = false;
    UDPPacket next;
    unsigned length = 0;
    const Port::Time end = port.now() + kLongestLook;
    for (int i = 0; i < kMostCopies; ++i) {
        if (port.receive(&next, &length, found ? 0 : kCopyTimeout, end) != 0) {
            break;
        }
        const std::size_t content = frame::contentLength(next, length);
        if (content >= frame::kPayload &&
            wait.take(factsOf(port, next, content, &command), port.now()) == AckWait::Verdict::Answer) {
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
int runRegisterCommand(Port& port, const Command& command, UDPPacket& ack, std::size_t& size) {
    const Access access(port);
    const std::uint16_t requestId = frame::rawRequestId(command.frame);
    AckWait wait(requestId, AckWait::Foreign::EndsTheWait, port.now(), access.time());
    int result = runCommand(port, wait, command, ack, size);
    if (result == transport_error::kForeignReply) {
        result = 0;
        const bool arrived = takeArrived(port, wait, command, ack, size);
        port.counters()[util::Figure::Repeated].add();
        port.send(&command.frame, command.length);
        port.arrears().addSpent(requestId);
        if (!arrived) {
            wait.restart(port.now());
            result = receiveAck(port, wait, &command, ack, size);
        }
    }
    return result;
}

int runRegisterCommand(Port& port, const Command& command, int* value) {
    UDPPacket ack;
    std::size_t size = 0;
    const int result = runRegisterCommand(port, command, ack, size);
    return result != 0 ? result : registerResult(ack, size, value);
}

// Whether a block of memory has come, with the data of the place that was asked for: a late answer must not
// be taken for those of another place, nor for what that place holds now.
int storeMemory(
    Port& port, int result, const Command* command, const UDPPacket& ack, std::size_t size, char* buffer,
    unsigned capacity) {
    const bool good = result == 0 && frame::ackStatus(ack) == 0 &&
                      (command == nullptr ||
                       frame::get32<frame::kPayload>(ack) == frame::get32<frame::kPayload>(command->frame));
    const int stored = good ? frame::copyMemory(ack, size, buffer, capacity) : -1;
    if (stored < 0) {
        port.arrears().unsettled = true;
        port.arrears().lastBlock = result != 0 ? result : frame::ackStatus(ack);
    }
    return stored;
}

bool fetchBlock(Port& port, const Command& command, char* buffer, unsigned capacity) {
    UDPPacket ack;
    std::size_t size = 0;
    AckWait wait(
        frame::rawRequestId(command.frame), AckWait::Foreign::IsPassedOver, port.now(), *port.access());
    const int result = runCommand(port, wait, command, ack, size);
    return storeMemory(port, result, &command, ack, size, buffer, capacity) >= 0;
}

bool readBlock(Port& port, unsigned address, unsigned asked, unsigned expected, char* buffer) {
    UDPPacket command;
    const unsigned length = frame::padded(
        frame::readMemory(
            command, port.toCurrentCamera(), port.takeRequestId(), address,
            static_cast<std::uint16_t>(asked)),
        frame::kReadMemoryMinimum);
    return fetchBlock(port, {command, length}, buffer, expected) ||
           fetchBlock(port, {command, length}, buffer, expected);
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

int receiveRegisterAck(Port& port, int* value, std::uint16_t requestId) {
    UDPPacket ack;
    std::size_t size = 0;
    AckWait wait(requestId, AckWait::Foreign::EndsTheWait, port.now());
    const int result = receiveAck(port, wait, nullptr, ack, size);
    return result != 0 ? result : registerResult(ack, size, value);
}

// Whose acknowledgements these are cannot be looked at: the command is not known here.
int receiveMemoryAck(Port& port, char* buffer, unsigned capacity) {
    UDPPacket ack;
    std::size_t size = 0;
    AckWait wait(std::nullopt, AckWait::Foreign::IsPassedOver, port.now());
    const int result = receiveAck(port, wait, nullptr, ack, size);
    return storeMemory(port, result, nullptr, ack, size, buffer, capacity);
}

int receiveMemoryWrittenAck(Port& port) {
    UDPPacket ack;
    std::size_t size = 0;
    AckWait wait(std::nullopt, AckWait::Foreign::IsPassedOver, port.now());
    const int result = receiveAck(port, wait, nullptr, ack, size);
    return result != 0 ? result : frame::ackStatus(ack);
}

int readRegister(Port& port, unsigned address, int* value) {
    UDPPacket command;
    const unsigned length =
        frame::readRegister(command, port.toCurrentCamera(), port.takeRequestId(), address);
    return runRegisterCommand(port, {command, frame::padded(length)}, value);
}

// A refusal that comes with as many values as were asked for does not tell what was refused.
int readRegisters(
    Port& port, std::span<const std::uint32_t> addresses, std::uint32_t* values, std::size_t& done) {
    done = 0;
    if (addresses.size() > gvcp::kMaxRegisters) {
        return transport_error::kOversized;
    }
    UDPPacket command;
    const unsigned length =
        frame::readRegisters(command, port.toCurrentCamera(), port.takeRequestId(), addresses);
    UDPPacket ack;
    std::size_t size = 0;
    const int result = runRegisterCommand(port, {command, frame::padded(length)}, ack, size);
    if (result != 0) {
        return result;
    }
    const std::size_t carried = frame::registerCount(ack, size);
    const int status = frame::ackStatus(ack);
    const bool isWhole = carried >= addresses.size();
    if ((status == 0) == isWhole) {
        done = std::min(carried, addresses.size());
        for (std::size_t i = 0; i < done; ++i) {
            values[i] = frame::registerValue(ack, i);
        }
    }
    return status == 0 && !isWhole ? transport_error::kTruncated : status;
}

int writeRegister(Port& port, unsigned address, int value) {
    UDPPacket command;
    const unsigned length = frame::writeRegister(
        command, port.toCurrentCamera(), port.takeRequestId(), address, static_cast<unsigned>(value));
    return runRegisterCommand(port, {command, frame::padded(length)}, nullptr);
}

int prepareWriteRegister(Port& port, unsigned address, unsigned value) {
    UDPPacket command;
    const unsigned length =
        frame::writeRegister(command, port.toCurrentCamera(), port.takeRequestId(), address, value);
    port.prepare(&command, frame::padded(length));
    port.startStamping();
    return 0;
}

int writeMemory(Port& port, unsigned address, const unsigned char* data, unsigned count) {
    if (count > kBlock) {
        return transport_error::kOversized;
    }
    UDPPacket command;
    const unsigned length =
        frame::writeMemory(command, port.toCurrentCamera(), port.takeRequestId(), address, data, count);
    const Access access(port);
    UDPPacket ack;
    std::size_t size = 0;
    AckWait wait(frame::rawRequestId(command), AckWait::Foreign::IsPassedOver, port.now(), access.time());
    const int result = runCommand(port, wait, {command, frame::padded(length)}, ack, size);
    return result != 0 ? result : frame::ackStatus(ack);
}

int readMemory(Port& port, unsigned address, unsigned count, unsigned short* done, char* buffer) {
    Access access(port);
    for (unsigned offset = 0; offset != count;) {
        const unsigned expected = std::min(kBlock, count - offset);
        const unsigned asked = (expected + kGranularity - 1) / kGranularity * kGranularity;
        const bool last = expected == count - offset;
        if (!readBlock(port, address + offset, asked, expected, buffer + offset) &&
            !(last && readBlockInParts(port, address + offset, asked, expected, buffer + offset))) {
            return 1;
        }
        offset += expected;
        if (!last) {
            access.begin();
            beatIfDue(port);
        }
    }
    if (done != nullptr) {
        *done = static_cast<unsigned short>(count);
    }
    return 0;
}

} // namespace transport
