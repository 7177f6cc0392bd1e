#include "gvsp/Wishes.h"

#include <algorithm>

namespace gvsp {

void Wishes::begin(bool resend) {
    m_asking = resend;
    m_gaps.clear();
    m_gapDue = kNever;
    m_asked = 0;
    m_gone.clear(0);
    m_goneBelow = 0;
    m_overtaken.reset();
    m_tailAsked = {};
    m_tailFirst = m_tailLast = 0;
    m_tailGivenUp = false;
    m_tailNext = Time::min();
}

void Wishes::gap(std::uint32_t first, std::uint32_t last, Time now, const Settings& settings) {
    if (!m_asking) {
        return;
    }
    if (m_gaps.size() == kMostGaps) {
        m_gaps.back().last = last;
        return;
    }
    m_gaps.push_back({first, last, now + settings.firstWish, {}});
    m_gapDue = std::min(m_gapDue, now + settings.firstWish);
}

void Wishes::overtaken(Time now) {
    m_overtaken = m_overtaken.value_or(now);
}

void Wishes::unavailable(std::uint32_t id, bool withAllBefore) {
    if (withAllBefore) {
        m_goneBelow = std::max(m_goneBelow, id + 1);
    } else if (id < kMostPackets) {
        m_gone.grow(id + 1);
        m_gone.insert(id);
    }
}

bool Wishes::isWanted(const Block& block, std::uint32_t id) const {
    const bool missing = id >= block.next() ? !block.hasTrailer() : block.isMissing(id);
    return missing && !isGone(id);
}

// What has come, or will not, goes from both ends; false when nothing is left.
bool Wishes::shrink(const Block& block, Gap& gap) const {
    while (gap.first <= gap.last && !isWanted(block, gap.first)) {
        ++gap.first;
    }
    while (gap.last > gap.first && !isWanted(block, gap.last)) {
        --gap.last;
    }
    return gap.first <= gap.last;
}

bool Wishes::hopes(const Block& block) {
    std::erase_if(m_gaps, [&](Gap& gap) { return !shrink(block, gap); });
    if (!m_gaps.empty()) {
        return true;
    }
    // As long as no later block has begun, the tail may come without being asked for.
    return !block.hasTrailer() && !(m_overtaken && (m_tailGivenUp || tailIsGone(block)));
}

bool Wishes::tailIsGone(const Block& block) const {
    const std::uint32_t last = block.lastId();
    for (std::uint32_t id = block.next(); id <= last; ++id) {
        if (!isGone(id)) {
            return false;
        }
    }
    return true;
}

Wishes::Asked Wishes::asked(std::uint32_t id) const {
    if (m_tailAsked.wishes != 0 && id >= m_tailFirst && id <= m_tailLast) {
        return m_tailAsked;
    }
    const auto gap =
        std::lower_bound(m_gaps.begin(), m_gaps.end(), id, [](const Gap& left, std::uint32_t right) {
            return left.last < right;
        });
    return gap != m_gaps.end() && gap->first <= id ? gap->asked : Asked{};
}

Time Wishes::tailDue(const Block& block, const Settings& settings) const {
    if (m_tailGivenUp || block.hasTrailer()) {
        return kNever;
    }
    // A later block may have begun and this one go on all the same.
    const Time silence = m_overtaken ? std::max(*m_overtaken, block.lastPacket()) + settings.firstWish
                                     : block.lastPacket() + settings.nextWish;
    return std::max(m_tailNext, silence);
}

Time Wishes::due(const Block& block, const Settings& settings) const {
    return m_asking ? std::min(m_gapDue, tailDue(block, settings)) : kNever;
}

void Wishes::ask(const Block& block, Time now, const Means& means) {
    if (m_asking && m_gapDue <= now) {
        std::erase_if(m_gaps, [&](Gap& gap) {
            const bool inVain = gap.due <= now && gap.asked.wishes >= means.settings.mostWishes;
            return inVain || !shrink(block, gap);
        });
        m_gapDue = kNever;
        for (Gap& gap : m_gaps) {
            if (gap.due <= now && m_asking) {
                askForGap(block, gap, now, means);
            }
            m_gapDue = std::min(m_gapDue, gap.due);
        }
    }
    if (m_asking && tailDue(block, means.settings) <= now) {
        askForTail(block, now, means);
    }
}

void Wishes::askForGap(const Block& block, Gap& gap, Time now, const Means& means) {
    if (gap.asked.wishes == 0 && !afford(block, gap.first, gap.last, means.settings)) {
        return;
    }
    gap.asked = {gap.asked.wishes + 1, now};
    gap.due = now + means.answerTime.afterWish(gap.asked.wishes, means.settings);
    append(block, gap.first, gap.last, means.out);
}

void Wishes::askForTail(const Block& block, Time now, const Means& means) {
    if (m_tailAsked.wishes >= means.settings.mostWishes) {
        m_tailGivenUp = true;
        return;
    }
    const std::uint32_t first = block.next();
    const std::uint32_t last = block.lastId();
    const auto asked = m_asked;
    if (m_tailAsked.wishes == 0 && !afford(block, first, last, means.settings)) {
        if (!m_overtaken) { // the camera pauses in the middle of a block: most of the tail will come by
                            // itself
            m_asked = asked;
            m_asking = true;
            m_tailNext = now + means.settings.nextWish;
        }
        return;
    }
    m_tailAsked = {m_tailAsked.wishes + 1, now};
    m_tailNext = now + means.answerTime.afterWish(m_tailAsked.wishes, means.settings);
    m_tailFirst = first;
    m_tailLast = last;
    append(block, first, last, means.out);
}

// Too much is lost for asking to make it better: from then on nothing is asked for.
bool Wishes::afford(const Block& block, std::uint32_t first, std::uint32_t last, const Settings& settings) {
    const double all = static_cast<double>(block.lastId()) + 1;
    const double limit = settings.mostResent > 0 ? std::max(kFewPackets, settings.mostResent * all) : 0;
    for (std::uint32_t id = first; id <= last && static_cast<double>(m_asked) <= limit; ++id) {
        m_asked += isWanted(block, id) ? 1 : 0;
    }
    m_asking = static_cast<double>(m_asked) <= limit;
    return m_asking;
}

void Wishes::append(
    const Block& block, std::uint32_t first, std::uint32_t last, std::deque<ResendWish>& out) {
    for (std::uint32_t id = first; id <= last && out.size() < kMostWaiting; ++id) {
        if (!isWanted(block, id)) {
            continue;
        }
        const std::uint32_t begin = id;
        while (id < last && isWanted(block, id + 1)) {
            ++id;
        }
        out.push_back({block.id(), begin, id, block.extendedIds()});
    }
}

} // namespace gvsp
