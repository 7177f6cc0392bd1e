#include "gvsp/BlockOrder.h"

#include "gvsp/leader.h"

namespace gvsp {

// From the newest block's id to this one, the short way round.
std::int64_t BlockOrder::distance(std::uint64_t id) const {
    if (m_extendedIds) {
        return static_cast<std::int64_t>(id - m_newestId);
    }
    constexpr auto kIds = static_cast<std::int64_t>(kLastShortBlock);
    const std::int64_t forward =
        (static_cast<std::int64_t>(id) - static_cast<std::int64_t>(m_newestId) + kIds) % kIds;
    return forward > kIds / 2 ? forward - kIds : forward;
}

BlockOrder::Judgement BlockOrder::judge(const Packet& packet, bool quiet) {
    if (!m_any) {
        return {Verdict::Begin, m_newest + 1};
    }
    if (packet.extended() != m_extendedIds) {
        return judgeStrange(packet, quiet);
    }
    const std::int64_t step = distance(packet.block);
    const std::uint64_t sequence = m_newest + static_cast<std::uint64_t>(step);
    if (step > 0 && step <= kMostLost) {
        return {Verdict::Begin, sequence};
    }
    if (step <= 0 && step > -static_cast<std::int64_t>(kMemory)) {
        return judgePast(packet, sequence, quiet);
    }
    return judgeStrange(packet, quiet);
}

BlockOrder::Judgement BlockOrder::judgePast(const Packet& packet, std::uint64_t sequence, bool quiet) {
    const Past& past = m_past[sequence % kMemory];
    const bool known = past.sequence == sequence;
    if (!known && sequence > m_delivered) {
        return {Verdict::Begin, sequence}; // it was passed over
    }
    const auto leader = packet.kind() == Format::Leader ? readLeader(packet.content) : std::nullopt;
    const bool another = leader && (known && past.timestamp ? leader->timestamp != *past.timestamp
                                                            : leader->timestamp > m_newestTimestamp);
    if (another || (quiet && !(known && past.asked))) {
        return restart();
    }
    return {known && past.dropped ? Verdict::Ignored : Verdict::Late, sequence};
}

BlockOrder::Judgement BlockOrder::judgeStrange(const Packet& packet, bool quiet) {
    const bool again = m_strangeBlock == packet.block && m_strangePacket != packet.id;
    if (quiet || again || packet.kind() == Format::Leader) {
        return restart();
    }
    m_strangeBlock = packet.block;
    m_strangePacket = packet.id;
    return {Verdict::Strange, 0};
}

BlockOrder::Judgement BlockOrder::restart() {
    m_past.fill({});
    return {Verdict::Restart, m_newest + 1};
}

void BlockOrder::began(const Packet& packet, std::uint64_t sequence) {
    m_strangeBlock.reset();
    if (m_any && sequence <= m_newest) {
        return;
    }
    m_any = true;
    m_extendedIds = packet.extended();
    m_newestId = packet.block;
    m_newest = sequence;
}

void BlockOrder::sawLeader(std::uint64_t sequence, std::uint64_t timestamp) {
    if (sequence == m_newest) {
        m_newestTimestamp = timestamp;
    }
}

std::uint64_t BlockOrder::delivered(std::uint64_t sequence) {
    const std::uint64_t passed = sequence - m_delivered - 1;
    m_delivered = sequence;
    return passed;
}

} // namespace gvsp
