#include "settings/Catalogue.h"

#include "settings/Document.h"

#include <algorithm>

namespace settings {

using tavo::GenICamNode;

namespace {

constexpr const char* kRoot = "Root";
constexpr std::size_t kMaxDepth = 64; // of categories in categories

} // namespace

Catalogue::Catalogue(tavo::GenICamCamera& device) {
    if (GenICamNode* const root = device.getNodeByName(kRoot);
        root != nullptr && root->asCategory() != nullptr) {
        visit(*root, 0);
    }
    for (GenICamNode* const node : device.getNodes()) {
        add(node, nullptr);
    }
    for (const Feature& feature : m_features) {
        if (isSelector(feature.node)) {
            for (GenICamNode* const selected : feature.node->asSelector()->getSelectedFeatures()) {
                m_selecting[selected].push_back(feature.node);
            }
        }
    }
}

bool Catalogue::isSelector(GenICamNode* node) const {
    const auto* const selector = node->asSelector();
    return selector != nullptr && selector->isSelector() &&
           (node->asEnumeration() != nullptr || node->asInteger() != nullptr);
}

void Catalogue::visit(GenICamNode& category, std::size_t depth) {
    add(&category, nullptr);
    for (GenICamNode* const member : category.asCategory()->getFeatures()) {
        if (member->asCategory() == nullptr) {
            add(member, &category);
        } else if (depth < kMaxDepth && !m_places.contains(member)) {
            visit(*member, depth + 1);
        }
    }
}

void Catalogue::add(GenICamNode* node, GenICamNode* category) {
    if (m_places.try_emplace(node, m_features.size()).second) {
        m_features.push_back({node, category});
    }
}

std::vector<GenICamNode*> Catalogue::selectorsOf(GenICamNode* node) const {
    std::vector<GenICamNode*> selectors;
    std::set<GenICamNode*> visited{node};
    collect(node, selectors, visited);
    if (selectors.size() > kMaxSelectors) {
        selectors.erase(selectors.begin(), selectors.end() - kMaxSelectors);
    }
    return selectors;
}

// Those that stand around a selector come before it. Selectors may select each other: each is visited once.
void Catalogue::collect(
    GenICamNode* node, std::vector<GenICamNode*>& selectors, std::set<GenICamNode*>& visited) const {
    const auto found = m_selecting.find(node);
    if (found == m_selecting.end()) {
        return;
    }
    for (GenICamNode* const selector : found->second) {
        if (visited.insert(selector).second) {
            collect(selector, selectors, visited);
            selectors.push_back(selector);
        }
    }
}

} // namespace settings
