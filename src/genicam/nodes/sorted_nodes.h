// Sets of nodes as vectors of ascending addresses: small, quick to walk, and cheap to fill for nodes that
// were made one after another.
#pragma once

#include <algorithm>
#include <functional>
#include <vector>

namespace tavo {

class ImplGenICamNode;

// A node that is in the set already is not added again.
inline void insertSorted(std::vector<ImplGenICamNode*>& nodes, ImplGenICamNode* node) {
    const auto place = std::lower_bound(nodes.begin(), nodes.end(), node, std::less<>{});
    if (place == nodes.end() || *place != node) {
        nodes.insert(place, node);
    }
}

} // namespace tavo
