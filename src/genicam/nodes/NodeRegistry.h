// The nodes of one tree: it owns all of them and finds them by name.
#pragma once

#include "genicam/nodes/ImplGenICamNode.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace tavo {

// Filled by one thread while the tree is built; after that any thread may look up.
class NodeRegistry {
public:
    ImplGenICamNode& own(std::unique_ptr<ImplGenICamNode> node);
    // Enters an owned node under its name, in place of an earlier one; that one stays owned.
    void enter(ImplGenICamNode& node);
    // Null when no node has that name.
    ImplGenICamNode* find(std::string_view name) const;
    // Those with a name, in ascending order of the names; sorted once. Valid until a node is entered.
    const std::vector<ImplGenICamNode*>& byName() const;
    // Named or not, in the order of creation.
    const std::vector<std::unique_ptr<ImplGenICamNode>>& all() const { return m_nodes; }
    void clear();

private:
    // A place in the index, empty or with the node of a name and the hash of that name.
    struct Place {
        ImplGenICamNode* node = nullptr;
        std::size_t hash = 0;
    };
    // The place of the name, empty when no node has it.
    template<class Index> static auto& placeOf(Index& index, std::string_view name, std::size_t hash);
    void grow();

    std::vector<std::unique_ptr<ImplGenICamNode>> m_nodes;
    // Open addressing: as many places as a power of two, of which three in four are taken at most. A name is
    // at the place that its hash says, or at one of those behind it up to the next empty one.
    std::vector<Place> m_index;
    std::size_t m_names = 0;
    mutable std::mutex m_sorting;
    mutable std::vector<ImplGenICamNode*> m_byName; // under m_sorting; empty until somebody asks
};

} // namespace tavo
