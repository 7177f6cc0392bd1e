#include "gvsp/Block.h"

namespace gvsp {
void Block::begin(const Start& start, const Buffer& buffer, const Settings& settings, Time now) {
    beginWithout(start, now);
    m_finished = false;
    m_buffer = buffer;
    m_assumed = settings.assumed;
    m_payloadSize = settings.payloadSize;
    constexpr std::uint64_t kFormatAt = 24; // bits below it in the header's first 8 bytes
    const std::uint64_t format = static_cast<std::uint64_t>(Format::Payload);
    m_header =
        start.extendedIds ? (format | kExtendedIds) << kFormatAt : start.id << 32 | format << kFormatAt;
    if (start.packetPayload != 0) {
        setPacketPayload(start.packetPayload);
    }
    // takeNext() leaves it so: it may be the first data packet, and of the likely size.
    m_firstId = 1;
    m_firstSize = start.packetPayload;
    m_arrived.clear(start.packetPayload != 0 ? m_slots + 1 : 1);
}

void Block::beginWithout(const Start& start, Time now) {
    m_start = start;
    m_buffer = {};
    m_finished = true;
    m_truncated = m_cameraLost = m_unsure = false;
    m_packetPayload = m_firstSize = m_shortSize = 0;
    m_whole = m_next = m_accounted = m_count = m_taken = m_dataCount = m_firstId = m_shortId = m_trailerId =
        0;
    m_slots = kMostPackets;
    m_leader.reset();
    m_trailer.reset();
    m_firstPacket = m_lastPacket = now;
}

Block::Result Block::take(const Packet& packet, Time now) {
    const Result result = takeAny(packet);
    m_accounted = m_next;
    if (result.taken != Taken::Malformed) {
        m_lastPacket = now;
        m_cameraLost = m_cameraLost || packet.isError();
    }
    return result;
}

Block::Result Block::takeAny(const Packet& packet) {
    if (packet.id > kMostPackets) {
        return {Taken::Malformed, 0};
    }
    switch (packet.kind()) {
    case Format::Leader:
        return takeLeader(packet);
    case Format::Trailer:
        return takeTrailer(packet);
    case Format::AllIn:
        return takeAllIn(packet);
    default:
        return takeData(packet.id, packet.content);
    }
}

Block::Result Block::takeLeader(const Packet& packet) {
    auto leader = readLeader(packet.content);
    if (packet.id != 0 || !leader) {
        return {Taken::Malformed, 0};
    }
    if (m_leader) {
        return {Taken::Duplicate, 0};
    }
    m_leader = leader;
    m_arrived.insert(0);
    m_next = std::max(m_next, 1U);
    ++m_count;
    ++m_taken;
    return {};
}

Block::Result Block::takeTrailer(const Packet& packet) {
    auto trailer = readTrailer(packet.content);
    if (m_trailer) {
        return {trailer && packet.id == m_trailerId ? Taken::Duplicate : Taken::Malformed, 0};
    }
    const bool contradicts =
        packet.id == 0 || packet.id < m_next || (m_shortId != 0 && packet.id != m_shortId + 1);
    // What was taken for a short packet may have been a full one, as long as it is the only one.
    if (!trailer || (contradicts && !(m_dataCount == 1 && packet.id > m_next))) {
        return {Taken::Malformed, 0};
    }
    m_trailer = trailer;
    m_trailerId = packet.id;
    if (contradicts) {
        moveFirst(m_firstSize);
        m_unsure = true;
    }
    m_next = packet.id + 1;
    m_whole = 0;
    ++m_taken;
    return {};
}

Block::Result Block::takeAllIn(const Packet& packet) {
    const auto leader = readLeader(packet.content);
    if (m_leader || m_taken != 0 || !leader) {
        return {m_leader && m_trailer ? Taken::Duplicate : Taken::Malformed, 0};
    }
    const Frame frame = frameOf(leader->payloadType);
    if (frame.leader == 0 || packet.content.size() < frame.leader + frame.trailer) {
        return {Taken::Malformed, 0};
    }
    const auto payload = packet.content.subspan(frame.leader + frame.trailer);
    m_leader = leader;
    m_arrived.insert(0);
    m_count = m_taken = m_next = 1;
    const std::size_t bytes = payload.empty() ? 0 : takeData(1, payload).bytes;
    m_trailer = readTrailer(packet.content.subspan(frame.leader, frame.trailer));
    m_trailerId = m_next++;
    m_whole = 0;
    return {Taken::New, bytes};
}

Block::Result Block::takeData(std::uint32_t id, std::span<const std::uint8_t> content) {
    if (id == 0 || content.empty()) {
        return {Taken::Malformed, 0};
    }
    if (m_arrived.has(id)) {
        return {Taken::Duplicate, 0};
    }
    if (!agree(id, content.size())) {
        return {Taken::Malformed, 0};
    }
    return {Taken::New, place(id, content)};
}

bool Block::agree(std::uint32_t id, std::size_t size) {
    if (m_trailer && id >= m_trailerId) {
        return false;
    }
    if (m_dataCount == 0) {
        return agreeOnFirst(id, size);
    }
    if (m_dataCount == 1 && !settle(id, size)) {
        return false;
    }
    if (size > m_packetPayload || (m_shortId != 0 && id > m_shortId)) {
        return false;
    }
    if (size < m_packetPayload) {
        if (m_shortId != 0 || (m_trailer ? id + 1 != m_trailerId : id < m_next)) {
            return false;
        }
        m_shortId = id;
        m_shortSize = size;
    }
    return true;
}

bool Block::agreeOnFirst(std::uint32_t id, std::size_t size) {
    m_firstId = id;
    m_firstSize = size;
    m_unsure = size != m_packetPayload;
    const bool canBeLast = !m_trailer || id + 1 == m_trailerId;
    const bool fits = offsetOf(id) + size <= m_buffer.size;
    if (size > m_packetPayload || (m_unsure && !(canBeLast && fits))) {
        setPacketPayload(size);
    } else if (m_unsure) {
        m_shortId = id;
        m_shortSize = size;
    }
    return true;
}

bool Block::settle(std::uint32_t id, std::size_t size) {
    if ((m_firstSize < size && m_firstId < id) || (size < m_firstSize && id < m_firstId)) {
        return false; // the shorter one is the last
    }
    const std::size_t full = std::max(size, m_firstSize);
    if (full != m_packetPayload) {
        moveFirst(full);
    }
    m_unsure = false;
    return true;
}

void Block::setPacketPayload(std::size_t size) {
    m_packetPayload = size;
    m_wholeDatagram = size + (m_start.extendedIds ? kExtendedHeader : kHeader);
    m_whole =
        m_trailer ? 0 : static_cast<std::uint32_t>(std::min<std::size_t>(m_buffer.size / size, kMostPackets));
    m_slots = static_cast<std::uint32_t>(
        std::min<std::size_t>(m_buffer.size / size + (m_buffer.size % size != 0 ? 1 : 0), kMostPackets));
    m_arrived.grow(m_slots + 1);
}

// The first data packet to where it stands with another size of all packets.
void Block::moveFirst(std::size_t packetPayload) {
    const std::uint64_t from = offsetOf(m_firstId);
    const bool whole = m_arrived.has(m_firstId) && from + m_firstSize <= m_buffer.size;
    if (m_arrived.has(m_firstId)) {
        m_arrived.erase(m_firstId);
        --m_count;
    }
    setPacketPayload(packetPayload);
    m_shortId = m_firstSize < packetPayload ? m_firstId : 0;
    m_shortSize = m_firstSize;
    const std::uint64_t to = offsetOf(m_firstId);
    m_truncated = to + m_firstSize > m_buffer.size;
    if (whole && m_firstId <= m_slots) {
        std::memmove(
            m_buffer.data + to, m_buffer.data + from,
            std::min(m_firstSize, m_buffer.size - static_cast<std::size_t>(to)));
        m_arrived.insert(m_firstId);
        ++m_count;
    }
}

std::size_t Block::place(std::uint32_t id, std::span<const std::uint8_t> content) {
    m_next = std::max(m_next, id + 1);
    ++m_taken;
    ++m_dataCount;
    if (id > m_slots) {
        m_truncated = true;
        return 0;
    }
    const auto offset = static_cast<std::size_t>(offsetOf(id));
    const std::size_t size = std::min(content.size(), m_buffer.size - offset);
    m_truncated = m_truncated || size < content.size();
    std::memcpy(m_buffer.data + offset, content.data(), size);
    m_arrived.insert(id);
    ++m_count;
    return size;
}

bool Block::isMissing(std::uint32_t id) const {
    return id <= m_slots && !m_arrived.has(id) && !(m_trailer && id >= m_trailerId);
}

std::uint32_t Block::lastId() const {
    if (m_trailer) {
        return m_trailerId;
    }
    if (m_shortId != 0) {
        return m_shortId + 1;
    }
    if (m_packetPayload == 0) {
        return m_next;
    }
    const std::uint64_t packets = (expectedBytes() + m_packetPayload - 1) / m_packetPayload;
    return std::max(m_next, static_cast<std::uint32_t>(std::min<std::uint64_t>(packets, kMostPackets) + 1));
}

std::uint32_t Block::missingPackets() const {
    const std::uint32_t all = lastId() + 1;
    return all - std::min(all, m_taken);
}

} // namespace gvsp
