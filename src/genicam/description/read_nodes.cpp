// What all nodes share, the root element, and the kinds without a value.
#include "genicam/description/read_nodes.h"

#include "genicam/description/blanks.h"
#include "genicam/nodes/ImplGenICamCategory.h"
#include "genicam/nodes/ImplGenICamPort.h"

namespace genicam::stages {

using tavo::DeviceHeader;
using tavo::ImplGenICamCategory;
using tavo::ImplGenICamPort;

namespace {

struct HeaderText {
    std::string_view attribute;
    std::string DeviceHeader::*field;
};
constexpr HeaderText kHeaderTexts[] = {
    {"ModelName", &DeviceHeader::modelName},     {"VendorName", &DeviceHeader::vendorName},
    {"ToolTip", &DeviceHeader::toolTip},         {"StandardNamespace", &DeviceHeader::standardNamespace},
    {"ProductGuid", &DeviceHeader::productGuid}, {"VersionGuid", &DeviceHeader::versionGuid},
};

struct HeaderNumber {
    std::string_view attribute;
    std::int64_t DeviceHeader::*field;
};
constexpr HeaderNumber kHeaderNumbers[] = {
    {"MajorVersion", &DeviceHeader::majorVersion},
    {"MinorVersion", &DeviceHeader::minorVersion},
    {"SubMinorVersion", &DeviceHeader::subMinorVersion},
    {"SchemaMajorVersion", &DeviceHeader::schemaMajorVersion},
    {"SchemaMinorVersion", &DeviceHeader::schemaMinorVersion},
    {"SchemaSubMinorVersion", &DeviceHeader::schemaSubMinorVersion},
};

constexpr Literal<Node> kNodeLiterals[] = {
    {"Description", text<&Node::setDescription>},
    {"DisplayName", text<&Node::setDisplayName>},
    {"EventID", text<&Node::setEventID>}, // hexadecimal without a prefix, so it stays a text
    {"ImposedAccessMode", keyword<&Node::setImposedAccessMode, &Builder::parseAccessMode>},
    {"Streamable", keyword<&Node::setStreamable, &Builder::parseYesNo, Types::GenICamYesNoType::No>},
    {"ToolTip", text<&Node::setToolTip>},
    {"Visibility", keyword<&Node::setVisibility, &Builder::parseVisibility>},
};
static_assert(isAscending(kNodeLiterals));

constexpr Reference<Node> kNodeReferences[] = {
    {"pIsAvailable", reference<&Node::setPIsAvailable>},
    {"pIsImplemented", reference<&Node::setPIsImplemented>},
    {"pIsLocked", reference<&Node::setPIsLocked>},
};
static_assert(isAscending(kNodeReferences));

constexpr Literal<ImplGenICamPort> kPortLiterals[] = {
    {"ChunkID", number<&ImplGenICamPort::setChunkId>},
    {"SwapEndianess", keyword<&ImplGenICamPort::setSwapEndianess, &Builder::parseYesNo>},
};
static_assert(isAscending(kPortLiterals));

constexpr Reference<ImplGenICamPort> kPortReferences[] = {
    {"pChunkID", reference<&ImplGenICamPort::setPChunkId>},
};
static_assert(isAscending(kPortReferences));

// Spelled otherwise than in the standard: nodes whose description spells the attribute
// "NameSpace" count as "Custom".
std::string_view nameSpace(const tavo::Quirks& quirks) {
    return quirks.ownNamespaceAttribute ? "Namespace" : "NameSpace";
}

} // namespace

void readHeader(Builder& builder, Tree& tree) {
    DeviceHeader header;
    for (const auto& [attribute, field] : kHeaderTexts) {
        header.*field = builder.findAttribute(attribute);
    }
    if (!tree.quirks().ownNamespaceAttribute) {
        header.standardNamespace = builder.findAttribute("StandardNameSpace");
    }
    for (const auto& [attribute, field] : kHeaderNumbers) {
        header.*field = parseNumber(builder.findAttribute(attribute), 0, tree.quirks());
    }
    tree.setHeader(std::move(header));
}

void readLiterals(Builder& builder, Node& node) {
    node.setName(std::string(builder.findAttribute("Name")));
    node.setNamespace(std::string(builder.findAttribute(nameSpace(node.quirks()), "Custom")));
    readTable(builder, node, kNodeLiterals);
}

void resolveReferences(Builder& builder, Node& node, Tree& tree) {
    if (const Builder::Element* const alias = builder.findElement("pAlias")) {
        node.setAlias(findNode(*alias, tree)); // the alias says nothing of this node's value
    }
    resolveTable(builder, node, kNodeReferences, tree);
    if (!node.quirks().registersInvalidateOnly) {
        for (const Builder::Element& name : builder.getAllElementsByName("pInvalidator")) {
            if (Node* const invalidator = findNode(name, tree)) {
                invalidator->addInvalidated(&node);
            }
        }
    }
}

void readLiterals(Builder& builder, ImplGenICamPort& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kPortLiterals);
    const Builder::Element* const chunkId = builder.findElement("ChunkID");
    if (chunkId != nullptr && !node.quirks().plainChunkIds) {
        const bool hasPrefix = chunkId->text.starts_with("0x") || chunkId->text.starts_with("0X");
        node.setChunkId(Builder::parseDecimalOrHex((hasPrefix ? "" : "0x") + std::string(chunkId->text), 0));
    }
}

void resolveReferences(Builder& builder, ImplGenICamPort& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kPortReferences, tree);
}

void resolveReferences(Builder& builder, ImplGenICamCategory& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    for (const Builder::Element& feature : builder.getAllElementsByName("pFeature")) {
        node.addFeature(findNode(feature, tree));
    }
}

Node* findNode(std::string_view name, Tree& tree) {
    return tree.findNode(withoutBlanks(name));
}

Node* findNode(const Builder::Element& reference, Tree& tree) {
    return reference.target != nullptr ? reference.target->getNode() : findNode(reference.text, tree);
}

void resolveSelected(Builder& builder, Node& node, tavo::ImplGenICamSelectorInterface& selector, Tree& tree) {
    for (const Builder::Element& reference : builder.getAllElementsByName("pSelected")) {
        Node* const selected = findNode(reference, tree);
        selector.addSelected(selected);
        Builder::addDependency(selected, &node);
    }
}

void embed(Builder& parent, Builder& child, std::string_view element) {
    std::string name(parent.findAttribute("Name"));
    name += '_';
    name += child.findAttribute("Name");
    parent.countCopies(1, 2 * name.size()); // here and in the node
    child.setAttribute("Name", name);
    parent.addElement(element, name).target = &child;
}

} // namespace genicam::stages
