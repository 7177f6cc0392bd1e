// What of an image is sent, and what its packets look like. A block that has been sent is kept as this, so
// that packets can be sent again: its picture is shared with other blocks.
#pragma once

#include "protocol/gvsp.h"
#include "simcam/PacketBatch.h"
#include "simcam/Station.h"

namespace simcam {

struct Block {
    std::uint64_t number = 0; // from 1 on, since the stream was opened
    bool extendedIds = false;
    std::uint64_t timestamp = 0;
    std::uint16_t payloadType = 0;
    std::uint32_t pixelFormat = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint32_t chunkLayout = 0;
    std::uint64_t settings = 0; // counts with what blocks look like; not sent
    SharedBytes picture;        // what `image` lies in
    ByteView image;             // the payload's beginning
    Bytes chunks;               // and its end
    std::size_t packetSize;     // as in the packet size register

    std::size_t payloadSize() const { return image.size() + chunks.size(); }
    std::size_t room() const; // bytes of payload in a packet
    std::uint32_t lastPacket() const;
    // As the packets carry it: with 16 bits 65535 is followed by 1.
    std::uint64_t id() const { return extendedIds ? number : (number - 1) % gvsp::kLastShortBlock + 1; }
};

// The frames of one stream, from its sender to its receiver.
class StreamFrames {
public:
    // The station is the caller's and outlives this.
    StreamFrames(const Station& station, const Peer& to, std::uint16_t fromPort, bool dontFragment)
        : m_station(station), m_to(to), m_fromPort(fromPort), m_dontFragment(dontFragment) {}

    // One packet of a block: 0 is its leader, the last one its trailer. The bytes of its IP packet.
    std::size_t packet(const Block& block, std::uint32_t id, bool again, PacketBatch& out);
    // A packet without data that says why there is none.
    void refusal(
        bool extendedIds, std::uint64_t block, std::uint32_t packet, gvsp::Status status, PacketBatch& out);
    // A datagram whose IP packet has that size and that belongs to no block.
    void test(std::size_t packetSize, PacketBatch& out);

private:
    void header(
        bool extendedIds, std::uint64_t block, gvsp::Format format, std::uint32_t packet,
        gvsp::Status status);
    void leader(const Block& block);
    void trailer(const Block& block);
    std::size_t send(ByteView data, const SharedBytes& owner, PacketBatch& out);

    const Station& m_station;
    const Peer m_to;
    const std::uint16_t m_fromPort;
    const bool m_dontFragment;
    Writer m_header;      // of the packet that is being made
    Bytes m_head;         // what stands before it, as long as packets have one size
    std::size_t m_size{}; // that size
};

} // namespace simcam
