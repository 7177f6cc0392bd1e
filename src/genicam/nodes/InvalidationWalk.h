// How changes spread from node to node, and what a device keeps for the one access that holds its lock.
#pragma once

#include "genicam/nodes/RegisterMap.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tavo {

class ImplGenICamNode;
class Prefetch;

// Spreads a change along the graph, without recursion: a node's content is dropped, its dependants and then
// the nodes that it invalidates are visited in order, and at last its notice is queued. Where content may
// have changed in the camera, the registers that share bytes of it come last.
//
// Each walk has a number, which it leaves on the nodes that it visits: it visits none twice, so that cycles
// end and it takes time in proportion to what it reaches, and no earlier walk keeps it from a node.
class InvalidationWalk {
public:
    // The node was given a value, or bytes of the camera were written through it. Returns whether the way
    // leads back to the node: then what was written may not be what it holds now.
    bool written(ImplGenICamNode& node);
    // A read of a register has brought other bytes than were known. Null for those of another place, which
    // say nothing of the camera's memory.
    void changed(ImplGenICamNode& node, const unsigned char* news);
    // The node was given a value by way of the node written last: visits it if that write has not reached it.
    void settle(ImplGenICamNode& node);
    // A read has brought a register content, which even the end of the write under way must reach.
    void gained() { m_settled = ++m_number; }
    // Whatever is known of the nodes is old.
    void everything(const std::vector<std::unique_ptr<ImplGenICamNode>>& nodes);

private:
    enum class Way : unsigned char { Dependency, Content };
    struct Frame {
        ImplGenICamNode* node;
        std::size_t next; // index into its dependants followed by its invalidated nodes
        bool spreads;     // whether its dependants are visited
        bool notifies;
    };
    void begin(ImplGenICamNode& origin, bool isWrite);
    void arrive(ImplGenICamNode& node, Way way);
    void run();
    void followPath();
    void expand(ImplGenICamNode& node);
    static void notify(ImplGenICamNode& node);

    std::uint64_t m_number = 1;
    std::uint64_t m_settled = 1; // nodes visited since this walk have been reached by the latest write
    ImplGenICamNode* m_origin = nullptr;
    const unsigned char* m_news = nullptr; // that a read of the origin brought
    bool m_returned = false;
    bool m_passesVolatile = false;
    std::size_t m_looked = 0;               // at registers that might share bytes
    std::vector<Frame> m_path;              // empty between walks, like the rest; kept for its memory
    std::vector<ImplGenICamNode*> m_expand; // those whose neighbours in memory are still to be visited
    std::vector<ImplGenICamNode*> m_sharing;
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
    RegisterMap registers;
    std::uint64_t number = 1;        // of this access; a write within it makes it another one
    unsigned depth = 0;              // hops from node to node
    unsigned hops = 0;               // all of them since the lock was taken
    unsigned formulaEvaluations = 0; // likewise
    Prefetch* prefetch = nullptr;    // notes what accesses need to read, instead of their reading it
};

} // namespace tavo
