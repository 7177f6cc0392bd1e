// Nodes that are in no description: they stand between a node and those below it where the standard lets one
// reference mean several nodes. They bear no name; the device owns them like all others.
#pragma once

#include "genicam/nodes/node_interfaces.h"

#include <map>
#include <vector>

namespace tavo {

// pValue with its copies: value, limits and access are pValue's, and what it has been given goes to the
// copies as well.
class ValueWithCopies : public ImplGenICamNode {
public:
    // `value` must have a number. A copy without one is ignored.
    explicit ValueWithCopies(GenICamNode* value) { m_value.set(value); }
    void addCopy(GenICamNode* node);

    bool hasNumber() const override { return true; }
    GenICamIntegerInterface* asInteger() override { return m_value.node()->asInteger(); }
    GenICamFloatInterface* asFloat() override { return m_value.node()->asFloat(); }
    std::int64_t readInteger() override { return m_value.readInteger(); }
    double readFloat() override { return m_value.readFloat(); }
    void writeInteger(std::int64_t value) override;
    void writeFloat(double value) override;

protected:
    AccessRule accessRule() const override { return {AccessMode::NotGiven, m_value.node()}; }

private:
    NumberReference m_value;
    std::vector<NumberReference> m_copies;
};

// One of several nodes, picked by the value of another one at the time of the access.
class IndexedNodes {
public:
    void setIndex(GenICamNode* node) { m_index.set(node); }
    // A later node takes an earlier one's place.
    void setNode(std::int64_t index, GenICamNode* node) { m_nodes[index].set(node); }
    // The node for every other index.
    void setDefault(GenICamNode* node) { m_default.set(node); }

    // For callers that hold the device's lock. GicIllegalNodeException without an index,
    // GicIllegalValueException for one that picks nothing.
    const NumberReference& pick() const;

private:
    NumberReference m_index;
    std::map<std::int64_t, NumberReference> m_nodes;
    NumberReference m_default;
};

// Value, limits and access are those of the node picked; one without limits takes any value.
class IndexedInteger : public ImplGenICamIntegerInterface, public IndexedNodes {
public:
    std::int64_t getMin() override;
    std::int64_t getMax() override;
    std::int64_t getInc() override;
    std::int64_t readInteger() override { return pick().readInteger(); }
    void writeInteger(std::int64_t value) override { pick().writeInteger(value); }

protected:
    AccessRule currentAccessRule() const override;
};

class IndexedFloat : public ImplGenICamFloatInterface, public IndexedNodes {
public:
    double getMin() override;
    double getMax() override;
    double readFloat() override { return pick().readFloat(); }
    void writeFloat(double value) override { pick().writeFloat(value); }

protected:
    AccessRule currentAccessRule() const override;
};

// An index times the distance between what it picks: a number, plus the value of a node if there is one.
class IndexTimesDistance : public ImplGenICamNode {
public:
    IndexTimesDistance(GenICamNode* index, GenICamNode* distance, std::int64_t fixedDistance);

    bool hasNumber() const override { return bool(m_index); }
    std::int64_t readInteger() override;

private:
    NumberReference m_index;
    NumberReference m_distance;
    std::int64_t m_fixedDistance;
};

} // namespace tavo
