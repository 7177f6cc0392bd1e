#include "genicam/node_limits.h"

#include "genicam/GenICamScopedReadWriteLock.h"
#include "genicam/ImplGenICamNode.h"
#include "genicam/reference_hop.h"
#include "util/exceptions.h"

namespace tavo {

bool hasLimit(ImplGenICamNode& node, NodeLimit limit) {
    return node.asInteger() != nullptr || (node.asFloat() != nullptr && limit != NodeLimit::Inc);
}

MathValue readLimit(ImplGenICamNode& node, NodeLimit limit) {
    const DeviceLockScope lock(node.getCamera());
    const ReferenceHop hop(node);
    if (auto* const integer = node.asInteger()) {
        return MathValue::fromInteger(
            limit == NodeLimit::Min   ? integer->getMin()
            : limit == NodeLimit::Max ? integer->getMax()
                                      : integer->getInc());
    }
    auto* const real = node.asFloat();
    if (real == nullptr || limit == NodeLimit::Inc) {
        throw GicIllegalNodeException();
    }
    return MathValue::fromFloat(limit == NodeLimit::Min ? real->getMin() : real->getMax());
}

} // namespace tavo
