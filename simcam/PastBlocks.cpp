#include "simcam/PastBlocks.h"

#include "simcam/limits.h"

#include <algorithm>

namespace simcam {

void PastBlocks::keep(std::shared_ptr<const Block> block) {
    // Pictures of other settings are not kept for their sake.
    std::erase_if(m_blocks, [&](const auto& old) { return old->settings != block->settings; });
    m_blocks.push_back(std::move(block));
    if (m_blocks.size() > kPastBlocks) {
        m_blocks.pop_front();
    }
}

void PastBlocks::clear() {
    m_blocks.clear();
    m_requests.clear();
}

void PastBlocks::ask(const ResendRequest& request, const UnderWay& current) {
    if (m_requests.size() >= kResendRequests) {
        return;
    }
    const auto isMeant = [&](const std::shared_ptr<const Block>& block) {
        return block && block->extendedIds == request.extendedIds && block->id() == request.block;
    };
    const auto found = std::find_if(m_blocks.rbegin(), m_blocks.rend(), isMeant);
    Request asked{request, isMeant(current.block) ? current.block : nullptr};
    if (!asked.block && found != m_blocks.rend()) {
        asked.block = *found;
    }
    // The last packet that there is, and never more than a request may cost.
    const std::uint32_t end = asked.block ? asked.block->lastPacket() : request.first;
    const std::uint32_t most = std::max(end, request.first + std::min(kMostRefusals - 1, ~request.first));
    asked.wanted.last = std::min(request.last, asked.block && request.first <= end ? end : most);
    m_requests.push_back(std::move(asked));
}

void PastBlocks::answer(std::size_t most, StreamFrames& frames, const UnderWay& current, PacketBatch& out) {
    for (; most > 0 && !m_requests.empty(); --most) {
        Request& request = m_requests.front();
        answerOne(request, frames, current, out);
        if (request.wanted.first++ == request.wanted.last) {
            m_requests.pop_front();
        }
    }
}

void PastBlocks::answerOne(
    const Request& request, StreamFrames& frames, const UnderWay& current, PacketBatch& out) {
    const ResendRequest& wanted = request.wanted;
    const bool exists = request.block && wanted.first <= request.block->lastPacket();
    const bool early = exists && request.block == current.block && wanted.first >= current.sent;
    if (exists && !early) {
        m_statistics.bytes += frames.packet(*request.block, wanted.first, true, out);
        ++m_statistics.packets;
        return;
    }
    const gvsp::Status why = early           ? gvsp::Status::NotYetAvailable
                             : request.block ? gvsp::Status::PacketUnavailable
                                             : gvsp::Status::Removed;
    frames.refusal(wanted.extendedIds, wanted.block, wanted.first, why, out);
    ++m_statistics.refused;
}

} // namespace simcam
