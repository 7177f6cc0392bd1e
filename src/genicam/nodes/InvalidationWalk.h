// How changes spread from node to node, and what a device keeps for the one access that holds its lock.
#pragma once

#include <cstddef>
#include <vector>

namespace tavo {

class ImplGenICamNode;

// The longest way from node to node that one access may take; the longest in descriptions of real cameras is
// 21. Beyond it the node counts as one that depends on itself.
inline constexpr unsigned kMaxReferenceDepth = 1024;
// What the evaluation of a formula counts on that way: it needs a stack of its own for its nesting.
inline constexpr unsigned kFormulaDepth = 16;
// Formulas that one access may evaluate, so that formulas which double their work node by node end in time.
inline constexpr unsigned kMaxFormulaEvaluations = 1000000;
// Hops that one access may take in sum, so that registers whose addresses need others twice end in time, too.
inline constexpr unsigned kMaxReferenceHops = 4000000;

// Spreads an invalidation along the graph, without recursion: a node is marked, its dependants and then the
// nodes that it invalidates are visited in order, and at last its notice is queued. Each node is visited once
// until its mark is cleared, so that cycles end and a walk takes time in proportion to what it reaches.
class InvalidationWalk {
public:
    // Visits `node` unless it is marked already.
    void visit(ImplGenICamNode& node);
    // Drops the content of `node` and visits what it spreads to, whether it is marked or not.
    void spread(ImplGenICamNode& node);

    // The nodes that were marked since the lock was taken.
    std::vector<ImplGenICamNode*>& marked() { return m_marked; }

private:
    struct Frame {
        ImplGenICamNode* node;
        std::size_t next; // index into its dependants followed by its invalidated nodes
        bool spreads;     // whether its dependants are visited: a volatile node's are not
        bool notifies;
    };
    void enter(ImplGenICamNode& node);
    static ImplGenICamNode* nextOf(Frame& frame);
    void run();

    std::vector<Frame> m_path; // empty between walks; kept for its memory
    std::vector<ImplGenICamNode*> m_marked;
};

// While it lives, invalidations that this thread causes drop caches as ever but queue no notices: the reads
// of a signal update bring in what has been reported as changed already, and a read that fails must not have
// itself repeated for ever.
class QuietInvalidation {
public:
    QuietInvalidation();
    ~QuietInvalidation();
    QuietInvalidation(const QuietInvalidation&) = delete;
    QuietInvalidation& operator=(const QuietInvalidation&) = delete;

private:
    bool m_outer;
};

// Guarded by the device's lock.
struct AccessContext {
    InvalidationWalk invalidation;
    unsigned depth = 0;              // hops from node to node
    unsigned hops = 0;               // all of them since the lock was taken
    unsigned formulaEvaluations = 0; // likewise
};

} // namespace tavo
