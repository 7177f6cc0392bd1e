// The commands of a GigeCamera to a port's selected camera, each waiting for its acknowledgement.
//
// Register commands are sent once more when another command's acknowledgement comes back, and only then. A
// block of memory is asked for once more after any failure. AckWait decides what an acknowledgement is.
#include "transport/AckWait.h"
#include "transport/GigeCamera.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

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
    const int status = GigeCamera::checkAckPacket(&ack);
    if (status == 0 && value != nullptr) {
        if (size < frame::kPayload + 4) {
            return transport_error::kTruncated;
        }
        *value = static_cast<int>(frame::get32<frame::kPayload>(ack));
    }
    return status;
}

} // namespace

// Acknowledgements that come too late, or twice, would be taken for those of the commands that follow, each
// of which would then leave its own behind: so what has piled up since a failure is thrown away first. The
// second answer to a command that was sent twice is waited for a little while: it is under way for sure.
void GigeCamera::sendCommand(int port, const UDPPacket& command, unsigned length) {
    Port& to = m_ports[port];
    if (std::exchange(to.unsettled, false)) {
        std::optional<std::uint16_t> owed = std::exchange(to.owed, std::nullopt);
        UDPPacket late;
        for (int i = 0; i < kMostLateFrames; ++i) {
            if (ReceiveUdpPacket(port, &late, nullptr, owed ? kOwedTimeout : 0) != 0) {
                break;
            }
            if (owed == frame::rawRequestId(late)) {
                owed.reset();
            }
        }
    }
    SendPacket(port, &command, length);
}

// Waits for the acknowledgement; `size` is without Ethernet's padding. A frame that does not even hold a GVCP
// header is truncated.
int GigeCamera::receiveAck(int port, AckWait& wait, UDPPacket& ack, std::size_t& size) {
    int result = transport_error::kNoAnswer;
    do {
        unsigned int length = 0;
        const auto left = static_cast<int>(wait.remaining(Clock::now()).count());
        if (const int failed = ReceiveUdpPacket(port, &ack, &length, left); failed != 0) {
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
    m_ports[port].unsettled = true;
    return result;
}

// `value` is null for a write, whose acknowledgement brings none.
int GigeCamera::receiveRegisterAck(int port, AckWait& wait, int* value) {
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, wait, ack, size);
    return result != 0 ? result : registerResult(ack, size, value);
}

int GigeCamera::ReceiveReadRegAckPacket(int port, int* value, unsigned short requestId) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    AckWait wait(requestId, AckWait::Foreign::EndsTheWait, Clock::now());
    return receiveRegisterAck(port, wait, value);
}

int GigeCamera::ReceiveWriteRegAckPacket(int port, unsigned short requestId) {
    return ReceiveReadRegAckPacket(port, nullptr, requestId);
}

// Looks through what has arrived, and what is just arriving, for the acknowledgement, and throws the rest
// away. Copies of another command's follow each other closely, but a camera may pause between any two.
bool GigeCamera::takeArrived(int port, AckWait& wait, UDPPacket& ack, std::size_t& size) {
    bool found = false;
    UDPPacket next;
    unsigned int length = 0;
    for (int i = 0; i < kMostLateFrames; ++i) {
        if (ReceiveUdpPacket(port, &next, &length, found ? 0 : kOwedTimeout) != 0) {
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
int GigeCamera::runRegisterCommand(int port, const UDPPacket& command, unsigned length, int* value) {
    const std::uint16_t requestId = frame::rawRequestId(command);
    sendCommand(port, command, length);
    AckWait wait(requestId, AckWait::Foreign::EndsTheWait, Clock::now());
    int result = receiveRegisterAck(port, wait, value);
    if (result != transport_error::kForeignReply) {
        return result;
    }
    UDPPacket ack;
    std::size_t size = 0;
    const bool arrived = takeArrived(port, wait, ack, size);
    SendPacket(port, &command, length);
    if (arrived) {
        result = registerResult(ack, size, value);
    } else {
        wait.restart(Clock::now());
        result = receiveRegisterAck(port, wait, value);
    }
    if (result >= 0) {
        m_ports[port].owed = requestId;
    }
    return result;
}

int GigeCamera::ReadRegister(int port, unsigned int address, int* value) {
    UDPPacket command;
    unsigned short length = 0;
    const int result = BuildGvcpReadRegisterPacket(port, &command, &length, address);
    return result != 0 ? result : runRegisterCommand(port, command, frame::padded(length), value);
}

int GigeCamera::WriteRegister(int port, unsigned int address, int value) {
    UDPPacket command;
    unsigned short length = 0;
    const int result =
        BuildGvcpWriteRegisterPacket(port, &command, &length, address, static_cast<unsigned int>(value));
    return result != 0 ? result : runRegisterCommand(port, command, frame::padded(length), nullptr);
}

int GigeCamera::WriteMemory(int port, unsigned int address, const unsigned char* data, unsigned int count) {
    if (count > kBlock) {
        return transport_error::kOversized;
    }
    UDPPacket command;
    unsigned short length = 0;
    const int result = BuildGvcpWriteMemoryPacket(port, &command, &length, address, data, count);
    if (result != 0) {
        return result;
    }
    sendCommand(port, command, frame::padded(length));
    return receiveMemoryWritten(port, frame::rawRequestId(command));
}

// Whose acknowledgement it is cannot be looked at: the command is not known here.
int GigeCamera::ReceiveWriteMemoryAckPacket(int port) {
    return isPort(port) ? receiveMemoryWritten(port, std::nullopt) : transport_error::kBadPort;
}

int GigeCamera::receiveMemoryWritten(int port, std::optional<std::uint16_t> requestId) {
    AckWait wait(requestId, AckWait::Foreign::IsPassedOver, Clock::now());
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, wait, ack, size);
    return result != 0 ? result : checkAckPacket(&ack);
}

int GigeCamera::ReceiveReadMemAckPacket(int port, char* buffer, unsigned int capacity) {
    return isPort(port) ? receiveMemory(port, nullptr, buffer, capacity) : -1;
}

// Where the command is known, request id and address must be its own: a late answer must not be taken for the
// data of another place, nor for what that place holds now.
int GigeCamera::receiveMemory(int port, const UDPPacket* command, char* buffer, unsigned int capacity) {
    std::optional<std::uint16_t> requestId;
    if (command != nullptr) {
        requestId = frame::rawRequestId(*command);
    }
    AckWait wait(requestId, AckWait::Foreign::IsPassedOver, Clock::now());
    UDPPacket ack;
    std::size_t size = 0;
    const bool good =
        receiveAck(port, wait, ack, size) == 0 && checkAckPacket(&ack) == 0 &&
        (command == nullptr || frame::get32<frame::kPayload>(ack) == frame::get32<frame::kPayload>(*command));
    const int stored = good ? frame::copyMemory(ack, size, buffer, capacity) : -1;
    if (stored < 0) {
        m_ports[port].unsettled = true;
    }
    return stored;
}

int GigeCamera::ReadMemory(
    int port, unsigned int address, unsigned int count, unsigned short* done, char* buffer) {
    if (!isPort(port)) {
        return 1;
    }
    for (unsigned int offset = 0; offset != count;) {
        const unsigned int expected = std::min(kBlock, count - offset);
        const unsigned int asked = (expected + kGranularity - 1) / kGranularity * kGranularity;
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

bool GigeCamera::readBlock(
    int port, unsigned int address, unsigned int asked, unsigned int expected, char* buffer) {
    UDPPacket command;
    unsigned short length = 0;
    BuildGvcpReadMemPacket(port, &command, &length, address, asked);
    const unsigned padded = frame::padded(length, frame::kReadMemoryMinimum);
    sendCommand(port, command, padded);
    if (receiveMemory(port, &command, buffer, expected) >= 0) {
        return true;
    }
    SendPacket(port, &command, padded);
    return receiveMemory(port, &command, buffer, expected) >= 0;
}

// The end of a camera's memory may not bear a read that reaches beyond it, nor even one up to it: a shorter
// block, and the last 1 to 8 bytes as registers.
bool GigeCamera::readBlockInParts(
    int port, unsigned int address, unsigned int asked, unsigned int expected, char* buffer) {
    const unsigned int block = asked - kGranularity;
    if (block < 1 || !readBlock(port, address, block, block, buffer)) {
        return false;
    }
    for (unsigned int offset = block; offset < expected; offset += 4) {
        int value = 0;
        if (ReadRegister(port, address + offset, &value) != 0) {
            return false;
        }
        for (unsigned int i = 0; i < std::min(4U, expected - offset); ++i) {
            buffer[offset + i] = static_cast<char>(static_cast<unsigned int>(value) >> (24 - 8 * i));
        }
    }
    return true;
}
