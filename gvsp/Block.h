// One block of a stream on its way into a buffer: which of its packets have arrived, and what image they
// make.
//
// Data packet n stands at (n - 1) times the payload that all data packets of a block but the last have in
// common. How much that is, is known from earlier blocks or from the settings, but only taken as likely: of
// two data packets of one block the larger is of full size, so that the second one settles it, and the first
// moves when it was taken for something else.
#pragma once

#include "gvsp/PacketSet.h"
#include "gvsp/Receiver.h"
#include "gvsp/leader.h"
#include "gvsp/packet.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

namespace gvsp {

// Higher ids are a mistake: so what a set of packets takes stays within 512 KiB.
inline constexpr std::uint32_t kMostPackets = 1U << 22;

class Block {
public:
    struct Start {
        std::uint64_t id = 0;
        bool extendedIds = false;
        std::uint64_t sequence = 0;    // ascending in the order of blocks
        std::size_t packetPayload = 0; // of data packets, likely; 0 when not known
    };
    enum class Taken { New, Duplicate, Malformed };
    struct Result {
        Taken taken = Taken::New;
        std::size_t bytes = 0; // put into place
    };

    void begin(const Start& start, const Buffer& buffer, const Settings& settings, Time now);
    // A block that found no buffer: nothing of it is kept.
    void beginWithout(const Start& start, Time now);

    // The good path: true when the datagram is the next data packet in order, of full size, and is in place
    // now. It counts when account() is called, which must come before any other call.
    bool takeNext(std::span<const std::uint8_t> datagram, Time now);
    // How many packets takeNext() took since it was last called.
    std::uint32_t account();
    // Any packet of this block, of those with an error status only leader and trailer.
    Result take(const Packet& packet, Time now);

    std::uint64_t id() const { return m_start.id; }
    bool extendedIds() const { return m_start.extendedIds; }
    std::uint64_t sequence() const { return m_start.sequence; }
    bool is(std::uint64_t id, bool extended) const {
        return id == m_start.id && extended == m_start.extendedIds;
    }
    Time firstPacket() const { return m_firstPacket; }
    Time lastPacket() const { return m_lastPacket; }
    const std::optional<Leader>& leader() const { return m_leader; }
    bool hasTrailer() const { return m_trailer.has_value(); }
    const Buffer& buffer() const { return m_buffer; }
    std::uint32_t arrived() const { return m_taken; }
    // Everything has come, as far as the buffer reaches.
    bool complete() const { return m_trailer && m_count == std::min(m_trailerId, m_slots + 1); }
    std::size_t packetPayload() const { return m_packetPayload; }
    // Payload of a data packet when that is beyond doubt, else 0.
    std::size_t settledPayload() const { return m_dataCount > 1 ? m_packetPayload : 0; }

    // Behind the last packet that has come; the trailer's own id when that has.
    std::uint32_t next() const { return m_next; }
    // Of packets whose bytes have a place in the buffer, and the leader.
    bool isMissing(std::uint32_t id) const;
    std::uint32_t lastWithPlace() const { return m_slots; }
    // The id of the trailer, estimated as long as that has not come.
    std::uint32_t lastId() const;
    std::uint32_t missingPackets() const;

    // No packet is taken any more.
    void finish();
    bool finished() const { return m_finished; }
    // Of a finished block.
    void describe(Image& out) const;

private:
    struct Extent {
        std::uint64_t bytes = 0;
        bool known = false;
    };

    Result takeAny(const Packet& packet);
    Result takeLeader(const Packet& packet);
    Result takeTrailer(const Packet& packet);
    Result takeData(std::uint32_t id, std::span<const std::uint8_t> content);
    Result takeAllIn(const Packet& packet);
    bool agree(std::uint32_t id, std::size_t size);
    bool agreeOnFirst(std::uint32_t id, std::size_t size);
    bool settle(std::uint32_t id, std::size_t size);
    std::size_t place(std::uint32_t id, std::span<const std::uint8_t> content);
    void setPacketPayload(std::size_t size);
    void moveFirst(std::size_t packetPayload);
    void forgetUnplaced();

    std::uint16_t payloadType() const;
    std::uint64_t expectedBytes() const;
    std::uint64_t offsetOf(std::uint32_t id) const { return std::uint64_t{id - 1} * m_packetPayload; }
    Extent extent() const;
    bool leaderLies(const Extent& extent) const;
    void describeShape(Image& out, const Extent& extent) const;
    void collectMissing(Image& out) const;

    Start m_start;
    Buffer m_buffer;
    Geometry m_assumed;
    std::size_t m_payloadSize = 0; // of an image, as the settings say
    bool m_finished = true;
    bool m_truncated = false;
    bool m_cameraLost = false; // data, as it says itself

    std::size_t m_packetPayload = 0;
    std::size_t m_wholeDatagram = 0; // with its header
    std::uint64_t m_header = 0; // first 8 bytes of data packets; with short ids the packet's own comes on top
    std::uint32_t m_whole =
        0; // data packets that takeNext() may take: those of full size, before the trailer
    std::uint32_t m_slots = kMostPackets; // data packets of which it has room for a part at least
    std::uint32_t m_next = 0;
    std::uint32_t m_accounted = 0; // m_next as take() left it
    std::uint32_t m_count = 0;     // packets in m_arrived
    std::uint32_t m_taken = 0;     // those, the trailer, and packets behind the buffer
    std::uint32_t m_dataCount = 0;
    PacketSet m_arrived; // of the leader and the data packets that the buffer has room for
    Time m_firstPacket{};
    Time m_lastPacket{};

    std::uint32_t m_firstId = 0; // of the data packet that came first
    std::size_t m_firstSize = 0;
    bool m_unsure = false;       // where that one belongs
    std::uint32_t m_shortId = 0; // of a data packet below full size: the last one
    std::size_t m_shortSize = 0;
    std::optional<Leader> m_leader;
    std::optional<Trailer> m_trailer;
    std::uint32_t m_trailerId = 0;
};

inline bool Block::takeNext(std::span<const std::uint8_t> datagram, Time now) {
    const std::uint8_t* bytes = datagram.data();
    if (datagram.size() != m_wholeDatagram || m_next - 1 >= m_whole) {
        return false;
    }
    if (m_start.extendedIds) {
        if (big64(bytes) != m_header || big64(bytes + kExtendedBlockId) != m_start.id ||
            big32(bytes + kExtendedPacketId) != m_next) {
            return false;
        }
        bytes += kExtendedHeader;
    } else {
        if (big64(bytes) != (m_header | m_next)) {
            return false;
        }
        bytes += kHeader;
    }
    std::memcpy(m_buffer.data + (m_next - 1) * m_packetPayload, bytes, m_packetPayload);
    ++m_next;
    m_lastPacket = now;
    return true;
}

inline std::uint32_t Block::account() {
    const std::uint32_t run = m_next - m_accounted;
    if (run != 0) {
        m_arrived.insert(m_accounted, m_next);
        m_count += run;
        m_taken += run;
        m_dataCount += run;
        m_accounted = m_next;
    }
    return run;
}

} // namespace gvsp
