// Stages of registers.
#include "genicam/description/stages.h"

#include "genicam/nodes/ImplGenICamRegister.h"

namespace genicam::stages {

using tavo::ImplGenICamFloatReg;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamMaskedIntReg;
using tavo::ImplGenICamRegister;

namespace {

constexpr Literal<ImplGenICamRegister> registerLiterals[] = {
    {"AccessMode",
     keyword<
         &ImplGenICamRegister::setAccessMode, &Builder::parseAccessMode, Types::GenICamAccessModeType::RO>},
    {"Cachable", keyword<
                     &ImplGenICamRegister::setCacheMode, &Builder::parseCacheMode,
                     Types::GenICamCacheModeType::WriteThrough>},
    {"Length", number<&ImplGenICamRegister::setLength>},
    // Milliseconds; deliberately a second for registers that give none (see noCacheForASecond).
    {"PollingTime", number<&ImplGenICamRegister::setPollingTime, 1000>},
};
static_assert(isAscending(registerLiterals));

constexpr Reference<ImplGenICamRegister> registerReferences[] = {
    {"pLength", reference<&ImplGenICamRegister::setPLength>},
};
static_assert(isAscending(registerReferences));

constexpr Literal<ImplGenICamIntReg> intRegLiterals[] = {
    {"Endianess", keyword<&ImplGenICamIntReg::setEndianess, &Builder::parseEndianess>},
    {"Representation", keyword<&ImplGenICamIntReg::setRepresentation, &Builder::parseRepresentation>},
    {"Sign", keyword<&ImplGenICamIntReg::setSign, &Builder::parseSign>},
};
static_assert(isAscending(intRegLiterals));

constexpr Literal<ImplGenICamMaskedIntReg> maskedIntRegLiterals[] = {
    {"LSB", number<&ImplGenICamMaskedIntReg::setLSB, -1>},
    {"MSB", number<&ImplGenICamMaskedIntReg::setMSB, -1>},
};
static_assert(isAscending(maskedIntRegLiterals));

constexpr Literal<ImplGenICamFloatReg> floatRegLiterals[] = {
    {"Endianess", keyword<&ImplGenICamFloatReg::setEndianess, &Builder::parseEndianess>},
    {"Representation", keyword<&ImplGenICamFloatReg::setRepresentation, &Builder::parseRepresentation>},
    {"Unit", text<&ImplGenICamFloatReg::setUnit>},
};
static_assert(isAscending(floatRegLiterals));

bool isBelowSchema11(const Device& device) {
    const std::int64_t major = device.header().schemaMajorVersion;
    return major < 1 || (major == 1 && device.header().schemaMinorVersion < 1);
}

void resolvePort(Builder& builder, ImplGenICamRegister& node, Device& device) {
    const Builder::Element* const name = builder.findElement("pPort");
    Node* const port = name == nullptr ? nullptr : findNode(*name, device);
    node.setPort(port == nullptr ? nullptr : port->asPort());
    // Register commands reach the camera itself only; what lies behind other ports (chunks, events) is bytes.
    node.setWordsAreNumbers(
        !node.quirks().littleEndianWords && isBelowSchema11(device) && port != nullptr &&
        port->getName() == tavo::kDevicePort);
}

void resolveAddress(Builder& builder, ImplGenICamRegister& node, Device& device) {
    for (const Builder::Element& term : builder.getAllElementsByName("pAddress")) {
        Node* const target = findNode(term, device);
        node.addAddressElement(target, 1);
        Builder::addDependency(&node, target);
    }
    for (const Builder::Object& index : builder.getAllObjectsByName("pIndex")) {
        const std::string_view offset = index.builder->findAttribute("Offset");
        std::int64_t factor = parseNumber(node, offset, 0);
        Node* target = factor == 0 ? nullptr : findNode(index.builder->getContent(), device);
        // An index without an offset is ignored, deliberately; the standard counts in lengths.
        if (offset.empty() && !node.quirks().plainIndexIgnored) {
            factor = 1;
            target = makeIndexTerm(*index.builder, builder, node, device);
        }
        node.addAddressElement(target, factor);
        Builder::addDependency(&node, target);
    }
}

// Only registers invalidate, and only registers; deliberately.
void resolveInvalidators(Builder& builder, ImplGenICamRegister& node, Device& device) {
    for (const Builder::Element& name : builder.getAllElementsByName("pInvalidator")) {
        if (auto* const invalidator = dynamic_cast<ImplGenICamRegister*>(findNode(name, device))) {
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
    readTable(builder, node, registerLiterals);
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

void resolveReferences(Builder& builder, ImplGenICamRegister& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, registerReferences, device);
    resolvePort(builder, node, device);
    resolveAddress(builder, node, device);
    if (node.quirks().registersInvalidateOnly) {
        resolveInvalidators(builder, node, device);
    }
}

void readLiterals(Builder& builder, ImplGenICamIntReg& node) {
    readLiterals(builder, static_cast<ImplGenICamRegister&>(node));
    readTable(builder, node, intRegLiterals);
    if (!node.quirks().absentSignLimitsSigned && node.getSign() == Types::GenICamSignType::NotGiven) {
        node.setSign(Types::GenICamSignType::Unsigned);
    }
}

void resolveReferences(Builder& builder, ImplGenICamIntReg& node, Device& device) {
    resolveReferences(builder, static_cast<ImplGenICamRegister&>(node), device);
    resolveSelected(builder, node, node, device);
}

void readLiterals(Builder& builder, ImplGenICamMaskedIntReg& node) {
    readLiterals(builder, static_cast<ImplGenICamIntReg&>(node));
    readTable(builder, node, maskedIntRegLiterals);
    constexpr std::int64_t noBit = -1;
    const Builder::Element* const element = builder.findElement("Bit");
    const std::int64_t bit = element == nullptr ? noBit : parseNumber(node, element->text, noBit);
    if (bit != noBit) {
        node.setBit(bit);
    }
}

void readLiterals(Builder& builder, ImplGenICamFloatReg& node) {
    readLiterals(builder, static_cast<ImplGenICamRegister&>(node));
    readTable(builder, node, floatRegLiterals);
}

} // namespace genicam::stages
