// Sets of nodes as vectors of ascending addresses: small and quick to walk.
#pragma once

#include <algorithm>
#include <functional>
#include <vector>

namespace tavo {

class ImplGenICamNode;

// Into such an order, each node once. Sets are filled without looking and put in order once: there may be
// hundreds of thousands in one.
inline void orderNodes(std::vector<ImplGenICamNode*>& nodes) {
    const auto isNotBefore = [](const auto* a, const auto* b) { return !std::less<>{}(a, b); };
    if (std::ranges::adjacent_find(nodes, isNotBefore) != nodes.end()) {
        std::ranges::sort(nodes, std::less<>{});
        nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    }
}

} // namespace tavo
