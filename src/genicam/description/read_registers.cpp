// Registers.
#include "genicam/description/read_nodes.h"

#include "genicam/nodes/ImplGenICamRegister.h"

namespace genicam::stages {

using tavo::ImplGenICamFloatReg;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamMaskedIntReg;
using tavo::ImplGenICamRegister;

namespace {

constexpr Literal<ImplGenICamRegister> kRegisterLiterals[] = {
    {"AccessMode",
     keyword<
         &ImplGenICamRegister::setAccessMode, &Builder::parseAccessMode, Types::GenICamAccessModeType::RO>},
    {"Cachable", keyword<
                     &ImplGenICamRegister::setCacheMode, &Builder::parseCacheMode,
                     Types::GenICamCacheModeType::WriteThrough>},
    {"Length", number<&ImplGenICamRegister::setLength>},
    // Milliseconds; a second for registers that give none (see noCacheForASecond).
    {"PollingTime", number<&ImplGenICamRegister::setPollingTime, 1000>},
};
static_assert(isAscending(kRegisterLiterals));

constexpr Reference<ImplGenICamRegister> kRegisterReferences[] = {
    {"pLength", reference<&ImplGenICamRegister::setPLength>},
};
static_assert(isAscending(kRegisterReferences));

constexpr Literal<ImplGenICamIntReg> kIntRegLiterals[] = {
    {"Endianess", keyword<&ImplGenICamIntReg::setEndianess, &Builder::parseEndianess>},
    {"Representation", representation<ImplGenICamIntReg>},
    {"Sign", keyword<&ImplGenICamIntReg::setSign, &Builder::parseSign>},
};
static_assert(isAscending(kIntRegLiterals));

constexpr Literal<ImplGenICamMaskedIntReg> kMaskedIntRegLiterals[] = {
    {"LSB", number<&ImplGenICamMaskedIntReg::setLSB, -1>},
    {"MSB", number<&ImplGenICamMaskedIntReg::setMSB, -1>},
};
static_assert(isAscending(kMaskedIntRegLiterals));

constexpr Literal<ImplGenICamFloatReg> kFloatRegLiterals[] = {
    {"Endianess", keyword<&ImplGenICamFloatReg::setEndianess, &Builder::parseEndianess>},
    {"Representation", representation<ImplGenICamFloatReg>},
    {"Unit", text<&ImplGenICamFloatReg::setUnit>},
};
static_assert(isAscending(kFloatRegLiterals));

bool isBelowSchema11(const Tree& tree) {
    const std::int64_t major = tree.header().schemaMajorVersion;
    return major < 1 || (major == 1 && tree.header().schemaMinorVersion < 1);
}

void resolvePort(Builder& builder, ImplGenICamRegister& node, Tree& tree) {
    const Builder::Element* const name = builder.findElement("pPort");
    Node* const port = name == nullptr ? nullptr : findNode(*name, tree);
    node.setPort(port == nullptr ? nullptr : port->asPort());
    // Register commands reach the camera itself only; what lies behind other ports (chunks, events) is bytes.
    node.setWordsAreNumbers(
        !node.quirks().littleEndianWords && isBelowSchema11(tree) && port != nullptr &&
        port->getName() == tavo::kDevicePort);
}

void resolveAddress(Builder& builder, ImplGenICamRegister& node, Tree& tree) {
    for (const Builder::Element& term : builder.getAllElementsByName("pAddress")) {
        Node* const target = findNode(term, tree);
        node.addAddressElement(target, 1);
        Builder::addDependency(&node, target);
    }
    for (const Builder::Object& index : builder.getAllObjectsByName("pIndex")) {
        const std::string_view offset = index.builder->findAttribute("Offset");
        std::int64_t factor = parseNumber(node, offset, 0);
        Node* target = factor == 0 ? nullptr : findNode(index.builder->getContent(), tree);
        // An index without an offset is ignored; the standard counts in lengths.
        if (offset.empty() && !node.quirks().plainIndexIgnored) {
            factor = 1;
            target = makeIndexTerm(*index.builder, builder, node, tree);
        }
        node.addAddressElement(target, factor);
        Builder::addDependency(&node, target);
    }
}

// Only registers invalidate, and only registers.
void resolveInvalidators(Builder& builder, ImplGenICamRegister& node, Tree& tree) {
    for (const Builder::Element& name : builder.getAllElementsByName("pInvalidator")) {
        if (auto* const invalidator = dynamic_cast<ImplGenICamRegister*>(findNode(name, tree))) {
            invalidator->addInvalidated(&node);
        }
    }
}

} // namespace

void embedAddressFormulas(Builder& builder) {
    for (const Builder::Object& formula : builder.getAllObjectsByName("IntSwissKnife")) {
        embed(builder, *formula.builder, "pAddress");
    }
}

void readLiterals(Builder& builder, ImplGenICamRegister& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kRegisterLiterals);
    for (const Builder::Element& address : builder.getAllElementsByName("Address")) {
        node.addToAddress(parseNumber(node, address.text, 0));
    }
    embedAddressFormulas(builder);
    const bool keepsNothing = !node.quirks().noCacheForASecond &&
                              node.getCacheMode() == Types::GenICamCacheModeType::NoCache &&
                              builder.findElement("PollingTime") == nullptr;
    if (keepsNothing) {
        node.setPollingTime(0);
    }
}

void resolveReferences(Builder& builder, ImplGenICamRegister& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kRegisterReferences, tree);
    resolvePort(builder, node, tree);
    resolveAddress(builder, node, tree);
    if (node.quirks().registersInvalidateOnly) {
        resolveInvalidators(builder, node, tree);
    }
}

void readLiterals(Builder& builder, ImplGenICamIntReg& node) {
    readLiterals(builder, static_cast<ImplGenICamRegister&>(node));
    readTable(builder, node, kIntRegLiterals);
    if (!node.quirks().absentSignLimitsSigned && node.getSign() == Types::GenICamSignType::NotGiven) {
        node.setSign(Types::GenICamSignType::Unsigned);
    }
}

void resolveReferences(Builder& builder, ImplGenICamIntReg& node, Tree& tree) {
    resolveReferences(builder, static_cast<ImplGenICamRegister&>(node), tree);
    resolveSelected(builder, node, node, tree);
}

void readLiterals(Builder& builder, ImplGenICamMaskedIntReg& node) {
    readLiterals(builder, static_cast<ImplGenICamIntReg&>(node));
    readTable(builder, node, kMaskedIntRegLiterals);
    constexpr std::int64_t kNoBit = -1;
    const Builder::Element* const element = builder.findElement("Bit");
    const std::int64_t bit = element == nullptr ? kNoBit : parseNumber(node, element->text, kNoBit);
    if (bit != kNoBit) {
        node.setBit(bit);
    }
}

void readLiterals(Builder& builder, ImplGenICamFloatReg& node) {
    readLiterals(builder, static_cast<ImplGenICamRegister&>(node));
    readTable(builder, node, kFloatRegLiterals);
}

} // namespace genicam::stages
