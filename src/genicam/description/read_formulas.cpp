// The kinds that compute.
#include "genicam/description/read_nodes.h"

#include "genicam/nodes/ImplGenICamFloat.h"
#include "genicam/nodes/ImplGenICamInteger.h"
#include "genicam/nodes/formula_nodes.h"
#include "genicam/nodes/numbers.h"
#include "math/literals.h"

#include <exception>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>

namespace genicam::stages {

using tavo::ConverterFormulas;
using tavo::ImplGenICamConverter;
using tavo::ImplGenICamFloat;
using tavo::ImplGenICamIntConverter;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntSwissKnife;
using tavo::ImplGenICamMathVariables;
using tavo::ImplGenICamSwissKnife;

namespace {

template<class Kind>
constexpr Literal<Kind> kRepresentationLiteral = {"Representation", representation<Kind>};

constexpr Literal<ImplGenICamSwissKnife> kSwissKnifeLiterals[] = {
    kRepresentationLiteral<ImplGenICamSwissKnife>,
    {"Unit", text<&ImplGenICamSwissKnife::setUnit>},
};
static_assert(isAscending(kSwissKnifeLiterals));

constexpr Literal<ImplGenICamIntSwissKnife> kIntSwissKnifeLiterals[] = {
    kRepresentationLiteral<ImplGenICamIntSwissKnife>,
};
static_assert(isAscending(kIntSwissKnifeLiterals));

template<class Kind>
constexpr Literal<Kind> kConverterLiterals[] = {
    {"FormulaFrom", text<&Kind::setFormulaFromText>},
    {"FormulaTo", text<&Kind::setFormulaToText>},
    kRepresentationLiteral<Kind>,
    {"Slope", keyword<&Kind::setSlope, &Builder::parseSlope>},
    {"Unit", text<&Kind::setUnit>},
};

// A number with or without a sign. One that cannot be read names nothing.
std::optional<tavo::MathValue> readConstant(std::string_view text) {
    const std::string number = tavo::MathParser::normalize(std::string(text));
    const bool hasSign = number.starts_with('-') || number.starts_with('+');
    const auto literal = tavo::math::readStandardLiteral(std::string_view(number).substr(hasSign ? 1 : 0));
    const bool isNegative = number.starts_with('-');
    if (literal.integer) {
        return tavo::MathValue::fromInteger(
            isNegative ? tavo::numbers::multiply(*literal.integer, -1) : *literal.integer);
    }
    if (literal.real) {
        return tavo::MathValue::fromFloat(isNegative ? -*literal.real : *literal.real);
    }
    return std::nullopt;
}

void parse(
    Builder& builder, Node& node, std::string_view formula, tavo::MathParser& parser,
    ImplGenICamMathVariables& variables) {
    builder.countFormula(formula.size());
    Builder::parseFormula(node.getName(), std::string(formula), parser, &variables, node.quirks());
}

// Constants and expressions, which have names like variables.
template<class Kind> void readNames(Builder& builder, Kind& node) {
    if (node.quirks().plainFormulas) {
        return;
    }
    for (const Builder::Object& constant : builder.getAllObjectsByName("Constant")) {
        if (const auto value = readConstant(constant.builder->getContent())) {
            node.addConstant(constant.builder->findAttribute("Name"), *value);
        }
    }
    for (const Builder::Object& expression : builder.getAllObjectsByName("Expression")) {
        tavo::MathParser& parser = node.addExpression(expression.builder->findAttribute("Name"), node);
        parse(builder, node, expression.builder->getContent(), parser, node);
    }
}

// The text goes to the engine before any variable is known; variables are looked up when it evaluates.
template<class Kind> void readFormula(Builder& builder, Kind& node) {
    const Builder::Element* const formula = builder.findElement("Formula");
    const std::string_view content = formula != nullptr ? formula->text : std::string_view{};
    parse(builder, node, content, node.formula(), node);
    readNames(builder, node);
}

template<class Kind, std::size_t count>
void readKnife(Builder& builder, Kind& node, const Literal<Kind> (&literals)[count]) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, literals);
    readFormula(builder, node);
}

template<class Kind> void readConverter(Builder& builder, Kind& node) {
    readLiterals(builder, static_cast<Node&>(node));
    readTable(builder, node, kConverterLiterals<Kind>);
    parse(builder, node, node.getFormulaToText(), node.formulaTo(), node);
    parse(builder, node, node.getFormulaFromText(), node.formulaFrom(), node);
    readNames(builder, node);
}

void resolveVariables(Builder& builder, Node& node, ImplGenICamMathVariables& variables, Tree& tree) {
    for (const Builder::Object& variable : builder.getAllObjectsByName("pVariable")) {
        Node* const target = findNode(variable.builder->getContent(), tree);
        variables.setVariable(std::string(variable.builder->findAttribute("Name")), target);
        Builder::addDependency(&node, target);
    }
}

template<class Kind> void resolveKnife(Builder& builder, Kind& node, Tree& tree) {
    resolveReferences(builder, static_cast<Node&>(node), tree);
    resolveVariables(builder, node, node, tree);
}

// The nodes that carry the value being set are in no description; the tree owns them like all others, and
// they take any value.
std::unique_ptr<Node> makeFromNode(const ImplGenICamConverter&) {
    auto node = std::make_unique<ImplGenICamFloat>();
    node->setNodeType(Types::Float);
    node->setMin(std::numeric_limits<double>::lowest());
    node->setMax(std::numeric_limits<double>::max());
    return node;
}

std::unique_ptr<Node> makeFromNode(const ImplGenICamIntConverter&) {
    auto node = std::make_unique<ImplGenICamInteger>(); // with the limits of 64 bits and an increment of 1
    node->setNodeType(Types::Integer);
    return node;
}

template<class Kind> void resolveConverter(Builder& builder, Kind& node, Tree& tree) {
    if (const Builder::Element* const name = builder.findElement("pValue")) {
        Node* const target = findNode(*name, tree);
        node.setPValue(target);
        Builder::addDependency(&node, target);
    }
    resolveKnife(builder, node, tree);
    node.setFromNode(&tree.adoptNode(makeFromNode(node)));
}

} // namespace

void readLiterals(Builder& builder, ImplGenICamSwissKnife& node) {
    readKnife(builder, node, kSwissKnifeLiterals);
}
void readLiterals(Builder& builder, ImplGenICamIntSwissKnife& node) {
    readKnife(builder, node, kIntSwissKnifeLiterals);
}

void resolveReferences(Builder& builder, ImplGenICamSwissKnife& node, Tree& tree) {
    resolveKnife(builder, node, tree);
}
void resolveReferences(Builder& builder, ImplGenICamIntSwissKnife& node, Tree& tree) {
    resolveKnife(builder, node, tree);
}

void readLiterals(Builder& builder, ImplGenICamConverter& node) {
    readConverter(builder, node);
}
void readLiterals(Builder& builder, ImplGenICamIntConverter& node) {
    readConverter(builder, node);
}

void resolveReferences(Builder& builder, ImplGenICamConverter& node, Tree& tree) {
    resolveConverter(builder, node, tree);
}

void resolveReferences(Builder& builder, ImplGenICamIntConverter& node, Tree& tree) {
    resolveConverter(builder, node, tree);
}

} // namespace genicam::stages

namespace tavo {

void GenICamTreeBuilder::parseFormula(
    const std::string& nodeName, const std::string& formula, MathParser& parser,
    MathVariablesInterface* variables, const Quirks& quirks) {
    try {
        parser.tokenize(formula, variables, quirks);
    } catch (const std::exception& error) {
        parser.reset();
        const std::string line =
            "Error parsing formula (node: " + nodeName + ", formula: " + formula + "): " + error.what();
        std::cout << line << std::endl;
    }
}

} // namespace tavo
