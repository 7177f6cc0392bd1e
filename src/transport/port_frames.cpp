// How a port sends frames through the FPGA's transmit registers and receives them from the data queue.
//
// The data queue gives, for a frame of L bytes, the word L and then one word for every two bytes: these two
// in bits 0 to 15, the first of them lowest, and an end mark at bit 16 of the last word.
#include "transport/Port.h"
#include "transport/trace.h"

#include <algorithm>

namespace transport {

using fpga::PortRegister;

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

int Port::send(const void* data, unsigned length) {
    trace::packet(trace::Sent, m_boardIndex, m_index, data, length);
    prepare(data, length);
    return sendPrepared();
}

int Port::prepare(const void* data, unsigned length) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    const int target = id(PortRegister::WriteData);
    int result = writeRegister(PortRegister::BufferReset, 0);
    for (unsigned i = 0; i < length / 2; ++i) {
        const unsigned halfword = bytes[2 * i] | (static_cast<unsigned>(bytes[2 * i + 1]) << 8);
        result = TavoRegisterWrite(m_board, target, halfword);
    }
    return result;
}

int Port::sendPrepared() {
    counters()[util::Figure::FramesSent].add();
    return writeRegister(PortRegister::WriteComplete, 0);
}

void Port::clearQueue() {
    TavoDataQueueClear(m_board, static_cast<unsigned>(m_index));
}

int Port::receive(UDPPacket* packet, unsigned* length, int timeout, Time end) {
    for (;;) {
        int wait = timeout;
        if (end != Time::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now()).count();
            wait = static_cast<int>(std::clamp<std::int64_t>(left, 0, timeout));
        }
        const int result = receiveFrame(packet, length, wait);
        if (result != 0 || packet == nullptr) {
            return result;
        }
        switch (frame::classify(*packet)) {
        case frame::Kind::Answer:
            return 0;
        case frame::Kind::Arp:
            answerArp(*packet);
            break;
        case frame::Kind::Ignored:
            break;
        }
        if (end != Time::max() && now() >= end) {
            return transport_error::kNoAnswer;
        }
    }
}

// One frame of any kind, with zeros behind it in `packet`.
int Port::receiveFrame(UDPPacket* packet, unsigned* length, int timeout) {
    std::uint32_t size = 0;
    const int got =
        TavoDataQueueReadBufferLong(m_board, static_cast<unsigned>(m_index), &size, sizeof(size), timeout);
    if (got < 0) {
        return got;
    }
    if (got < static_cast<int>(sizeof(size))) {
        return transport_error::kTruncated;
    }
    if (size > kLongestFrame) {
        clearQueue();
        return transport_error::kOversized;
    }
    const bool fits = size <= UDPPacket::kSize;
    const int result = receiveWords(size, fits ? packet : nullptr, timeout);
    if (result != 0 || !fits) {
        return result != 0 ? result : transport_error::kOversized;
    }
    counters()[util::Figure::FramesReceived].add();
    if (length != nullptr) {
        *length = size;
    }
    if (packet != nullptr) {
        std::fill(packet->bytes.begin() + size, packet->bytes.end(), 0);
        trace::packet(trace::Received, m_boardIndex, m_index, packet, size);
    }
    return 0;
}

// The data words of a frame of `length` bytes, thrown away without `packet`. Whether the odd byte of a frame
// comes with a word of its own is seen from the end mark, so that the queue stays in step either way.
int Port::receiveWords(std::uint32_t length, UDPPacket* packet, int timeout) {
    std::array<std::uint32_t, kMaxWords> words;
    const std::size_t whole = length / 2;
    const std::size_t most = (length + 1) / 2;
    bool ended = false;
    for (std::size_t taken = 0; taken < whole || (taken < most && !ended);) {
        const std::size_t count = std::min(taken < whole ? whole - taken : 1, words.size());
        const auto bytes = static_cast<unsigned>(count * sizeof(words[0]));
        const int got = TavoDataQueueReadBufferLong(
            m_board, static_cast<unsigned>(m_index), words.data(), bytes, timeout);
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

// Only for the port's own address.
void Port::answerArp(UDPPacket& packet) {
    if (frame::isArpRequest(packet) && std::equal(m_ip.begin(), m_ip.end(), packet.at(net::kArpTargetIp))) {
        frame::arpReply(packet, m_mac, m_ip);
        send(&packet, net::kMinFrame);
    }
}

} // namespace transport
