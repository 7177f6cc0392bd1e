// The limits of a node of any kind, for the nodes and formulas that take them over.
#pragma once

#include "math/MathValue.h"

namespace tavo {

class ImplGenICamNode;

enum class NodeLimit : unsigned char { Min, Max, Inc };

// Whether nodes of the kind have the limit: all three for integers, the first two for floats.
bool hasLimit(ImplGenICamNode& node, NodeLimit limit);

// The limit of a node that has it; takes the device's lock, and does not check the node's access.
// GicIllegalNodeException for a limit that leads in a circle.
MathValue readLimit(ImplGenICamNode& node, NodeLimit limit);

} // namespace tavo
