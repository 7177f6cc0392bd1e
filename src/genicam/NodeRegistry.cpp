#include "genicam/NodeRegistry.h"

#include <algorithm>

namespace tavo {

ImplGenICamNode& NodeRegistry::own(std::unique_ptr<ImplGenICamNode> node) {
    return *m_nodes.emplace_back(std::move(node));
}

void NodeRegistry::enter(ImplGenICamNode& node) {
    if (!node.getName().empty()) {
        m_byName.insert_or_assign(
            node.getName(), &node); // an earlier node's name, which stays, may be the key
    }
}

ImplGenICamNode* NodeRegistry::find(std::string_view name) const {
    const auto entry = m_byName.find(name);
    return entry != m_byName.end() ? entry->second : nullptr;
}

std::vector<ImplGenICamNode*> NodeRegistry::byName() const {
    std::vector<ImplGenICamNode*> nodes;
    nodes.reserve(m_byName.size());
    for (const auto& [name, node] : m_byName) {
        nodes.push_back(node);
    }
    std::sort(nodes.begin(), nodes.end(), [](const ImplGenICamNode* a, const ImplGenICamNode* b) {
        return a->getName() < b->getName();
    });
    return nodes;
}

void NodeRegistry::clear() {
    m_byName.clear();
    m_nodes.clear();
}

} // namespace tavo
