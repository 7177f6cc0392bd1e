// The nodes of a device whose signals are due, first come first served.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

namespace tavo {

class ImplGenICamNode;

// All operations may be called from any thread. The lock inside is held by no call into a node.
class ChangeQueue {
public:
    struct Notice {
        ImplGenICamNode* node = nullptr; // null: there is none
        bool trigger = false;            // report values whether they differ or not
    };

    // Whether add() would change nothing. Costs next to nothing.
    static bool holds(const ImplGenICamNode& node, bool trigger);
    // A node that waits already keeps its place; `trigger`, once set, stays.
    void add(ImplGenICamNode& node, bool trigger);
    // Waits for a notice; an empty one once stop() was called.
    Notice take();
    // Ends all waiting, now and until start() is called.
    void stop();
    void start();
    // The nodes that wait, in their order; they stay.
    std::vector<ImplGenICamNode*> waiting() const;
    // Forgets all notices.
    void clear();

private:
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<ImplGenICamNode*> m_waiting;
    bool m_stopped = false;
};

} // namespace tavo
