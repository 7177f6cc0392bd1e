#include "genicam/nodes/InvalidationWalk.h"

#include "genicam/device/ImplGenICamCamera.h"

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

void InvalidationWalk::visit(ImplGenICamNode& node) {
    if (!node.m_triggered) {
        enter(node);
        run();
    }
}

void InvalidationWalk::spread(ImplGenICamNode& node) {
    node.dropContent();
    m_path.push_back({&node, 0, !node.isVolatileNow(), false});
    run();
}

void InvalidationWalk::enter(ImplGenICamNode& node) {
    m_path.push_back({&node, 0, !node.isVolatileNow(), true});
    if (node.getCamera() != nullptr) {
        m_marked.push_back(&node);
    }
    node.m_triggered = true;
    node.dropContent();
}

ImplGenICamNode* InvalidationWalk::nextOf(Frame& frame) {
    const auto& dependants = frame.node->m_reverseDependencies;
    const std::size_t spreadTo = frame.spreads ? dependants.size() : 0;
    if (frame.next < spreadTo) {
        return dependants[frame.next++];
    }
    const auto& invalidated = frame.node->invalidatedNodes();
    const std::size_t index = frame.next - spreadTo;
    if (index < invalidated.size()) {
        ++frame.next;
        return invalidated[index];
    }
    return nullptr;
}

void InvalidationWalk::run() {
    try {
        while (!m_path.empty()) {
            ImplGenICamNode* const next = nextOf(m_path.back());
            if (next == nullptr) {
                const Frame done = m_path.back();
                m_path.pop_back();
                if (done.notifies && !quietThread && done.node->getCamera() != nullptr) {
                    done.node->getCamera()->notifyNodeHasBeenInvalidated(done.node, false);
                }
            } else if (!next->m_triggered) {
                enter(*next);
            }
        }
    } catch (...) { // out of memory: the next walk must not go on with this one's path
        m_path.clear();
        throw;
    }
}

} // namespace tavo
