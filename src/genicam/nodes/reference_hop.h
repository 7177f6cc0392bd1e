// Counts how far an access has gone from node to node.
#pragma once

namespace tavo {

class ImplGenICamNode;
struct AccessContext;

// GicIllegalNodeException when the way is too long (the node depends on itself, or as good as), and when one
// access has gone too many ways. A node that no device has adopted is not counted. The caller holds the
// device's lock.
class ReferenceHop {
public:
    explicit ReferenceHop(const ImplGenICamNode& node, unsigned cost = 1);
    ~ReferenceHop();
    ReferenceHop(const ReferenceHop&) = delete;
    ReferenceHop& operator=(const ReferenceHop&) = delete;

private:
    AccessContext* m_access;
    unsigned m_cost;
};

} // namespace tavo
