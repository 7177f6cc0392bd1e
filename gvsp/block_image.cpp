// What image the packets of a block make.
#include "gvsp/Block.h"

namespace gvsp {
namespace {

constexpr auto kImage = static_cast<std::uint16_t>(PayloadType::Image);

void addMissing(Image& image, std::size_t offset, std::size_t end) {
    if (offset >= end) {
        return;
    }
    image.missingBytes += end - offset;
    if (!image.missing.empty() && image.missing.back().offset + image.missing.back().length == offset) {
        image.missing.back().length += end - offset;
    } else {
        image.missing.push_back({offset, end - offset});
    }
}

bool isUnderstood(std::uint16_t payloadType) {
    return isImage(payloadType) || hasChunks(payloadType);
}

} // namespace

std::uint16_t Block::payloadType() const {
    return m_leader ? m_leader->payloadType : m_trailer ? m_trailer->payloadType : kImage;
}

// What the payload should have, as long as no packet says better.
std::uint64_t Block::expectedBytes() const {
    if (m_leader && m_leader->geometry && m_leader->payloadType == kImage) {
        const std::uint64_t bytes = imageBytes(*m_leader->geometry);
        if (bytes != 0 && bytes <= m_buffer.size) {
            return bytes;
        }
    }
    return m_payloadSize;
}

// The end of the payload, also where it lies behind the buffer.
Block::Extent Block::extent() const {
    const std::uint32_t last = m_trailer ? m_trailerId - 1 : m_next == 0 ? 0 : m_next - 1;
    const std::uint64_t expected = expectedBytes();
    if (last == 0) {
        return m_trailer ? Extent{0, true} : Extent{expected, false};
    }
    if (m_packetPayload == 0) {
        return {expected, false};
    }
    const std::uint64_t end = offsetOf(last) + (last == m_shortId ? m_shortSize : m_packetPayload);
    if (!m_trailer) {
        const bool known = m_shortId == last || end == expected;
        return {known ? end : std::max(end, expected), known};
    }
    if (isMissing(last)) {
        const auto fits = [&](std::uint64_t bytes) { return bytes > offsetOf(last) && bytes <= end; };
        const std::uint64_t chunks = m_trailer->chunkLength.value_or(0);
        return {fits(chunks) ? chunks : fits(expected) ? expected : end, true};
    }
    return {end, true};
}

// Where a leader and the packets of its block disagree, the settings decide.
bool Block::leaderLies(const Extent& extent) const {
    Geometry told = *m_leader->geometry;
    if (m_trailer && m_trailer->height) {
        told.height = std::min(told.height, *m_trailer->height);
    }
    const std::uint64_t bytes = std::min(imageBytes(told), imageBytes(*m_leader->geometry));
    if (m_leader->payloadType != kImage) {
        return extent.known && bytes > extent.bytes;
    }
    if (bytes == extent.bytes) {
        return false;
    }
    return (extent.known && imageBytes(m_assumed) == extent.bytes) ||
           (bytes > m_buffer.size && extent.bytes <= m_buffer.size);
}

void Block::describeShape(Image& out, const Extent& extent) const {
    out.payloadType = payloadType();
    out.withChunks = hasChunks(out.payloadType);
    out.block = m_start.id;
    out.timestamp = m_leader ? m_leader->timestamp : 0;
    out.firstPacket = m_firstPacket;
    out.lastPacket = m_lastPacket;
    if (!isUnderstood(out.payloadType)) {
        return;
    }
    out.geometryAssumed = !m_leader || !m_leader->geometry || leaderLies(extent);
    out.geometry = out.geometryAssumed ? m_assumed : *m_leader->geometry;
    const std::uint32_t sent = m_trailer ? m_trailer->height.value_or(0) : 0;
    if (sent != 0 && !(m_leader && out.geometryAssumed)) {
        out.geometry.height = std::min(out.geometry.height, sent);
    }
}

void Block::collectMissing(Image& out) const {
    if (m_packetPayload == 0) {
        return addMissing(out, 0, out.size);
    }
    std::uint64_t offset = 0;
    for (std::uint32_t id = 1; offset < out.size; ++id, offset += m_packetPayload) {
        const auto from = static_cast<std::size_t>(offset);
        const auto to = static_cast<std::size_t>(std::min<std::uint64_t>(offset + m_packetPayload, out.size));
        addMissing(out, !m_arrived.has(id) ? from : id == m_shortId ? from + m_shortSize : to, to);
    }
}

// A single data packet that nothing proves to stand where it belongs is no help.
void Block::forgetUnplaced() {
    if (m_dataCount != 1 || !m_unsure || m_firstId == 1 || !m_arrived.has(m_firstId) ||
        offsetOf(m_firstId) + m_firstSize == expectedBytes()) {
        return;
    }
    m_arrived.erase(m_firstId);
    --m_count;
    --m_taken;
}

void Block::describe(Image& out) const {
    const Extent end = extent();
    out.buffer = m_buffer;
    describeShape(out, end);
    std::uint64_t size = end.bytes;
    if (out.payloadType == kImage) {
        // Bytes that the image's shape promises and no packet carried are missing ones.
        size = std::max(size, imageBytes(out.geometry));
    }
    out.size = static_cast<std::size_t>(std::min<std::uint64_t>(size, m_buffer.size));
    out.truncated = m_truncated || (end.known && end.bytes > m_buffer.size);
    if (!complete() || size != end.bytes || m_slots == kMostPackets) {
        collectMissing(out);
    }
    const bool whole = end.known && out.missing.empty() && !out.truncated && !m_cameraLost;
    out.status = !isUnderstood(out.payloadType) ? ImageStatus::NotUnderstood
                 : whole                        ? ImageStatus::Complete
                                                : ImageStatus::Incomplete;
}

void Block::finish() {
    forgetUnplaced();
    m_finished = true;
    m_whole = 0;
}

} // namespace gvsp
