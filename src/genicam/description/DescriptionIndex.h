// What the names in a description mean, and what it tells of a node before there are nodes.
#pragma once

#include "genicam/description/GenICamTreeBuilder.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace genicam {

// References to numbers, each of which a node has once.
inline constexpr std::string_view kNumberReferences[] = {
    "pAddress", "pCommandValue", "pInc", "pIsAvailable", "pIsImplemented",
    "pLength",  "pMax",          "pMin", "pIsLocked",    "pValue",
};

// Nodes on the way along pValue that are looked at.
inline constexpr int kMostHops = 32;

template<class Range, class T> bool contains(const Range& range, const T& item) {
    return std::ranges::find(range, item) != std::ranges::end(range);
}

bool isInteger(tavo::GenICamTypes::GenICamNodeType type);
bool isFloat(tavo::GenICamTypes::GenICamNodeType type);
bool isRegister(tavo::GenICamTypes::GenICamNodeType type);

// The builders must outlive it. Makes registers of the entries of StructRegs. One thread.
class DescriptionIndex {
public:
    using Builder = tavo::GenICamTreeBuilder;
    using Kind = tavo::GenICamTypes::GenICamNodeType;

    explicit DescriptionIndex(Builder& root) { index(root); }

    // Whether the description's schema is below 1.1.
    bool isOldSchema() const { return m_oldSchema; }
    // Undefined where no node has the name.
    Kind kindOf(std::string_view name) const;
    // Whether a category has it.
    bool isFeature(Builder& builder) const;
    // How often other nodes take a number from it.
    std::size_t referrers(Builder& builder) const;
    // The StructReg of an entry; null for others.
    Builder* structOf(Builder& builder) const;
    // The first element of a name, or null; what a StructReg says takes the place of what its entry says.
    const Builder::Element* find(Builder& builder, std::string_view name) const;
    // Without the blanks around it; empty without such an element.
    std::string_view textOf(Builder& builder, std::string_view name) const;
    // The node that pValue leads to, or null.
    Builder* below(Builder& builder) const;
    // The access mode, along pValue as far as the description tells; empty where it does not.
    std::string_view modeOf(Builder& builder) const;

private:
    void index(Builder& builder);

    std::unordered_map<std::string_view, Builder*> m_nodes;
    std::unordered_map<std::string_view, std::size_t> m_referrers;
    std::unordered_map<Builder*, Builder*> m_structs; // of entries
    std::unordered_set<std::string_view> m_features;
    bool m_oldSchema = true;
};

} // namespace genicam
