// Stages of what only the standard's meaning knows.
#include "genicam/description/stages.h"

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

constexpr Literal<ImplGenICamString> stringLiterals[] = {
    {"Value", text<&ImplGenICamString::setStoredValue>},
};

constexpr Reference<ImplGenICamString> stringReferences[] = {
    {"pValue", reference<&ImplGenICamString::setPValue>},
};

template<class Kind> Kind& adopt(Device& device, std::unique_ptr<Kind> owned, Types::GenICamNodeType type) {
    Kind& node = *owned;
    device.adoptNode(std::move(owned));
    node.setNodeType(type);
    return node;
}

// A number of an indexed value, which any value may take the place of.
Node& makeNumber(std::string_view content, const IndexedInteger&, Device& device) {
    auto& node = adopt(device, std::make_unique<ImplGenICamInteger>(), Types::Integer);
    node.setStoredValue(parseNumber(node, content, 0));
    return node;
}

Node& makeNumber(std::string_view content, const IndexedFloat&, Device& device) {
    auto& node = adopt(device, std::make_unique<ImplGenICamFloat>(), Types::Float);
    node.setMin(std::numeric_limits<double>::lowest());
    node.setStoredValue(Builder::parseFloat(content, 0));
    return node;
}

template<class Indexed> class IndexReader {
public:
    IndexReader(Indexed& node, Device& device) : m_node(node), m_device(device) {}

    void read(Builder& builder) {
        Node* const index =
            findNode(builder.getAllObjectsByName("pIndex")[0].builder->getContent(), m_device);
        m_node.setIndex(index);
        Builder::addDependency(&m_node, index);
        for (const Builder::Object& value : builder.getAllObjectsByName("ValueIndexed")) {
            choose(*value.builder, makeNumber(value.builder->getContent(), m_node, m_device));
        }
        for (const Builder::Object& value : builder.getAllObjectsByName("pValueIndexed")) {
            choose(*value.builder, findNode(value.builder->getContent(), m_device));
        }
        if (const Builder::Element* const value = builder.findElement("ValueDefault")) {
            m_node.setDefault(depending(&makeNumber(value->text, m_node, m_device)));
        }
        if (const Builder::Element* const value = builder.findElement("pValueDefault")) {
            m_node.setDefault(depending(findNode(*value, m_device)));
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
    Device& m_device;
};

template<class Indexed> Node* makeIndexed(Builder& builder, Node& node, Device& device) {
    if (node.quirks().noIndexedValues || builder.getAllObjectsByName("pIndex").empty()) {
        return nullptr;
    }
    Indexed& indexed = adopt(device, std::make_unique<Indexed>(), Types::Node);
    IndexReader(indexed, device).read(builder);
    Builder::addDependency(&node, &indexed);
    return &indexed;
}

} // namespace

void readLiterals(Builder& builder, ImplGenICamString& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, stringLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamString& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, stringReferences, device);
}

Node* makeIndexedInteger(Builder& builder, Node& node, Device& device) {
    return makeIndexed<IndexedInteger>(builder, node, device);
}

Node* makeIndexedFloat(Builder& builder, Node& node, Device& device) {
    return makeIndexed<IndexedFloat>(builder, node, device);
}

Node* makeCopies(Builder& builder, Node& node, Device& device) {
    if (node.quirks().noValueCopies) {
        return nullptr;
    }
    const auto copies = builder.getAllElementsByName("pValueCopy");
    const Builder::Element* const name = builder.findElement("pValue");
    Node* const value = copies.empty() || name == nullptr ? nullptr : findNode(*name, device);
    if (value == nullptr || !value->hasNumber()) {
        return nullptr;
    }
    auto& both = adopt(device, std::make_unique<tavo::ValueWithCopies>(value), Types::Node);
    for (const Builder::Element& copy : copies) {
        both.addCopy(findNode(copy, device));
    }
    return &both;
}

Node* makeIndexTerm(Builder& index, Builder& builder, Node& node, Device& device) {
    Node* const target = findNode(index.getContent(), device);
    Node* distance = nullptr;
    std::int64_t added = 0;
    if (const std::string_view name = index.findAttribute("pOffset"); !name.empty()) {
        distance = findNode(name, device);
    } else {
        const Builder::Element* const length = builder.findElement("Length");
        const Builder::Element* const pLength = builder.findElement("pLength");
        added = length == nullptr ? 0 : parseNumber(node, length->text, 0);
        distance = pLength == nullptr ? nullptr : findNode(*pLength, device);
    }
    auto& term =
        adopt(device, std::make_unique<tavo::IndexTimesDistance>(target, distance, added), Types::Node);
    Builder::addDependency(&term, target);
    Builder::addDependency(&term, distance);
    return &term;
}

} // namespace genicam::stages
