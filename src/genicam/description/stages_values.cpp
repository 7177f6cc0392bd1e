// Stages of the kinds that hold a value or take that of another node.
#include "genicam/description/stages.h"

#include "genicam/nodes/ImplGenICamBoolean.h"
#include "genicam/nodes/ImplGenICamCommand.h"
#include "genicam/nodes/ImplGenICamEnumeration.h"
#include "genicam/nodes/ImplGenICamFloat.h"
#include "genicam/nodes/ImplGenICamInteger.h"

#include <limits>
#include <span>

namespace genicam::stages {

using tavo::ImplGenICamBoolean;
using tavo::ImplGenICamCommand;
using tavo::ImplGenICamEnumEntry;
using tavo::ImplGenICamEnumeration;
using tavo::ImplGenICamFloat;
using tavo::ImplGenICamInteger;

namespace {

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();

constexpr Literal<ImplGenICamInteger> integerLiterals[] = {
    {"Inc", number<&ImplGenICamInteger::setInc, 1>},
    {"Max", number<&ImplGenICamInteger::setMax, highest>},
    {"Min", number<&ImplGenICamInteger::setMin, lowest>},
    {"Representation", keyword<&ImplGenICamInteger::setRepresentation, &Builder::parseRepresentation>},
    {"Unit", text<&ImplGenICamInteger::setUnit>},
    {"Value", number<&ImplGenICamInteger::setStoredValue>},
};
static_assert(isAscending(integerLiterals));

constexpr Reference<ImplGenICamInteger> integerReferences[] = {
    {"pInc", reference<&ImplGenICamInteger::setPInc>},
    {"pMax", reference<&ImplGenICamInteger::setPMax>},
    {"pMin", reference<&ImplGenICamInteger::setPMin>},
    {"pValue", reference<&ImplGenICamInteger::setPValue>},
};
static_assert(isAscending(integerReferences));

// A template parameter cannot be a double everywhere, hence the functions.
constexpr Literal<ImplGenICamFloat> floatLiterals[] = {
    {"Max",
     [](ImplGenICamFloat& node, std::string_view content) {
         node.setMax(Builder::parseFloat(content, tavo::kDefaultFloatMax));
     }},
    {"Min",
     [](ImplGenICamFloat& node, std::string_view content) {
         const bool isPositive = node.quirks().positiveFloatMinimum;
         node.setMin(
             Builder::parseFloat(content, isPositive ? tavo::kDefaultFloatMin : -tavo::kDefaultFloatMax));
     }},
    {"Representation", keyword<&ImplGenICamFloat::setRepresentation, &Builder::parseRepresentation>},
    {"Unit", text<&ImplGenICamFloat::setUnit>},
    {"Value", [](ImplGenICamFloat& node,
                 std::string_view content) { node.setStoredValue(Builder::parseFloat(content, 0.0)); }},
};
static_assert(isAscending(floatLiterals));

constexpr Reference<ImplGenICamFloat> floatReferences[] = {
    {"pMax", reference<&ImplGenICamFloat::setPMax>},
    {"pMin", reference<&ImplGenICamFloat::setPMin>},
    {"pValue", reference<&ImplGenICamFloat::setPValue>},
};
static_assert(isAscending(floatReferences));

constexpr Literal<ImplGenICamBoolean> booleanLiterals[] = {
    {"OffValue", number<&ImplGenICamBoolean::setOffValue, 0>},
    {"OnValue", number<&ImplGenICamBoolean::setOnValue, 1>},
    {"Value",
     [](ImplGenICamBoolean& node, std::string_view content) {
         const bool isOne = !node.quirks().wordBooleansOnly && content == "1";
         node.setStoredValue(isOne || Builder::parseBoolean(content, false));
     }},
};
static_assert(isAscending(booleanLiterals));

constexpr Reference<ImplGenICamBoolean> booleanReferences[] = {
    {"pValue", reference<&ImplGenICamBoolean::setPValue>},
};
static_assert(isAscending(booleanReferences));

constexpr Literal<ImplGenICamCommand> commandLiterals[] = {
    {"CommandValue", number<&ImplGenICamCommand::setCommandValue>},
    {"PollingTime", number<&ImplGenICamCommand::setPollingTime>},
    {"Value", number<&ImplGenICamCommand::setStoredValue>},
};
static_assert(isAscending(commandLiterals));

constexpr Reference<ImplGenICamCommand> commandReferences[] = {
    {"pCommandValue", reference<&ImplGenICamCommand::setPCommandValue>},
    {"pValue", reference<&ImplGenICamCommand::setPValue>},
};
static_assert(isAscending(commandReferences));

constexpr Literal<ImplGenICamEnumEntry> enumEntryLiterals[] = {
    {"Symbolic", text<&ImplGenICamEnumEntry::setSymbol>},
    {"Value", number<&ImplGenICamEnumEntry::setValue>},
};
static_assert(isAscending(enumEntryLiterals));

constexpr Literal<ImplGenICamEnumeration> enumerationLiterals[] = {
    {"Value", number<&ImplGenICamEnumeration::setStoredValue>},
};
static_assert(isAscending(enumerationLiterals));

constexpr Reference<ImplGenICamEnumeration> enumerationReferences[] = {
    {"pValue", reference<&ImplGenICamEnumeration::setPValue>},
};
static_assert(isAscending(enumerationReferences));

struct LimitElement {
    std::string_view name;
    tavo::NodeLimit limit;
};
constexpr LimitElement integerLimits[] = {
    {"Min", tavo::NodeLimit::Min}, {"Max", tavo::NodeLimit::Max}, {"Inc", tavo::NodeLimit::Inc}};
constexpr auto floatLimits = std::span(integerLimits).first<2>();

// After the references: what a node says of neither by itself nor through a node of its own.
template<class Kind>
void takeLimitsFromBelow(Builder& builder, Kind& node, std::span<const LimitElement> limits) {
    if (node.quirks().ownLimitsOnly) {
        return;
    }
    for (const auto& [name, limit] : limits) {
        if (builder.findElement(name) == nullptr) {
            node.takeLimitFromBelow(limit);
        }
    }
}

template<class Kind> void standInForPValue(Kind& node, Node* hidden) {
    if (hidden != nullptr) {
        node.setPValue(hidden);
    }
}

} // namespace

void readLiterals(Builder& builder, ImplGenICamInteger& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, integerLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamInteger& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, integerReferences, device);
    standInForPValue(node, makeIndexedInteger(builder, node, device));
    standInForPValue(node, makeCopies(builder, node, device));
    takeLimitsFromBelow(builder, node, integerLimits);
    resolveSelected(builder, node, node, device);
}

void readLiterals(Builder& builder, ImplGenICamFloat& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, floatLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamFloat& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, floatReferences, device);
    standInForPValue(node, makeIndexedFloat(builder, node, device));
    standInForPValue(node, makeCopies(builder, node, device));
    takeLimitsFromBelow(builder, node, floatLimits);
}

void readLiterals(Builder& builder, ImplGenICamBoolean& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, booleanLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamBoolean& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, booleanReferences, device);
    standInForPValue(node, makeCopies(builder, node, device));
}

void readLiterals(Builder& builder, ImplGenICamCommand& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, commandLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamCommand& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, commandReferences, device);
}

void readLiterals(Builder& builder, ImplGenICamEnumEntry& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, enumEntryLiterals);
}

void readLiterals(Builder& builder, ImplGenICamEnumeration& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, enumerationLiterals);
    for (const Builder::Object& entry : builder.getAllObjectsByName("EnumEntry")) {
        const std::string_view name = entry.builder->findAttribute("Name");
        entry.builder->getFirstElement("Symbolic", name);
        entry.builder->getFirstElement("DisplayName", name);
        embed(builder, *entry.builder, "pEnumEntry");
    }
}

void resolveReferences(Builder& builder, ImplGenICamEnumeration& node, Device& device) {
    resolveReferences(builder, static_cast<Node&>(node), device);
    resolveTable(builder, node, enumerationReferences, device);
    standInForPValue(node, makeCopies(builder, node, device));
    for (const Builder::Element& reference : builder.getAllElementsByName("pEnumEntry")) {
        Node* const target = findNode(reference, device);
        if (auto* const entry = dynamic_cast<ImplGenICamEnumEntry*>(target)) {
            node.addEntry(entry);
            Builder::addDependency(&node, entry);
        }
    }
    resolveSelected(builder, node, node, device);
}

} // namespace genicam::stages
