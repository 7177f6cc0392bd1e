// Stages of what all nodes share, of the root element, and of the kinds without a value.
#include "genicam/description/stages.h"

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
constexpr HeaderText headerTexts[] = {
    {"ModelName", &DeviceHeader::modelName},     {"VendorName", &DeviceHeader::vendorName},
    {"ToolTip", &DeviceHeader::toolTip},         {"StandardNamespace", &DeviceHeader::standardNamespace},
    {"ProductGuid", &DeviceHeader::productGuid}, {"VersionGuid", &DeviceHeader::versionGuid},
};

struct HeaderNumber {
    std::string_view attribute;
    std::int64_t DeviceHeader::*field;
};
constexpr HeaderNumber headerNumbers[] = {
    {"MajorVersion", &DeviceHeader::majorVersion},
    {"MinorVersion", &DeviceHeader::minorVersion},
    {"SubMinorVersion", &DeviceHeader::subMinorVersion},
    {"SchemaMajorVersion", &DeviceHeader::schemaMajorVersion},
    {"SchemaMinorVersion", &DeviceHeader::schemaMinorVersion},
    {"SchemaSubMinorVersion", &DeviceHeader::schemaSubMinorVersion},
};

constexpr Literal<Node> nodeLiterals[] = {
    {"Description", text<&Node::setDescription>},
    {"DisplayName", text<&Node::setDisplayName>},
    {"EventID", text<&Node::setEventID>}, // hexadecimal without a prefix, so it stays a text
    {"ImposedAccessMode", keyword<&Node::setImposedAccessMode, &Builder::parseAccessMode>},
    {"Streamable", keyword<&Node::setStreamable, &Builder::parseYesNo, Types::GenICamYesNoType::No>},
    {"ToolTip", text<&Node::setToolTip>},
    {"Visibility", keyword<&Node::setVisibility, &Builder::parseVisibility>},
};
static_assert(isAscending(nodeLiterals));

constexpr Reference<Node> nodeReferences[] = {
    {"pIsAvailable", reference<&Node::setPIsAvailable>},
    {"pIsImplemented", reference<&Node::setPIsImplemented>},
    {"pIsLocked", reference<&Node::setPIsLocked>},
};
static_assert(isAscending(nodeReferences));

constexpr Literal<ImplGenICamPort> portLiterals[] = {
    {"ChunkID", number<&ImplGenICamPort::setChunkId>},
    {"SwapEndianess", keyword<&ImplGenICamPort::setSwapEndianess, &Builder::parseYesNo>},
};
static_assert(isAscending(portLiterals));

constexpr Reference<ImplGenICamPort> portReferences[] = {
    {"pChunkID", reference<&ImplGenICamPort::setPChunkId>},
};
static_assert(isAscending(portReferences));

// Spelled otherwise than in the standard, deliberately: nodes whose description spells the attribute
// "NameSpace" count as "Custom".
std::string_view nameSpace(const tavo::Quirks& quirks) {
    return quirks.ownNamespaceAttribute ? "Namespace" : "NameSpace";
}

} // namespace

void readHeader(Builder& builder, Device& device) {
    DeviceHeader header;
    for (const auto& [attribute, field] : headerTexts) {
        header.*field = builder.findAttribute(attribute);
    }
    if (!device.quirks().ownNamespaceAttribute) {
        header.standardNamespace = builder.findAttribute("StandardNameSpace");
    }
    for (const auto& [attribute, field] : headerNumbers) {
        header.*field = parseNumber(builder.findAttribute(attribute), 0, device.quirks());
    }
    device.setHeader(std::move(header));
}

void readLiterals(Builder& builder, Node& node) {
    node.setName(std::string(builder.findAttribute("Name")));
    node.setNamespace(std::string(builder.findAttribute(nameSpace(node.quirks()), "Custom")));
    readTable(builder, node, nodeLiterals);
}

void resolveReferences(Builder& builder, Node& node, Device& device) {
    if (const Builder::Element* const alias = builder.findElement("pAlias")) {
        node.setAlias(findNode(*alias, device)); // the alias says nothing of this node's value
    }
    resolveTable(builder, node, nodeReferences, device);
    if (!node.quirks().registersInvalidateOnly) {
        for (const Builder::Element& name : builder.getAllElementsByName("pInvalidator")) {
            if (Node* const invalidator = findNode(name, device)) {
                invalidator->addInvalidated(&node);
            }
        }
    }
}

void readLiterals(Builder& builder, ImplGenICamPort& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, portLiterals);
    const Builder::Element* const chunkId = builder.findElement("ChunkID");
    if (chunkId != nullptr && !node.quirks().plainChunkIds) {
        const bool hasPrefix = chunkId->text.starts_with("0x") || chunkId->text.starts_with("0X");
        node.setChunkId(Builder::parseDecimalOrHex((hasPrefix ? "" : "0x") + std::string(chunkId->text), 0));
    }
}

void resolveReferences(Builder& builder, ImplGenICamPort& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, portReferences, device);
}

void resolveReferences(Builder& builder, ImplGenICamCategory& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    for (const Builder::Element& feature : builder.getAllElementsByName("pFeature")) {
        node.addFeature(findNode(feature, device));
    }
}

Node* findNode(std::string_view name, Device& device) {
    return device.findNode(withoutBlanks(name));
}

Node* findNode(const Builder::Element& reference, Device& device) {
    return reference.target != nullptr ? reference.target->getNode() : findNode(reference.text, device);
}

void resolveSelected(
    Builder& builder, Node& node, tavo::ImplGenICamSelectorInterface& selector, Device& device) {
    for (const Builder::Element& reference : builder.getAllElementsByName("pSelected")) {
        Node* const selected = findNode(reference, device);
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
