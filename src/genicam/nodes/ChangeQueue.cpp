#include "genicam/nodes/ChangeQueue.h"

#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/NodeHost.h"

namespace tavo {

// A notice that is just being taken may pass for one that waits: whoever takes it reads the values
// afterwards, under the device's lock.
bool ChangeQueue::holds(const ImplGenICamNode& node, bool trigger) {
    using Pending = ImplGenICamNode::PendingNotice;
    const Pending pending = node.m_notice;
    return pending == Pending::Forced || (pending == Pending::Plain && !trigger);
}

void ChangeQueue::add(ImplGenICamNode& node, bool trigger) {
    {
        const std::lock_guard lock(m_lock);
        if (node.getHost() == nullptr || node.getHost()->isClosed()) {
            return;
        }
        if (node.m_notice != ImplGenICamNode::PendingNotice::None) {
            if (trigger) {
                node.m_notice = ImplGenICamNode::PendingNotice::Forced;
            }
            return;
        }
        m_waiting.push_back(&node);
        node.m_notice =
            trigger ? ImplGenICamNode::PendingNotice::Forced : ImplGenICamNode::PendingNotice::Plain;
    }
    m_changed.notify_one();
}

void ChangeQueue::addTask(std::function<void()> task) {
    {
        const std::lock_guard lock(m_lock);
        m_tasks.push_back(std::move(task));
    }
    m_changed.notify_one();
}

ChangeQueue::Notice ChangeQueue::take() {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_stopped || !m_tasks.empty() || !m_waiting.empty(); });
    if (m_stopped) {
        return {};
    }
    if (!m_tasks.empty()) {
        Notice notice{nullptr, false, nullptr, std::move(m_tasks.front())};
        m_tasks.pop_front();
        return notice;
    }
    ImplGenICamNode* const node = m_waiting.front();
    m_waiting.pop_front();
    const bool trigger = node->m_notice == ImplGenICamNode::PendingNotice::Forced;
    node->m_notice = ImplGenICamNode::PendingNotice::None;
    return {node, trigger, node->getHost()->shared_from_this(), {}}; // its tree is open, and so there
}

void ChangeQueue::stop() {
    {
        const std::lock_guard lock(m_lock);
        m_stopped = true;
    }
    m_changed.notify_all();
}

void ChangeQueue::start() {
    const std::lock_guard lock(m_lock);
    m_stopped = false;
}

void ChangeQueue::clear(std::atomic<bool>& closed) {
    const std::lock_guard lock(m_lock);
    closed.store(true, std::memory_order_relaxed);
    for (ImplGenICamNode* const node : m_waiting) {
        node->m_notice = ImplGenICamNode::PendingNotice::None;
    }
    m_waiting.clear();
}

} // namespace tavo
