// The commands of a GigeCamera to a port's selected camera, each waiting for its acknowledgement.
//
// Register commands are sent once more when another command's acknowledgement comes back, and only then. A
// block of memory is asked for once more after any failure.
#include "transport/GigeCamera.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr unsigned kBlock = gvcp::kMaxMemoryBlock;
constexpr unsigned kGranularity = 8; // some cameras read memory only in multiples of this
static_assert(kBlock % kGranularity == 0);

// Frames to look at before a command is sent, after an earlier one failed: more cannot be late answers.
constexpr int kMostLateFrames = 64;

} // namespace

// Acknowledgements that come too late, or twice, would be taken for those of the commands that follow, each
// of which would then leave its own behind: so what has piled up since a failure is thrown away first.
void GigeCamera::sendCommand(int port, const UDPPacket& command, unsigned length) {
    if (m_ports[port].unsettled) {
        m_ports[port].unsettled = false;
        UDPPacket late;
        for (int i = 0; i < kMostLateFrames && ReceiveUdpPacket(port, &late, nullptr, 0) == 0; ++i) {
        }
    }
    SendPacket(port, &command, length);
}

// Waits for a frame that may be an acknowledgement; `size` is without Ethernet's padding. A frame that does
// not even hold a GVCP header is truncated.
int GigeCamera::receiveAck(int port, UDPPacket& ack, std::size_t& size) {
    unsigned int length = 0;
    int result = ReceiveUdpPacket(port, &ack, &length, kAckTimeout);
    if (result == 0) {
        size = frame::contentLength(ack, length);
        result = size < frame::kPayload ? transport_error::kTruncated : 0;
    }
    if (result < 0) {
        m_ports[port].unsettled = true;
    }
    return result;
}

int GigeCamera::ReceiveReadRegAckPacket(int port, int* value, unsigned short requestId) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, ack, size);
    if (result != 0) {
        return result;
    }
    if (frame::rawRequestId(ack) != requestId) {
        m_ports[port].unsettled = true;
        return transport_error::kForeignReply;
    }
    const int status = checkAckPacket(&ack);
    if (status == 0) {
        if (size < frame::kPayload + 4) {
            return transport_error::kTruncated;
        }
        *value = static_cast<int>(frame::get32<frame::kPayload>(ack));
    }
    return status;
}

int GigeCamera::ReceiveWriteRegAckPacket(int port, unsigned short requestId) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, ack, size);
    if (result != 0) {
        return result;
    }
    if (frame::rawRequestId(ack) != requestId) {
        m_ports[port].unsettled = true;
        return transport_error::kForeignReply;
    }
    return checkAckPacket(&ack);
}

int GigeCamera::ReadRegister(int port, unsigned int address, int* value) {
    UDPPacket command;
    unsigned short length = 0;
    int result = BuildGvcpReadRegisterPacket(port, &command, &length, address);
    if (result != 0) {
        return result;
    }
    sendCommand(port, command, frame::padded(length));
    result = ReceiveReadRegAckPacket(port, value, frame::rawRequestId(command));
    if (result == transport_error::kForeignReply) {
        SendPacket(port, &command, frame::padded(length));
        result = ReceiveReadRegAckPacket(port, value, frame::rawRequestId(command));
    }
    return result;
}

int GigeCamera::WriteRegister(int port, unsigned int address, int value) {
    UDPPacket command;
    unsigned short length = 0;
    int result =
        BuildGvcpWriteRegisterPacket(port, &command, &length, address, static_cast<unsigned int>(value));
    if (result != 0) {
        return result;
    }
    sendCommand(port, command, frame::padded(length));
    result = ReceiveWriteRegAckPacket(port, frame::rawRequestId(command));
    if (result == transport_error::kForeignReply) {
        SendPacket(port, &command, frame::padded(length));
        result = ReceiveWriteRegAckPacket(port, frame::rawRequestId(command));
    }
    return result;
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
    return ReceiveWriteMemoryAckPacket(port);
}

// Whose acknowledgement it is is not looked at, deliberately.
int GigeCamera::ReceiveWriteMemoryAckPacket(int port) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    UDPPacket ack;
    std::size_t size = 0;
    const int result = receiveAck(port, ack, size);
    return result != 0 ? result : checkAckPacket(&ack);
}

int GigeCamera::ReceiveReadMemAckPacket(int port, char* buffer, unsigned int capacity) {
    return isPort(port) ? receiveMemory(port, nullptr, buffer, capacity) : -1;
}

// The request id is not looked at, deliberately; the address is, when the command is known: a late answer
// must not be taken for the data of another place.
int GigeCamera::receiveMemory(int port, const UDPPacket* command, char* buffer, unsigned int capacity) {
    UDPPacket ack;
    std::size_t size = 0;
    const bool good =
        receiveAck(port, ack, size) == 0 && checkAckPacket(&ack) == 0 &&
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
