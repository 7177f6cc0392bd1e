#include "streaming/PacketSizeSearch.h"

#include <algorithm>

namespace streaming {

PacketSizeSearch::PacketSizeSearch(unsigned most)
    : m_most(std::max(most, kLeast) / kStep * kStep), m_tooLarge(m_most + kStep) {}

std::vector<unsigned> PacketSizeSearch::next() const {
    switch (m_round) {
    case Round::Usual:
        return {std::min(kUsual, m_most)};
    case Round::Most:
        return m_best < m_most ? std::vector{m_most} : std::vector<unsigned>{};
    case Round::Between:
        break;
    }
    return between();
}

// Evenly from the one above the best to the one below the first that is too large, both included: where the
// usual size is all that passes, one round shows it.
std::vector<unsigned> PacketSizeSearch::between() const {
    const unsigned first = m_best == 0 ? kLeast : m_best / kStep * kStep + kStep;
    std::vector<unsigned> sizes;
    if (first >= m_tooLarge) {
        return sizes;
    }
    const unsigned steps = (m_tooLarge - 1 - first) / kStep; // behind the first
    const unsigned count = std::min(steps + 1, kAtOnce);
    for (unsigned number = 0; number < count; ++number) {
        sizes.push_back(first + (count > 1 ? steps * number / (count - 1) : 0) * kStep);
    }
    return sizes;
}

void PacketSizeSearch::arrived(unsigned largest) {
    const std::vector<unsigned> tried = next();
    m_best = std::max(m_best, largest);
    const auto failed = std::upper_bound(tried.begin(), tried.end(), m_best);
    if (failed != tried.end()) {
        m_tooLarge = std::min(m_tooLarge, *failed);
    }
    m_round = m_round == Round::Usual && m_best != 0 ? Round::Most : Round::Between;
}

} // namespace streaming
