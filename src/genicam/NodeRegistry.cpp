#include "genicam/NodeRegistry.h"

namespace tavo {

ImplGenICamNode& NodeRegistry::own(std::unique_ptr<ImplGenICamNode> node) {
    return *m_nodes.emplace_back(std::move(node));
}

void NodeRegistry::enter(ImplGenICamNode& node) {
    if (node.getName().empty()) {
        return;
    }
    const auto [entry, isNew] = m_byName.insert_or_assign(node.getName(), &node);
    m_index[entry->first] = &node;
}

ImplGenICamNode* NodeRegistry::find(std::string_view name) const {
    const auto entry = m_index.find(name);
    return entry != m_index.end() ? entry->second : nullptr;
}

void NodeRegistry::clear() {
    m_index.clear();
    m_byName.clear();
    m_nodes.clear();
}

} // namespace tavo
