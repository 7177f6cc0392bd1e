// The kinds that hold a value or take that of another node.
#include "genicam/description/read_nodes.h"

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

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();

constexpr Literal<ImplGenICamInteger> kIntegerLiterals[] = {
    {"Inc", number<&ImplGenICamInteger::setInc, 1>},
    {"Max", number<&ImplGenICamInteger::setMax, kHighest>},
    {"Min", number<&ImplGenICamInteger::setMin, kLowest>},
    {"Representation", representation<ImplGenICamInteger>},
    {"Unit", text<&ImplGenICamInteger::setUnit>},
    {"Value", number<&ImplGenICamInteger::setStoredValue>},
};
static_assert(isAscending(kIntegerLiterals));

constexpr Reference<ImplGenICamInteger> kIntegerReferences[] = {
    {"pInc", reference<&ImplGenICamInteger::setPInc>},
    {"pMax", reference<&ImplGenICamInteger::setPMax>},
    {"pMin", reference<&ImplGenICamInteger::setPMin>},
    {"pValue", reference<&ImplGenICamInteger::setPValue>},
};
static_assert(isAscending(kIntegerReferences));

// A template parameter cannot be a double everywhere, hence the functions.
constexpr Literal<ImplGenICamFloat> kFloatLiterals[] = {
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
    {"Representation", representation<ImplGenICamFloat>},
    {"Unit", text<&ImplGenICamFloat::setUnit>},
    {"Value", [](ImplGenICamFloat& node,
                 std::string_view content) { node.setStoredValue(Builder::parseFloat(content, 0.0)); }},
};
static_assert(isAscending(kFloatLiterals));

constexpr Reference<ImplGenICamFloat> kFloatReferences[] = {
    {"pMax", reference<&ImplGenICamFloat::setPMax>},
    {"pMin", reference<&ImplGenICamFloat::setPMin>},
    {"pValue", reference<&ImplGenICamFloat::setPValue>},
};
static_assert(isAscending(kFloatReferences));

constexpr Literal<ImplGenICamBoolean> kBooleanLiterals[] = {
    {"OffValue", number<&ImplGenICamBoolean::setOffValue, 0>},
    {"OnValue", number<&ImplGenICamBoolean::setOnValue, 1>},
    {"Value",
     [](ImplGenICamBoolean& node, std::string_view content) {
         const bool isOne = !node.quirks().wordBooleansOnly && content == "1";
         node.setStoredValue(isOne || Builder::parseBoolean(content, false));
     }},
};
static_assert(isAscending(kBooleanLiterals));

constexpr Reference<ImplGenICamBoolean> kBooleanReferences[] = {
    {"pValue", reference<&ImplGenICamBoolean::setPValue>},
};
static_assert(isAscending(kBooleanReferences));

constexpr Literal<ImplGenICamCommand> kCommandLiterals[] = {
    {"CommandValue", number<&ImplGenICamCommand::setCommandValue>},
    {"PollingTime", number<&ImplGenICamCommand::setPollingTime>},
    {"Value", number<&ImplGenICamCommand::setStoredValue>},
};
static_assert(isAscending(kCommandLiterals));

constexpr Reference<ImplGenICamCommand> kCommandReferences[] = {
    {"pCommandValue", reference<&ImplGenICamCommand::setPCommandValue>},
    {"pValue", reference<&ImplGenICamCommand::setPValue>},
};
static_assert(isAscending(kCommandReferences));

constexpr Literal<ImplGenICamEnumEntry> kEnumEntryLiterals[] = {
    {"Symbolic", text<&ImplGenICamEnumEntry::setSymbol>},
    {"Value", number<&ImplGenICamEnumEntry::setValue>},
};
static_assert(isAscending(kEnumEntryLiterals));

constexpr Literal<ImplGenICamEnumeration> kEnumerationLiterals[] = {
    {"Value", number<&ImplGenICamEnumeration::setStoredValue>},
};
static_assert(isAscending(kEnumerationLiterals));

constexpr Reference<ImplGenICamEnumeration> kEnumerationReferences[] = {
    {"pValue", reference<&ImplGenICamEnumeration::setPValue>},
};
static_assert(isAscending(kEnumerationReferences));

struct LimitElement {
    std::string_view name;
    tavo::NodeLimit limit;
};
constexpr LimitElement kIntegerLimits[] = {
    {"Min", tavo::NodeLimit::Min}, {"Max", tavo::NodeLimit::Max}, {"Inc", tavo::NodeLimit::Inc}};
constexpr auto kFloatLimits = std::span(kIntegerLimits).first<2>();

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
    readTable(builder, node, kIntegerLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamInteger& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kIntegerReferences, tree);
    standInForPValue(node, makeIndexedInteger(builder, node, tree));
    standInForPValue(node, makeCopies(builder, node, tree));
    takeLimitsFromBelow(builder, node, kIntegerLimits);
    resolveSelected(builder, node, node, tree);
}

void readLiterals(Builder& builder, ImplGenICamFloat& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kFloatLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamFloat& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kFloatReferences, tree);
    standInForPValue(node, makeIndexedFloat(builder, node, tree));
    standInForPValue(node, makeCopies(builder, node, tree));
    takeLimitsFromBelow(builder, node, kFloatLimits);
}

void readLiterals(Builder& builder, ImplGenICamBoolean& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kBooleanLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamBoolean& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kBooleanReferences, tree);
    standInForPValue(node, makeCopies(builder, node, tree));
}

void readLiterals(Builder& builder, ImplGenICamCommand& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kCommandLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamCommand& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kCommandReferences, tree);
}

void readLiterals(Builder& builder, ImplGenICamEnumEntry& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kEnumEntryLiterals);
}

void readLiterals(Builder& builder, ImplGenICamEnumeration& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kEnumerationLiterals);
    for (const Builder::Object& entry : builder.getAllObjectsByName("EnumEntry")) {
        const std::string_view name = entry.builder->findAttribute("Name");
        entry.builder->getFirstElement("Symbolic", name);
        entry.builder->getFirstElement("DisplayName", name);
        embed(builder, *entry.builder, "pEnumEntry");
    }
}

void resolveReferences(Builder& builder, ImplGenICamEnumeration& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveTable(builder, node, kEnumerationReferences, tree);
    standInForPValue(node, makeCopies(builder, node, tree));
    for (const Builder::Element& reference : builder.getAllElementsByName("pEnumEntry")) {
        Node* const target = findNode(reference, tree);
        if (auto* const entry = dynamic_cast<ImplGenICamEnumEntry*>(target)) {
            node.addEntry(entry);
            Builder::addDependency(&node, entry);
        }
    }
    resolveSelected(builder, node, node, tree);
}

} // namespace genicam::stages
