// What settings need of a node tree beside its faces. Whoever has the tree's inside serves it.
#pragma once

#include "liomol/node_kinds.h"

#include <vector>

namespace settings {

class NodeAccess {
public:
    virtual ~NodeAccess() = default;

    // Reads ahead what the next accesses to the values of these nodes need of the camera, as far as that can
    // be, in the position in which their selectors are. Throws nothing: what fails is told by the access that
    // needs it.
    virtual void readAhead(const std::vector<tavo::GenICamNode*>& nodes) = 0;

    // Throw what the node tree throws where a node is not there, or must not be written now, with the reason
    // in the thread's sentence; also where the device does not check accesses.
    virtual void requirePresence(tavo::GenICamNode& node) = 0;
    virtual void requireWritability(tavo::GenICamNode& node) = 0;
};

} // namespace settings
