// How a GigeCamera sends frames through the FPGA's transmit registers and receives them from the data queue.
//
// The data queue gives, for a frame of L bytes, the word L and then one word for every two bytes: these two
// in bits 0 to 15, the first of them lowest, and an end mark at bit 16 of the last word.
#include "transport/GigeCamera.h"
#include "transport/trace.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kEndMark = 1U << 16;
constexpr std::size_t kMaxWords = UDPPacket::kSize / 2;

// No Ethernet frame is longer, jumbo frames included. A length word beyond it is no length: the data queue is
// out of step, and only emptying it helps.
constexpr std::uint32_t kLongestFrame = 16384;

void storeHalfwords(UDPPacket& packet, std::size_t offset, const std::uint32_t* words, std::size_t count) {
    std::uint8_t* bytes = packet.at(offset);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[2 * i] = static_cast<std::uint8_t>(words[i]);
        bytes[2 * i + 1] = static_cast<std::uint8_t>(words[i] >> 8);
    }
}

} // namespace

int GigeCamera::SendPacket(int port, const void* data, unsigned int length) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    trace::packet(trace::Sent, port, data, length);
    PrepareSendPacket(port, data, length);
    return SendPreparedPacket(port);
}

// A trailing odd byte is not sent.
int GigeCamera::PrepareSendPacket(int port, const void* data, unsigned int length) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    const int target = id(port, PortRegister::WriteData);
    int result = WriteFpgaRegister8(id(port, PortRegister::BufferReset), 0);
    for (unsigned int i = 0; i < length / 2; ++i) {
        const unsigned halfword = bytes[2 * i] | (static_cast<unsigned>(bytes[2 * i + 1]) << 8);
        result = TavoRegisterWrite(m_board, target, halfword);
    }
    return result;
}

int GigeCamera::SendPreparedPacket(int port) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    return WriteFpgaRegister8(id(port, PortRegister::WriteComplete), 0);
}

int GigeCamera::PrepareWriteRegister(int port, unsigned int address, unsigned int value) {
    UDPPacket packet;
    unsigned short length = 0;
    const int result = BuildGvcpWriteRegisterPacket(port, &packet, &length, address, value);
    if (result != 0) {
        return result;
    }
    PrepareSendPacket(port, &packet, frame::padded(length));
    WriteFpgaRegister32(id(port, PortRegister::RequestIdEnable), 1);
    return 0;
}

int GigeCamera::ReceiveUdpPacket(unsigned int port, UDPPacket* packet, unsigned int* length, int timeout) {
    if (port >= kPorts) {
        return transport_error::kBadPort;
    }
    for (;;) {
        const int result = receiveFrame(static_cast<int>(port), packet, length, timeout);
        if (result != 0 || packet == nullptr) {
            return result;
        }
        switch (frame::classify(*packet)) {
        case frame::Kind::Answer:
            return 0;
        case frame::Kind::Arp:
            answerArp(static_cast<int>(port), *packet);
            break;
        case frame::Kind::Ignored:
            break;
        }
    }
}

// One frame of any kind, with zeros behind it in `packet`.
int GigeCamera::receiveFrame(int port, UDPPacket* packet, unsigned int* length, int timeout) {
    std::uint32_t size = 0;
    const int got = TavoDataQueueReadBufferLong(m_board, port, &size, sizeof(size), timeout);
    if (got < 0) {
        return got;
    }
    if (got < static_cast<int>(sizeof(size))) {
        return transport_error::kTruncated;
    }
    if (size > kLongestFrame) {
        TavoDataQueueClear(m_board, port);
        return transport_error::kOversized;
    }
    const bool fits = size <= UDPPacket::kSize;
    const int result = receiveWords(port, size, fits ? packet : nullptr, timeout);
    if (result != 0 || !fits) {
        return result != 0 ? result : transport_error::kOversized;
    }
    if (length != nullptr) {
        *length = size;
    }
    if (packet != nullptr) {
        std::fill(packet->bytes.begin() + size, packet->bytes.end(), 0);
        trace::packet(trace::Received, port, packet, size);
    }
    return 0;
}

// The data words of a frame of `length` bytes, thrown away without `packet`. Whether the odd byte of a frame
// comes with a word of its own is seen from the end mark, so that the queue stays in step either way.
int GigeCamera::receiveWords(int port, std::uint32_t length, UDPPacket* packet, int timeout) {
    std::array<std::uint32_t, kMaxWords> words;
    const std::size_t whole = length / 2;
    const std::size_t most = (length + 1) / 2;
    bool ended = false;
    for (std::size_t taken = 0; taken < whole || (taken < most && !ended);) {
        const std::size_t count = std::min(taken < whole ? whole - taken : 1, words.size());
        const auto bytes = static_cast<unsigned>(count * sizeof(words[0]));
        const int got = TavoDataQueueReadBufferLong(m_board, port, words.data(), bytes, timeout);
        if (got < 0) {
            return got;
        }
        if (static_cast<unsigned>(got) < bytes) {
            return transport_error::kTruncated;
        }
        if (packet != nullptr) {
            storeHalfwords(*packet, 2 * taken, words.data(), count);
        }
        ended = (words[count - 1] & kEndMark) != 0;
        taken += count;
    }
    return ended ? 0 : transport_error::kTruncated;
}

// Only for the port's own address; a reply is never answered.
void GigeCamera::answerArp(int port, UDPPacket& packet) {
    const Port& self = m_ports[port];
    if (std::equal(self.ip.begin(), self.ip.end(), packet.at(net::kArpTargetIp)) &&
        frame::get16<net::kArpOperation>(packet) != net::kArpReply) {
        frame::arpReply(packet, self.mac, self.ip);
        SendPacket(port, &packet, net::kMinFrame);
    }
}
