// How the nodes of a description stand on each other: what its elements refer to, followed from feature to
// feature through the nodes behind them.
#pragma once

#include "features.h"

#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace gbe {

class DescriptionGraph {
public:
    // For which part of a feature another one counts.
    enum class Role { Value, Limits, Access, Place, Refresh };

    struct Reference {
        std::string element; // "pMax"
        std::string node;
    };

    // A feature, and what it has to do with the one that was asked about.
    struct Link {
        std::string feature;
        Role role = Role::Value;

        bool operator==(const Link&) const = default;
        bool operator<(const Link& other) const {
            return std::tie(feature, role) < std::tie(other.feature, other.role);
        }
    };

    // What is no well-formed XML ends it. Features are those that the categories have.
    DescriptionGraph(const std::string& description, const std::vector<Category>& categories);

    // "IntReg"; empty for an unknown node.
    std::string element(const std::string& node) const;
    const std::vector<Reference>& references(const std::string& node) const;
    // The node itself, the one that has its value, the one that has that one's, ...
    std::vector<std::string> valueChain(const std::string& node) const;

    // Features that this one depends on directly, or through nodes that are no features.
    std::vector<Link> dependencies(const std::string& node) const;
    // Those that depend on it, in the same sense.
    std::vector<Link> dependents(const std::string& node) const;
    // Features behind one reference, for instance those that a lock is made of.
    std::vector<std::string> featuresBehind(const std::string& node) const;

private:
    struct Node {
        std::string element;
        std::vector<Reference> references;
    };

    void read(const std::string& description);
    void share(const std::vector<std::string>& entries, const std::vector<Reference>& shared);
    // The feature that a node is, or whose value it has; empty without one.
    std::string featureOf(const std::string& node) const;

    std::map<std::string, Node> m_nodes;
    std::map<std::string, std::string> m_featureOf;
    std::vector<std::string> m_features;
};

// "value", "limits", ...
const char* roleName(DescriptionGraph::Role role);

} // namespace gbe
