// A reference from one node to another whose value is a number (pValue, pMin, pIsLocked, an address term...).
#pragma once

#include <cstdint>

namespace tavo {

class GenICamNode;
class ImplGenICamNode;

// Resolved once, when the tree is wired: from then on the node's value is read or written as an integer or a
// float, whichever kind it has, without a cast. A float read as an integer loses its fraction and is clamped
// to the range; a Boolean counts as 1 or 0 and an Enumeration as its integer value.
//
// Every hop from node to node passes here, so the bound on their number does too: a node that depends on its
// own value ends in GicIllegalNodeException.
class NumberReference {
public:
    // Refers to `node` if its kind has a number; any other node, or null, leaves the reference empty. Returns
    // whether the reference is set.
    bool set(GenICamNode* node);

    explicit operator bool() const { return m_node != nullptr; }
    ImplGenICamNode* node() const { return m_node; }

    // As the node's own getter: takes the device's lock, and checks the node's access if the thread does not
    // hold the lock yet.
    std::int64_t getInteger() const;
    double getFloat() const;

    // For a caller that holds the device's lock: no checks.
    std::int64_t readInteger() const;
    double readFloat() const;
    void writeInteger(std::int64_t value) const;
    void writeFloat(double value) const;

private:
    ImplGenICamNode* m_node = nullptr;
};

} // namespace tavo
