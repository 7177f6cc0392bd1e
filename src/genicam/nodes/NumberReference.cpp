#include "genicam/nodes/NumberReference.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/limits.h"
#include "genicam/nodes/reference_hop.h"
#include "liomol/exceptions.h"

namespace tavo {

ReferenceHop::ReferenceHop(const ImplGenICamNode& node, unsigned cost)
    : m_access(node.getHost() != nullptr ? &node.getHost()->access() : nullptr), m_cost(cost) {
    if (m_access == nullptr) {
        return;
    }
    if (m_access->depth + cost > kMaxReferenceDepth || ++m_access->hops > kMaxReferenceHops) {
        failAt<GicIllegalNodeException>(node, " depends on itself, or on too many others");
    }
    m_access->depth += cost;
}

ReferenceHop::~ReferenceHop() {
    if (m_access != nullptr) {
        m_access->depth -= m_cost;
    }
}

bool NumberReference::set(GenICamNode* node) {
    ImplGenICamNode* const implementation = node != nullptr ? node->asImplementation() : nullptr;
    m_node = implementation != nullptr && implementation->hasNumber() ? implementation : nullptr;
    return m_node != nullptr;
}

std::int64_t NumberReference::getInteger() const {
    const GenICamScopedReadWriteLock guard(m_node, GenICamScopedReadWriteLock::ReadLock);
    return readInteger();
}

double NumberReference::getFloat() const {
    const GenICamScopedReadWriteLock guard(m_node, GenICamScopedReadWriteLock::ReadLock);
    return readFloat();
}

std::int64_t NumberReference::readInteger() const {
    const ReferenceHop hop(*m_node);
    return m_node->readInteger();
}

double NumberReference::readFloat() const {
    const ReferenceHop hop(*m_node);
    return m_node->readFloat();
}

void NumberReference::writeInteger(std::int64_t value) const {
    const ReferenceHop hop(*m_node);
    m_node->writeInteger(value);
    m_node->settleWrite();
}

void NumberReference::writeFloat(double value) const {
    const ReferenceHop hop(*m_node);
    m_node->writeFloat(value);
    m_node->settleWrite();
}

} // namespace tavo
