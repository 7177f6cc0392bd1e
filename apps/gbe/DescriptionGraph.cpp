#include "DescriptionGraph.h"

#include <QtCore/QXmlStreamReader>

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <set>
#include <utility>

namespace gbe {
namespace {

using Role = DescriptionGraph::Role;

constexpr const char* kValue = "pValue";

struct RoleRow {
    const char* element;
    Role role;
};

// What is not here has to do with the value.
constexpr RoleRow kRoles[] = {
    {"pMin", Role::Limits},           {"pMax", Role::Limits},         {"pInc", Role::Limits},
    {"pIsImplemented", Role::Access}, {"pIsAvailable", Role::Access}, {"pIsLocked", Role::Access},
    {"pAddress", Role::Place},        {"pLength", Role::Place},       {"pOffset", Role::Place},
    {"pInvalidator", Role::Refresh},
};

// Elements that name a node without standing on it.
constexpr const char* kNoReferences[] = {"pFeature", "pSelected", "pPort", "pError", "pAlias", "pCastAlias"};
// Elements with a name that are no nodes.
constexpr const char* kNoNodes[] = {"EnumEntry", "Constant", "Expression"};

template<std::size_t N> bool isOneOf(const char* const (&names)[N], const std::string& name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

Role roleOf(const std::string& element) {
    const auto* row = std::find_if(
        std::begin(kRoles), std::end(kRoles), [&](const auto& each) { return element == each.element; });
    return row != std::end(kRoles) ? row->role : Role::Value;
}

bool isReference(const std::string& element) {
    return element.size() > 1 && element[0] == 'p' &&
           std::isupper(static_cast<unsigned char>(element[1])) != 0 && !isOneOf(kNoReferences, element);
}

} // namespace

DescriptionGraph::DescriptionGraph(const std::string& description, const std::vector<Category>& categories) {
    read(description);
    for (const Category& category : categories) {
        m_features.insert(m_features.end(), category.features.begin(), category.features.end());
    }
    for (const std::string& feature : m_features) {
        m_featureOf[feature] = feature;
    }
    for (const std::string& feature : m_features) {
        for (const std::string& node : valueChain(feature)) {
            m_featureOf.emplace(node, feature);
        }
    }
}

// A StructReg stands for its entries: what it refers to, they all do.
void DescriptionGraph::share(const std::vector<std::string>& entries, const std::vector<Reference>& shared) {
    for (const std::string& entry : entries) {
        auto& references = m_nodes[entry].references;
        references.insert(references.end(), shared.begin(), shared.end());
    }
}

void DescriptionGraph::read(const std::string& description) {
    QXmlStreamReader reader(QByteArray::fromStdString(description));
    std::string current;
    std::vector<std::string> entries;
    std::vector<Reference> shared;
    bool isStruct = false;
    while (!reader.atEnd()) {
        reader.readNext();
        const std::string element = reader.name().toString().toStdString();
        if (reader.isEndElement() && element == "StructReg") {
            share(std::exchange(entries, {}), std::exchange(shared, {}));
            isStruct = false;
        }
        if (!reader.isStartElement()) {
            continue;
        }
        const std::string name = reader.attributes().value(QLatin1String("Name")).toString().toStdString();
        if (element == "StructReg") {
            isStruct = true;
            current.clear();
        } else if (isReference(element)) {
            const std::string node = reader.readElementText().trimmed().toStdString();
            (isStruct && current.empty() ? shared : m_nodes[current].references).push_back({element, node});
        } else if (!name.empty() && !isOneOf(kNoNodes, element)) {
            current = name;
            m_nodes[name].element = element;
            if (isStruct) {
                entries.push_back(name);
            }
        }
    }
}

std::string DescriptionGraph::element(const std::string& node) const {
    const auto found = m_nodes.find(node);
    return found != m_nodes.end() ? found->second.element : "";
}

const std::vector<DescriptionGraph::Reference>& DescriptionGraph::references(const std::string& node) const {
    static const std::vector<Reference> kNone;
    const auto found = m_nodes.find(node);
    return found != m_nodes.end() ? found->second.references : kNone;
}

std::vector<std::string> DescriptionGraph::valueChain(const std::string& node) const {
    std::vector<std::string> chain;
    for (std::string at = node; !at.empty() && std::find(chain.begin(), chain.end(), at) == chain.end();) {
        chain.push_back(at);
        const auto& all = references(at);
        const auto next = std::find_if(
            all.begin(), all.end(), [](const Reference& each) { return each.element == kValue; });
        at = next != all.end() ? next->node : "";
    }
    return chain;
}

std::string DescriptionGraph::featureOf(const std::string& node) const {
    const auto found = m_featureOf.find(node);
    return found != m_featureOf.end() ? found->second : "";
}

// The role is that of the first reference that has to do with anything but the value.
std::vector<DescriptionGraph::Link> DescriptionGraph::dependencies(const std::string& node) const {
    const std::string self = featureOf(node);
    std::vector<Link> links;
    std::set<Link> met;
    std::vector<Link> open{{node, Role::Value}}; // nodes here
    while (!open.empty()) {
        const Link at = open.back();
        open.pop_back();
        for (const Reference& reference : references(at.feature)) {
            const Role role = at.role == Role::Value ? roleOf(reference.element) : at.role;
            if (!met.insert({reference.node, role}).second) {
                continue;
            }
            const std::string feature = featureOf(reference.node);
            if (feature.empty() || (feature == self && role == Role::Value)) {
                open.push_back({reference.node, role});
            } else if (feature != self) {
                const Link link{feature, role};
                if (std::find(links.begin(), links.end(), link) == links.end()) {
                    links.push_back(link);
                }
            }
        }
    }
    std::sort(links.begin(), links.end());
    return links;
}

std::vector<DescriptionGraph::Link> DescriptionGraph::dependents(const std::string& node) const {
    const std::string self = featureOf(node);
    std::vector<Link> links;
    for (const std::string& feature : m_features) {
        for (const Link& link : dependencies(feature)) {
            if (link.feature == self && feature != self) {
                links.push_back({feature, link.role});
            }
        }
    }
    std::sort(links.begin(), links.end());
    links.erase(std::unique(links.begin(), links.end()), links.end());
    return links;
}

std::vector<std::string> DescriptionGraph::featuresBehind(const std::string& node) const {
    const std::string feature = featureOf(node);
    if (!feature.empty()) {
        return {feature};
    }
    std::vector<std::string> features;
    for (const Link& link : dependencies(node)) {
        if (std::find(features.begin(), features.end(), link.feature) == features.end()) {
            features.push_back(link.feature);
        }
    }
    return features;
}

const char* roleName(Role role) {
    static constexpr const char* kNames[] = {"value", "limits", "access", "place", "read again"};
    return kNames[static_cast<std::size_t>(role)];
}

} // namespace gbe
