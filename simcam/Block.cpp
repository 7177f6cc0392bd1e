#include "simcam/Block.h"

#include "protocol/net.h"

#include <algorithm>

namespace simcam {

using gvsp::Format;
namespace {

// An image among other chunks, of which nothing but its bytes is said.
constexpr auto kChunkData = static_cast<std::uint16_t>(gvsp::PayloadType::ChunkData);

} // namespace

// --- the block ---

std::size_t Block::room() const {
    return packetSize - (extendedIds ? gvsp::kExtendedPacketOverhead : gvsp::kPacketOverhead);
}

std::uint32_t Block::lastPacket() const {
    return static_cast<std::uint32_t>((payloadSize() + room() - 1) / room() + 1);
}

// --- its packets ---

void StreamFrames::header(
    bool extendedIds, std::uint64_t block, Format format, std::uint32_t packet, gvsp::Status status) {
    const auto kind = static_cast<std::uint8_t>(format);
    m_header.clear();
    if (!extendedIds) {
        m_header.u16(static_cast<std::uint16_t>(status)).u16(static_cast<std::uint16_t>(block));
        m_header.u8(kind).u24(packet);
        return;
    }
    const bool again = status == gvsp::Status::Resent; // has a flag of its own here
    m_header.u16(again ? 0 : static_cast<std::uint16_t>(status)).u16(again ? gvsp::kFlagResent : 0);
    m_header.u8(kind | gvsp::kExtendedIds).u24(0).u64(block).u32(packet);
}

void StreamFrames::leader(const Block& block) {
    m_header.u16(0).u16(block.payloadType).u64(block.timestamp);
    if (block.payloadType != kChunkData) {
        m_header.u32(block.pixelFormat).u32(block.width).u32(block.height);
        m_header.u32(block.offsetX).u32(block.offsetY).u16(0).u16(0);
    }
}

void StreamFrames::trailer(const Block& block) {
    const auto payload = static_cast<std::uint32_t>(block.payloadSize());
    m_header.u16(0).u16(block.payloadType);
    m_header.u32(block.payloadType == kChunkData ? payload : block.height);
    if ((block.payloadType & gvsp::kWithChunks) != 0) {
        m_header.u32(payload).u32(block.chunkLayout);
    }
}

std::size_t StreamFrames::packet(const Block& block, std::uint32_t id, bool again, PacketBatch& out) {
    const gvsp::Status status = again ? gvsp::Status::Resent : gvsp::Status::Success;
    const std::uint32_t last = block.lastPacket();
    const Format format = id == 0 ? Format::Leader : id == last ? Format::Trailer : Format::Payload;
    header(block.extendedIds, block.id(), format, id, status);
    if (format == Format::Leader) {
        leader(block);
    } else if (format == Format::Trailer) {
        trailer(block);
    } else {
        const std::size_t from = (id - 1) * block.room();
        const std::size_t to = std::min(from + block.room(), block.payloadSize());
        const std::size_t imageEnd = std::min(to, block.image.size());
        if (to == imageEnd) {
            return send(block.image.subspan(from, to - from), block.picture, out);
        }
        if (from < imageEnd) {
            m_header.bytes(block.image.subspan(from, imageEnd - from));
        }
        const std::size_t begin = std::max(from, imageEnd);
        m_header.bytes(ByteView(block.chunks).subspan(begin - imageEnd, to - begin));
    }
    return send({}, nullptr, out);
}

void StreamFrames::refusal(
    bool extendedIds, std::uint64_t block, std::uint32_t packet, gvsp::Status status, PacketBatch& out) {
    header(extendedIds, block, Format::Payload, packet, status);
    send({}, nullptr, out);
}

void StreamFrames::test(std::size_t packetSize, PacketBatch& out) {
    header(false, gvsp::kTestBlock, Format::Payload, 0, gvsp::Status::Success);
    m_header.zeros(packetSize - gvsp::kPacketOverhead);
    send({}, nullptr, out);
}

// Consecutive packets of one size differ in nothing before their stream header.
std::size_t StreamFrames::send(ByteView data, const SharedBytes& owner, PacketBatch& out) {
    const std::size_t size = m_header.size() + data.size();
    if (m_size != size) {
        m_head = m_station.datagramHead(m_to, m_fromPort, size, m_dontFragment);
        m_size = size;
    }
    out.add(m_head, m_header.view(), data, owner);
    return net::kIpHeader + net::kUdpHeader + size;
}

} // namespace simcam
