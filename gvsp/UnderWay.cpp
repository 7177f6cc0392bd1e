#include "gvsp/UnderWay.h"

#include <algorithm>

namespace gvsp {

UnderWay::UnderWay() {
    m_order.reserve(kMost);
    for (Entry& entry : m_pool) {
        m_idle.push_back(&entry);
    }
}

UnderWay::Entry* UnderWay::find(std::uint64_t block, bool extendedIds) const {
    const auto found = std::find_if(m_order.rbegin(), m_order.rend(), [&](const Entry* entry) {
        return entry->block.is(block, extendedIds);
    });
    return found == m_order.rend() ? nullptr : *found;
}

UnderWay::Entry& UnderWay::insert(std::uint64_t sequence, bool resend, Time now) {
    Entry* entry = m_idle.back();
    m_idle.pop_back();
    const auto later = std::find_if(m_order.begin(), m_order.end(), [&](const Entry* other) {
        return other->block.sequence() > sequence;
    });
    std::for_each(m_order.begin(), later, [now](Entry* earlier) { earlier->wishes.overtaken(now); });
    entry->wishes.begin(resend);
    if (later != m_order.end()) {
        entry->wishes.overtaken(now);
    }
    m_order.insert(later, entry);
    return *entry;
}

void UnderWay::popFront() {
    Entry* entry = m_order.front();
    m_order.erase(m_order.begin());
    m_idle.push_back(entry);
    if (m_current == &entry->block) {
        m_current = &m_none;
    }
}

} // namespace gvsp
