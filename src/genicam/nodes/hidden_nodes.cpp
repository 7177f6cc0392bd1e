#include "genicam/nodes/hidden_nodes.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/numbers.h"

#include <limits>

namespace tavo {

// ---- Copies ----------------------------------------------------------------------------------------------

void ValueWithCopies::addCopy(GenICamNode* node) {
    NumberReference copy;
    if (copy.set(node)) {
        m_copies.push_back(copy);
    }
}

// The value first: what it refuses is written nowhere.
void ValueWithCopies::writeInteger(std::int64_t value) {
    m_value.writeInteger(value);
    for (const NumberReference& copy : m_copies) {
        copy.writeInteger(value);
    }
}

void ValueWithCopies::writeFloat(double value) {
    m_value.writeFloat(value);
    for (const NumberReference& copy : m_copies) {
        copy.writeFloat(value);
    }
}

// ---- Indexed values --------------------------------------------------------------------------------------

const NumberReference& IndexedNodes::pick() const {
    if (!m_index) {
        util::fail<GicIllegalNodeException>([] { return "no node says which of several values counts"; });
    }
    const std::int64_t index = m_index.readInteger();
    const auto found = m_nodes.find(index);
    const NumberReference& picked = found != m_nodes.end() ? found->second : m_default;
    if (!picked) {
        util::fail<GicIllegalValueException>([&] {
            return "nothing stands for the " + std::to_string(index) + " of " + m_index.node()->getName();
        });
    }
    return picked;
}

std::int64_t IndexedInteger::getMin() {
    const DeviceLockScope scope(getHost());
    auto* const integer = pick().node()->asInteger();
    return integer != nullptr ? integer->getMin() : std::numeric_limits<std::int64_t>::min();
}

std::int64_t IndexedInteger::getMax() {
    const DeviceLockScope scope(getHost());
    auto* const integer = pick().node()->asInteger();
    return integer != nullptr ? integer->getMax() : std::numeric_limits<std::int64_t>::max();
}

std::int64_t IndexedInteger::getInc() {
    const DeviceLockScope scope(getHost());
    auto* const integer = pick().node()->asInteger();
    return integer != nullptr ? integer->getInc() : 1;
}

ImplGenICamNode::AccessRule IndexedInteger::currentAccessRule() const {
    const DeviceLockScope scope(getHost());
    return {AccessMode::NotGiven, pick().node()};
}

double IndexedFloat::getMin() {
    const DeviceLockScope scope(getHost());
    auto* const real = pick().node()->asFloat();
    return real != nullptr ? real->getMin() : std::numeric_limits<double>::lowest();
}

double IndexedFloat::getMax() {
    const DeviceLockScope scope(getHost());
    auto* const real = pick().node()->asFloat();
    return real != nullptr ? real->getMax() : std::numeric_limits<double>::max();
}

ImplGenICamNode::AccessRule IndexedFloat::currentAccessRule() const {
    const DeviceLockScope scope(getHost());
    return {AccessMode::NotGiven, pick().node()};
}

// ---- Distances -------------------------------------------------------------------------------------------

IndexTimesDistance::IndexTimesDistance(GenICamNode* index, GenICamNode* distance, std::int64_t fixedDistance)
    : m_fixedDistance(fixedDistance) {
    m_index.set(index);
    m_distance.set(distance);
}

std::int64_t IndexTimesDistance::readInteger() {
    const std::int64_t distance =
        m_distance ? numbers::add(m_distance.readInteger(), m_fixedDistance) : m_fixedDistance;
    return numbers::multiply(m_index.readInteger(), distance);
}

} // namespace tavo
