#include "genicam/nodes/NodeRegistry.h"

#include <algorithm>
#include <functional>

namespace tavo {
namespace {

constexpr std::size_t kFirstSize = 64;

std::size_t hashOf(std::string_view name) {
    return std::hash<std::string_view>{}(name);
}

} // namespace

ImplGenICamNode& NodeRegistry::own(std::unique_ptr<ImplGenICamNode> node) {
    return *m_nodes.emplace_back(std::move(node));
}

template<class Index> auto& NodeRegistry::placeOf(Index& index, std::string_view name, std::size_t hash) {
    const std::size_t mask = index.size() - 1;
    std::size_t i = hash & mask;
    while (index[i].node != nullptr && (index[i].hash != hash || index[i].node->getName() != name)) {
        i = (i + 1) & mask;
    }
    return index[i];
}

void NodeRegistry::enter(ImplGenICamNode& node) {
    const std::string& name = node.getName();
    if (name.empty()) {
        return;
    }
    if (m_names >= m_index.size() / 4 * 3) {
        grow();
    }
    const std::size_t hash = hashOf(name);
    Place& place = placeOf(m_index, name, hash);
    m_names += place.node == nullptr ? 1 : 0;
    place = {&node, hash};
    m_byName.clear();
}

void NodeRegistry::grow() {
    std::vector<Place> larger(std::max(kFirstSize, m_index.size() * 2));
    for (const Place& place : m_index) {
        if (place.node != nullptr) {
            placeOf(larger, place.node->getName(), place.hash) = place;
        }
    }
    m_index = std::move(larger);
}

ImplGenICamNode* NodeRegistry::find(std::string_view name) const {
    return m_index.empty() ? nullptr : placeOf(m_index, name, hashOf(name)).node;
}

const std::vector<ImplGenICamNode*>& NodeRegistry::byName() const {
    const std::lock_guard lock(m_sorting);
    if (m_byName.empty()) {
        m_byName.reserve(m_names);
        for (const Place& place : m_index) {
            if (place.node != nullptr) {
                m_byName.push_back(place.node);
            }
        }
        std::ranges::sort(m_byName, {}, &ImplGenICamNode::getName);
    }
    return m_byName;
}

void NodeRegistry::clear() {
    m_index.clear();
    m_byName.clear();
    m_names = 0;
    m_nodes.clear();
}

} // namespace tavo
