// The nodes of a device whose signals are due, first come first served.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tavo {

class ImplGenICamNode;
class NodeHost;

// All operations may be called from any thread. The lock inside is held by no call into a node.
class ChangeQueue {
public:
    struct Notice {
        ImplGenICamNode* node = nullptr; // null: there is none
        bool trigger = false;            // report values whether they differ or not
        std::shared_ptr<NodeHost> tree;  // keeps the node
        std::function<void()> task;      // to be done in place of a node's signals; empty: none
    };

    // Whether add() would change nothing. Costs next to nothing.
    static bool holds(const ImplGenICamNode& node, bool trigger);
    // Nothing for a node of a closed tree. A node that waits already keeps its place; `trigger`, once set,
    // stays.
    void add(ImplGenICamNode& node, bool trigger);
    // What is to be done on the thread that takes, before the nodes that wait.
    void addTask(std::function<void()> task);
    // Waits for a notice; an empty one once stop() was called.
    Notice take();
    // Ends all waiting, now and until start() is called.
    void stop();
    void start();
    // Forgets all notices of nodes, and sets `closed` before the next one can come.
    void clear(std::atomic<bool>& closed);

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<ImplGenICamNode*> m_waiting;
    std::deque<std::function<void()>> m_tasks;
    bool m_stopped = false;
};

} // namespace tavo
