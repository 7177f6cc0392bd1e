#include "genicam/nodes/node_limits.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/reference_hop.h"
#include "liomol/exceptions.h"

namespace tavo {

bool hasLimit(ImplGenICamNode& node, NodeLimit limit) {
    return node.asInteger() != nullptr || (node.asFloat() != nullptr && limit != NodeLimit::Inc);
}

MathValue readLimit(ImplGenICamNode& node, NodeLimit limit) {
    const DeviceLockScope lock(node.getHost());
    const ReferenceHop hop(node);
    if (auto* const integer = node.asInteger()) {
        return MathValue::fromInteger(
            limit == NodeLimit::Min   ? integer->getMin()
            : limit == NodeLimit::Max ? integer->getMax()
                                      : integer->getInc());
    }
    auto* const real = node.asFloat();
    if (real == nullptr || limit == NodeLimit::Inc) {
        failAt<GicIllegalNodeException>(node, " has no such limit");
    }
    return MathValue::fromFloat(limit == NodeLimit::Min ? real->getMin() : real->getMax());
}

void LimitsFromBelow::add(NodeLimit limit, const NumberReference& below) {
    if (below && hasLimit(*below.node(), limit)) {
        m_bits = static_cast<unsigned char>(m_bits | 1 << static_cast<int>(limit));
    }
}

} // namespace tavo
