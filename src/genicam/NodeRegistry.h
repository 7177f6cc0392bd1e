// The nodes of one device: it owns all of them and finds them by name.
#pragma once

#include "genicam/ImplGenICamNode.h"

#include <memory>
#include <string_view>
#include <unordered_map>
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
    // In ascending order of their names.
    std::vector<ImplGenICamNode*> byName() const;
    // Named or not, in the order of creation.
    const std::vector<std::unique_ptr<ImplGenICamNode>>& all() const { return m_nodes; }
    void clear();

private:
    std::vector<std::unique_ptr<ImplGenICamNode>> m_nodes;
    std::unordered_map<std::string_view, ImplGenICamNode*> m_byName; // views of the nodes' names
};

} // namespace tavo
