// What only the standard's meaning knows: texts with a value of their own, values that an index picks, copies
// of a value, and address terms that count in lengths.
#include "genicam/description/read_nodes.h"

#include "genicam/nodes/ImplGenICamFloat.h"
#include "genicam/nodes/ImplGenICamInteger.h"
#include "genicam/nodes/ImplGenICamString.h"
#include "genicam/nodes/hidden_nodes.h"

#include <limits>
#include <memory>

namespace genicam::stages {

using tavo::ImplGenICamFloat;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamString;
using tavo::IndexedFloat;
using tavo::IndexedInteger;

namespace {

constexpr Literal<ImplGenICamString> kStringLiterals[] = {
    {"Value", text<&ImplGenICamString::setStoredValue>},
};

constexpr Reference<ImplGenICamString> kStringReferences[] = {
    {"pValue", reference<&ImplGenICamString::setPValue>},
};

template<class Kind> Kind& adopt(Tree& tree, std::unique_ptr<Kind> owned, Types::GenICamNodeType type) {
    Kind& node = *owned;
    tree.adoptNode(std::move(owned));
    node.setNodeType(type);
    return node;
}

// A number of an indexed value, which any value may take the place of.
Node& makeNumber(std::string_view content, const IndexedInteger&, Tree& tree) {
    auto& node = adopt(tree, std::make_unique<ImplGenICamInteger>(), Types::Integer);
    node.setStoredValue(parseNumber(node, content, 0));
    return node;
}

Node& makeNumber(std::string_view content, const IndexedFloat&, Tree& tree) {
    auto& node = adopt(tree, std::make_unique<ImplGenICamFloat>(), Types::Float);
    node.setMin(std::numeric_limits<double>::lowest());
    node.setStoredValue(Builder::parseFloat(content, 0));
    return node;
}

template<class Indexed> class IndexReader {
public:
    IndexReader(Indexed& node, Tree& tree) : m_node(node), m_tree(tree) {}

    void read(Builder& builder) {
        Node* const index = findNode(builder.getAllObjectsByName("pIndex")[0].builder->getContent(), m_tree);
        m_node.setIndex(index);
        Builder::addDependency(&m_node, index);
        for (const Builder::Object& value : builder.getAllObjectsByName("ValueIndexed")) {
            choose(*value.builder, makeNumber(value.builder->getContent(), m_node, m_tree));
        }
        for (const Builder::Object& value : builder.getAllObjectsByName("pValueIndexed")) {
            choose(*value.builder, findNode(value.builder->getContent(), m_tree));
        }
        if (const Builder::Element* const value = builder.findElement("ValueDefault")) {
            m_node.setDefault(depending(&makeNumber(value->text, m_node, m_tree)));
        }
        if (const Builder::Element* const value = builder.findElement("pValueDefault")) {
            m_node.setDefault(depending(findNode(*value, m_tree)));
        }
    }

private:
    void choose(Builder& value, Node* node) {
        m_node.setNode(parseNumber(m_node, value.findAttribute("Index"), 0), depending(node));
    }
    void choose(Builder& value, Node& node) { choose(value, &node); }
    Node* depending(Node* node) {
        Builder::addDependency(&m_node, node);
        return node;
    }

    Indexed& m_node;
    Tree& m_tree;
};

template<class Indexed> Node* makeIndexed(Builder& builder, Node& node, Tree& tree) {
    if (node.quirks().noIndexedValues || builder.getAllObjectsByName("pIndex").empty()) {
        return nullptr;
    }
    Indexed& indexed = adopt(tree, std::make_unique<Indexed>(), Types::Node);
    IndexReader(indexed, tree).read(builder);
    Builder::addDependency(&node, &indexed);
    return &indexed;
}

} // namespace

void readLiterals(Builder& builder, ImplGenICamString& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kStringLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamString& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kStringReferences, tree);
}

Node* makeIndexedInteger(Builder& builder, Node& node, Tree& tree) {
    return makeIndexed<IndexedInteger>(builder, node, tree);
}

Node* makeIndexedFloat(Builder& builder, Node& node, Tree& tree) {
    return makeIndexed<IndexedFloat>(builder, node, tree);
}

Node* makeCopies(Builder& builder, Node& node, Tree& tree) {
    if (node.quirks().noValueCopies) {
        return nullptr;
    }
    const auto copies = builder.getAllElementsByName("pValueCopy");
    const Builder::Element* const name = builder.findElement("pValue");
    Node* const value = copies.empty() || name == nullptr ? nullptr : findNode(*name, tree);
    if (value == nullptr || !value->hasNumber()) {
        return nullptr;
    }
    auto& both = adopt(tree, std::make_unique<tavo::ValueWithCopies>(value), Types::Node);
    for (const Builder::Element& copy : copies) {
        both.addCopy(findNode(copy, tree));
    }
    return &both;
}

Node* makeIndexTerm(Builder& index, Builder& builder, Node& node, Tree& tree) {
    Node* const target = findNode(index.getContent(), tree);
    Node* distance = nullptr;
    std::int64_t added = 0;
    if (const std::string_view name = index.findAttribute("pOffset"); !name.empty()) {
        distance = findNode(name, tree);
    } else {
        const Builder::Element* const length = builder.findElement("Length");
        const Builder::Element* const pLength = builder.findElement("pLength");
        added = length == nullptr ? 0 : parseNumber(node, length->text, 0);
        distance = pLength == nullptr ? nullptr : findNode(*pLength, tree);
    }
    auto& term =
        adopt(tree, std::make_unique<tavo::IndexTimesDistance>(target, distance, added), Types::Node);
    Builder::addDependency(&term, target);
    Builder::addDependency(&term, distance);
    return &term;
}

} // namespace genicam::stages
