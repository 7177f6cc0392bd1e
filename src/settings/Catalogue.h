// A camera's features in the order in which people meet them, and which selectors stand around each.
#pragma once

#include "liomol/GenICamCamera.h"
#include "liomol/node_kinds.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace settings {

struct Feature {
    tavo::GenICamNode* node = nullptr;
    tavo::GenICamNode* category = nullptr; // the one that names it first; null where none does
};

// Made of one tree, which must outlive it.
class Catalogue {
public:
    explicit Catalogue(tavo::GenICamCamera& device);

    // From the category "Root" downwards, each once; then what is in no category, by name.
    const std::vector<Feature>& features() const { return m_features; }
    // The selectors whose positions a feature depends on, the outermost first; kMaxSelectors at most.
    std::vector<tavo::GenICamNode*> selectorsOf(tavo::GenICamNode* node) const;
    bool isSelector(tavo::GenICamNode* node) const;

private:
    void visit(tavo::GenICamNode& category, std::size_t depth);
    void add(tavo::GenICamNode* node, tavo::GenICamNode* category);
    void collect(
        tavo::GenICamNode* node, std::vector<tavo::GenICamNode*>& selectors,
        std::set<tavo::GenICamNode*>& visited) const;

    std::vector<Feature> m_features;
    std::map<tavo::GenICamNode*, std::size_t> m_places;                        // in m_features
    std::map<tavo::GenICamNode*, std::vector<tavo::GenICamNode*>> m_selecting; // in the order of m_features
};

} // namespace settings
