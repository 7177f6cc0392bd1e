#include "genicam/nodes/InvalidationWalk.h"

#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/limits.h"

namespace tavo {
namespace {

thread_local bool quietThread = false;

} // namespace

QuietInvalidation::QuietInvalidation() : m_outer(quietThread) {
    quietThread = true;
}

QuietInvalidation::~QuietInvalidation() {
    quietThread = m_outer;
}

bool InvalidationWalk::written(ImplGenICamNode& node) {
    begin(node, true);
    m_settled = m_number;
    arrive(node, Way::Content);
    run();
    ++m_number; // the node may hold what was written
    return m_returned;
}

// A register that changes all the time has nothing to report of itself, nor have those that read from it.
void InvalidationWalk::changed(ImplGenICamNode& node, const unsigned char* news) {
    begin(node, false);
    m_news = news;
    arrive(node, news != nullptr ? Way::Content : Way::Dependency);
    m_path.back().notifies = m_path.back().spreads;
    run();
}

void InvalidationWalk::settle(ImplGenICamNode& node) {
    if (node.m_visit < m_settled) {
        m_passesVolatile = !node.quirks().volatileStopsWrites;
        arrive(node, Way::Content);
        run();
    }
}

void InvalidationWalk::everything(const std::vector<std::unique_ptr<ImplGenICamNode>>& nodes) {
    for (const auto& node : nodes) {
        node->dropContent();
        notify(*node);
    }
}

void InvalidationWalk::begin(ImplGenICamNode& origin, bool isWrite) {
    ++m_number;
    m_origin = &origin;
    m_news = nullptr;
    m_returned = false;
    m_passesVolatile = isWrite && !origin.quirks().volatileStopsWrites;
    m_looked = 0;
}

// A node that was reached by a dependency shows another place, perhaps, but no byte of the camera changed.
void InvalidationWalk::arrive(ImplGenICamNode& node, Way way) {
    if (node.m_visit != m_number) {
        m_path.push_back({&node, 0, m_passesVolatile || !node.isVolatileNow(), true});
        node.m_visit = m_number;
        node.m_expanded = false;
        node.dropContent();
    } else {
        m_returned = m_returned || &node == m_origin;
    }
    if (way == Way::Content && !node.m_expanded) {
        node.m_expanded = true;
        m_expand.push_back(&node);
    }
}

void InvalidationWalk::run() {
    try {
        followPath();
        while (!m_expand.empty()) {
            ImplGenICamNode* const node = m_expand.back();
            m_expand.pop_back();
            expand(*node);
        }
    } catch (...) { // out of memory: the next walk must not go on with this one's path
        m_path.clear();
        m_expand.clear();
        throw;
    }
}

void InvalidationWalk::followPath() {
    while (!m_path.empty()) {
        Frame& frame = m_path.back();
        const auto& dependants = frame.node->m_reverseDependencies;
        const auto& invalidated = frame.node->invalidatedNodes();
        const std::size_t spreadTo = frame.spreads ? dependants.size() : 0;
        const std::size_t next = frame.next++;
        if (next < spreadTo) {
            arrive(*dependants[next], Way::Dependency);
        } else if (next - spreadTo < invalidated.size()) {
            arrive(*invalidated[next - spreadTo], Way::Content);
        } else {
            const Frame done = frame;
            m_path.pop_back();
            if (done.notifies) {
                notify(*done.node);
            }
        }
    }
}

// A description that piles up registers over one another makes this costly; then all registers count as
// neighbours, which is true enough for an invalidation, and the walk is done with looking.
void InvalidationWalk::expand(ImplGenICamNode& node) {
    const RegisterPlace place = node.place();
    if (place.isNowhere() || m_looked > kMaxNeighboursLookedAt) {
        return;
    }
    RegisterMap& registers = node.getHost()->access().registers;
    m_sharing.clear();
    m_looked += registers.collect(place, m_sharing);
    for (ImplGenICamNode* const sharing : m_looked > kMaxNeighboursLookedAt ? registers.all() : m_sharing) {
        const bool isNews = m_news == nullptr || &node != m_origin || !sharing->knows(place, m_news);
        if (sharing != &node && isNews) {
            arrive(*sharing, Way::Dependency);
        }
    }
    followPath();
}

void InvalidationWalk::notify(ImplGenICamNode& node) {
    if (!quietThread) {
        node.getHost()->notify(node, false);
    }
}

} // namespace tavo
