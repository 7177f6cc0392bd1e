#include "simcam/PacketBatch.h"

#include "protocol/net.h"

namespace simcam {

namespace {

void append(Bytes& to, ByteView bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

} // namespace

void PacketBatch::clear() {
    m_frames.clear();
    m_own.clear();
    m_owners.clear();
}

void PacketBatch::add(ByteView head, ByteView header, ByteView data, const SharedBytes& owner) {
    const std::size_t at = m_own.size();
    append(m_own, head);
    append(m_own, header);
    const std::size_t size = head.size() + header.size() + data.size();
    if (owner == nullptr || size < net::kMinFrame) {
        append(m_own, data);
        data = {};
        m_own.resize(std::max(m_own.size(), at + net::kMinFrame));
    } else if (m_owners.empty() || m_owners.back() != owner) {
        m_owners.push_back(owner);
    }
    m_frames.push_back({at, m_own.size() - at, data});
}

const std::vector<PacketBatch::Parts>& PacketBatch::frames() {
    m_parts.clear();
    for (const Frame& frame : m_frames) {
        m_parts.push_back({ByteView(m_own).subspan(frame.at, frame.size), frame.data});
    }
    return m_parts;
}

std::vector<Bytes> PacketBatch::copies() {
    std::vector<Bytes> all;
    for (const auto& [own, shared] : frames()) {
        Bytes& frame = all.emplace_back(own.begin(), own.end());
        append(frame, shared);
    }
    return all;
}

} // namespace simcam
