// How builders become nodes: for each kind what it reads of itself (first pass) and which nodes it refers to
// (second pass). Internal to the description's stages; GenICamTreeBuilder::propagateInitStage drives them.
//
// A kind's function calls that of its base first. Kinds without a function of their own take their base's.
#pragma once

#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/nodes/NodeTree.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace tavo {
class ImplGenICamBoolean;
class ImplGenICamCategory;
class ImplGenICamCommand;
class ImplGenICamConverter;
class ImplGenICamEnumEntry;
class ImplGenICamEnumeration;
class ImplGenICamFloat;
class ImplGenICamFloatReg;
class ImplGenICamIntConverter;
class ImplGenICamIntReg;
class ImplGenICamIntSwissKnife;
class ImplGenICamInteger;
class ImplGenICamMaskedIntReg;
class ImplGenICamPort;
class ImplGenICamRegister;
class ImplGenICamSelectorInterface;
class ImplGenICamString;
class ImplGenICamSwissKnife;
} // namespace tavo

namespace genicam::stages {

using Builder = tavo::GenICamTreeBuilder;
using Tree = tavo::NodeTree; // as far as it is built
using Node = tavo::ImplGenICamNode;
using Types = tavo::GenICamTypes;

// First pass: literal properties.
void readHeader(Builder& builder, Tree& tree);
void readStructReg(Builder& builder, const tavo::Quirks& quirks);
void readLiterals(Builder& builder, Node& node);
void readLiterals(Builder& builder, tavo::ImplGenICamBoolean& node);
void readLiterals(Builder& builder, tavo::ImplGenICamCommand& node);
void readLiterals(Builder& builder, tavo::ImplGenICamConverter& node);
void readLiterals(Builder& builder, tavo::ImplGenICamEnumEntry& node);
void readLiterals(Builder& builder, tavo::ImplGenICamEnumeration& node);
void readLiterals(Builder& builder, tavo::ImplGenICamFloat& node);
void readLiterals(Builder& builder, tavo::ImplGenICamFloatReg& node);
void readLiterals(Builder& builder, tavo::ImplGenICamIntConverter& node);
void readLiterals(Builder& builder, tavo::ImplGenICamIntReg& node);
void readLiterals(Builder& builder, tavo::ImplGenICamIntSwissKnife& node);
void readLiterals(Builder& builder, tavo::ImplGenICamInteger& node);
void readLiterals(Builder& builder, tavo::ImplGenICamMaskedIntReg& node);
void readLiterals(Builder& builder, tavo::ImplGenICamPort& node);
void readLiterals(Builder& builder, tavo::ImplGenICamRegister& node);
void readLiterals(Builder& builder, tavo::ImplGenICamString& node);
void readLiterals(Builder& builder, tavo::ImplGenICamSwissKnife& node);

// Second pass: references. A name that no node bears leaves its reference empty.
void resolveReferences(Builder& builder, Node& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamBoolean& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamCategory& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamCommand& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamConverter& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamEnumeration& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamFloat& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamIntConverter& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamIntReg& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamIntSwissKnife& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamInteger& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamPort& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamRegister& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamString& node, Tree& tree);
void resolveReferences(Builder& builder, tavo::ImplGenICamSwissKnife& node, Tree& tree);

// What only the standard's meaning knows. Each makes a node that is in no description, which the tree owns,
// or gives null where the description does not ask for one or the quirks say that it counts for nothing.
// -----------------------------------------------------------------------------------

// The node that stands for pValue of a value that is picked by an index; `node` depends on it.
Node* makeIndexedInteger(Builder& builder, Node& node, Tree& tree);
Node* makeIndexedFloat(Builder& builder, Node& node, Tree& tree);
// The node that stands for pValue and its copies.
Node* makeCopies(Builder& builder, Node& node, Tree& tree);
// The address term of a "pIndex" without "Offset" in a register.
Node* makeIndexTerm(Builder& index, Builder& builder, Node& node, Tree& tree);

// What several kinds share
// -----------------------------------------------------------------------------------

// The node of a name, or null. Blanks and line breaks around the name do not count.
Node* findNode(std::string_view name, Tree& tree);
// The node that a reference means, or null.
Node* findNode(const Builder::Element& reference, Tree& tree);
// The elements "pSelected": selected features depend on the selector.
void resolveSelected(Builder& builder, Node& node, tavo::ImplGenICamSelectorInterface& selector, Tree& tree);
// Prefixes the name of a child with its parent's, and refers to the child under an element name of the
// parent.
void embed(Builder& parent, Builder& child, std::string_view element);
// "IntSwissKnife" elements inside a register or a StructReg: terms of its address.
void embedAddressFormulas(Builder& builder);

// Tables of what a kind reads, by ascending element name: the name, and what to do with the element's text.
// The text is empty when the element is missing, which gives the default, as does a text that cannot be read.
template<class Kind> struct Literal {
    std::string_view element;
    void (*apply)(Kind& node, std::string_view text);
};

// Tables of the references that a kind has once, each of which makes it depend on the node referred to; by
// ascending element name, too.
template<class Kind> struct Reference {
    std::string_view element;
    void (*set)(Kind& node, Node* target);
};

template<class Row, std::size_t count> constexpr bool isAscending(const Row (&table)[count]) {
    return std::ranges::is_sorted(table, {}, &Row::element);
}

// Calls `visit(row, element)` for each row with the first element of the row's name, or null. Both sides are
// in order, so one walk over the elements does.
template<class Row, std::size_t count, class Visit>
void walkTable(Builder& builder, const Row (&table)[count], Visit visit) {
    const auto elements = builder.getAllElements();
    auto next = elements.begin();
    for (const Row& row : table) {
        int order = 1;
        while (next != elements.end() && (order = compareNames(next->name, row.element)) < 0) {
            ++next;
        }
        visit(row, next != elements.end() && order == 0 ? &*next : nullptr);
    }
}

template<class Kind, std::size_t count>
void readTable(Builder& builder, Kind& node, const Literal<Kind> (&table)[count]) {
    walkTable(builder, table, [&node](const Literal<Kind>& literal, const Builder::Element* element) {
        literal.apply(node, element != nullptr ? element->text : std::string_view{});
    });
}

template<class Kind, std::size_t count>
void resolveTable(Builder& builder, Kind& node, const Reference<Kind> (&table)[count], Tree& tree) {
    walkTable(builder, table, [&](const Reference<Kind>& reference, const Builder::Element* element) {
        if (element != nullptr) {
            Node* const target = findNode(*element, tree);
            reference.set(node, target);
            Builder::addDependency(&node, target);
        }
    });
}

// The setters of the tables
// -----------------------------------------------------------------------------------

template<auto setter, class Kind> void text(Kind& node, std::string_view content) {
    (node.*setter)(std::string(content));
}

// A number that the description gives for a node.
inline std::int64_t parseNumber(std::string_view content, std::int64_t missing, const tavo::Quirks& quirks) {
    return quirks.octalNumbers ? Builder::parseNumber(content, missing)
                               : Builder::parseDecimalOrHex(content, missing);
}
inline std::int64_t parseNumber(const Node& node, std::string_view content, std::int64_t missing) {
    return parseNumber(content, missing, node.quirks());
}

template<auto setter, std::int64_t missing = 0, class Kind>
void number(Kind& node, std::string_view content) {
    (node.*setter)(parseNumber(node, content, missing));
}

// `missing` stands for an unknown keyword, too.
template<auto setter, auto parse, auto missing = decltype(parse({}))::NotGiven, class Kind>
void keyword(Kind& node, std::string_view content) {
    const auto value = parse(content);
    (node.*setter)(value != decltype(value)::NotGiven ? value : missing);
}

// Of integers, also the two that make an address of the number.
template<class Kind> void representation(Kind& node, std::string_view content) {
    keyword<&Kind::setRepresentation, &Builder::parseRepresentation>(node, content);
    if constexpr (requires { &Kind::setAddressType; }) {
        keyword<&Kind::setAddressType, &Builder::parseAddressType>(node, content);
    }
}

template<auto setter, class Kind> void reference(Kind& node, Node* target) {
    (node.*setter)(target);
}

} // namespace genicam::stages
