#include "genicam/description/DescriptionIndex.h"

#include "genicam/description/blanks.h"

#include <array>

namespace genicam {

using Types = tavo::GenICamTypes;

bool isInteger(Types::GenICamNodeType type) {
    return contains(
        std::array{
            Types::Integer, Types::IntReg, Types::MaskedIntReg, Types::IntConverter, Types::IntSwissKnife},
        type);
}

bool isFloat(Types::GenICamNodeType type) {
    return contains(std::array{Types::Float, Types::FloatReg, Types::Converter, Types::SwissKnife}, type);
}

bool isRegister(Types::GenICamNodeType type) {
    return contains(
        std::array{Types::Register, Types::IntReg, Types::MaskedIntReg, Types::FloatReg, Types::StringReg},
        type);
}

void DescriptionIndex::index(Builder& builder) {
    if (const std::string_view name = builder.findAttribute("Name"); !name.empty()) {
        m_nodes[name] = &builder;
    }
    if (builder.getNodeType() == Types::RegisterDescription) {
        const auto major = Builder::parseNumber(builder.findAttribute("SchemaMajorVersion"), 0);
        const auto minor = Builder::parseNumber(builder.findAttribute("SchemaMinorVersion"), 0);
        m_oldSchema = major < 1 || (major == 1 && minor < 1);
    }
    for (const Builder::Element& feature : builder.getAllElementsByName("pFeature")) {
        m_features.insert(withoutBlanks(feature.text));
    }
    for (const std::string_view reference : kNumberReferences) {
        for (const Builder::Element& element : builder.getAllElementsByName(reference)) {
            ++m_referrers[withoutBlanks(element.text)];
        }
    }
    for (const Builder::Object& variable : builder.getAllObjectsByName("pVariable")) {
        ++m_referrers[withoutBlanks(variable.builder->getContent())];
    }
    for (const Builder::Object& child : builder.getAllObjects()) {
        if (child.name == "StructEntry") {
            child.builder->setType(Types::MaskedIntReg);
            m_structs[child.builder] = &builder;
        }
        if (child.builder->getNodeType() != Types::Element) {
            index(*child.builder);
        }
    }
}

DescriptionIndex::Kind DescriptionIndex::kindOf(std::string_view name) const {
    const auto found = m_nodes.find(withoutBlanks(name));
    return found != m_nodes.end() ? found->second->getNodeType() : Types::Undefined;
}

const DescriptionIndex::Builder::Element*
DescriptionIndex::find(Builder& builder, std::string_view name) const {
    const auto structReg = m_structs.find(&builder);
    const Builder::Element* const above =
        structReg != m_structs.end() ? structReg->second->findElement(name) : nullptr;
    return above != nullptr ? above : builder.findElement(name);
}

bool DescriptionIndex::isFeature(Builder& builder) const {
    return m_features.contains(builder.findAttribute("Name"));
}

std::size_t DescriptionIndex::referrers(Builder& builder) const {
    const auto found = m_referrers.find(builder.findAttribute("Name"));
    return found != m_referrers.end() ? found->second : 0;
}

DescriptionIndex::Builder* DescriptionIndex::structOf(Builder& builder) const {
    const auto found = m_structs.find(&builder);
    return found != m_structs.end() ? found->second : nullptr;
}

std::string_view DescriptionIndex::textOf(Builder& builder, std::string_view name) const {
    const Builder::Element* const element = find(builder, name);
    return element != nullptr ? withoutBlanks(element->text) : std::string_view{};
}

DescriptionIndex::Builder* DescriptionIndex::below(Builder& builder) const {
    const Builder::Element* const name = builder.findElement("pValue");
    const auto found = name == nullptr ? m_nodes.end() : m_nodes.find(withoutBlanks(name->text));
    return found != m_nodes.end() ? found->second : nullptr;
}

std::string_view DescriptionIndex::modeOf(Builder& builder) const {
    Builder* node = &builder;
    for (int hop = 0; hop < kMostHops && node != nullptr; ++hop) {
        if (const Builder::Element* const imposed = node->findElement("ImposedAccessMode")) {
            return withoutBlanks(imposed->text);
        }
        if (isRegister(node->getNodeType())) {
            const Builder::Element* const mode = find(*node, "AccessMode");
            return mode == nullptr ? "RO" : withoutBlanks(mode->text);
        }
        if (contains(std::array{Types::SwissKnife, Types::IntSwissKnife}, node->getNodeType())) {
            return "RO";
        }
        node = below(*node);
    }
    return {};
}

} // namespace genicam
