// The limits of a node of any kind, for the nodes and formulas that take them over.
#pragma once

#include "genicam/nodes/NumberReference.h"
#include "math/MathValue.h"

namespace tavo {

class ImplGenICamNode;

enum class NodeLimit : unsigned char { Min, Max, Inc };

// Whether nodes of the kind have the limit: all three for integers, the first two for floats.
bool hasLimit(ImplGenICamNode& node, NodeLimit limit);

// The limit of a node that has it; takes the device's lock, and does not check the node's access.
// GicIllegalNodeException for a limit that leads in a circle.
MathValue readLimit(ImplGenICamNode& node, NodeLimit limit);

// Which limits a node takes from the node below (pValue) because it has none of its own.
class LimitsFromBelow {
public:
    // Nothing where the kind of the node below has no such limit.
    void add(NodeLimit limit, const NumberReference& below);
    bool has(NodeLimit limit) const { return (m_bits >> static_cast<int>(limit) & 1) != 0; }

private:
    unsigned char m_bits = 0;
};

} // namespace tavo
