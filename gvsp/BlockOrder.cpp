#include "gvsp/BlockOrder.h"

#include "gvsp/leader.h"

namespace gvsp {

namespace {

// From one id to another, the short way round.
std::int64_t way(std::uint64_t from, std::uint64_t to, bool extendedIds) {
    if (extendedIds) {
        return static_cast<std::int64_t>(to - from);
    }
    constexpr auto kIds = static_cast<std::int64_t>(kLastShortBlock);
    const std::int64_t forward =
        (static_cast<std::int64_t>(to) - static_cast<std::int64_t>(from) + kIds) % kIds;
    return forward > kIds / 2 ? forward - kIds : forward;
}

} // namespace

// From the newest block's id to this one.
std::int64_t BlockOrder::distance(std::uint64_t id) const {
    return way(m_newestId, id, m_extendedIds);
}

// Whether it is one of the last blocks of before. Where the new ids have come near them it is taken for a new
// one.
bool BlockOrder::isFormer(const Packet& packet) const {
    if (!m_former || m_newest >= m_former->until || packet.extended() != m_former->extendedIds) {
        return false;
    }
    const std::int64_t back = way(packet.block, m_former->newestId, m_former->extendedIds);
    return back >= 0 && back < static_cast<std::int64_t>(kMemory);
}

BlockOrder::Judgement BlockOrder::judge(const Packet& packet, bool quiet) {
    if (!m_any) {
        return {Verdict::Begin, m_newest + 1};
    }
    const std::int64_t step = packet.extended() == m_extendedIds ? distance(packet.block) : INT64_MAX;
    const std::uint64_t sequence = m_newest + static_cast<std::uint64_t>(step);
    if (step <= 0 && step > -static_cast<std::int64_t>(kMemory)) {
        return judgePast(packet, sequence, quiet);
    }
    const bool near = step > 0 && step <= kFewLost;
    if (!near && !quiet && isFormer(packet)) {
        return {Verdict::Late, sequence};
    }
    if (step > 0 && step <= kMostLost) {
        return {Verdict::Begin, sequence};
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
        return restart(quiet);
    }
    return {known && past.dropped ? Verdict::Ignored : Verdict::Late, sequence};
}

BlockOrder::Judgement BlockOrder::judgeStrange(const Packet& packet, bool quiet) {
    const bool again = m_strangeBlock == packet.block && m_strangePacket != packet.id;
    if (quiet || again || packet.kind() == Format::Leader) {
        return restart(quiet);
    }
    m_strangeBlock = packet.block;
    m_strangePacket = packet.id;
    return {Verdict::Strange, 0};
}

// After a silence nothing of before comes any more.
BlockOrder::Judgement BlockOrder::restart(bool quiet) {
    m_past.fill({});
    m_former.reset();
    if (!quiet) {
        m_former = Former{m_newestId, m_extendedIds, m_newest + kMemory};
    }
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
