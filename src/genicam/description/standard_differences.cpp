#include "genicam/description/standard_differences.h"

#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/description/blanks.h"
#include "math/MathLiteral.h"
#include "math/MathParser.h"
#include "util/Quirks.h"

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace genicam {
namespace {

using tavo::Quirks;
using Builder = tavo::GenICamTreeBuilder;
using Types = tavo::GenICamTypes;

struct QuirkRow {
    bool Quirks::*member;
    std::string_view name;
    std::string_view what;
};

#define LIOMOL_QUIRK(member, what)                                                                           \
    { &Quirks::member, #member, what }
constexpr QuirkRow quirkRows[] = {
    LIOMOL_QUIRK(integerPrefixLiterals, "formulas with other numbers"),
    LIOMOL_QUIRK(ownPrecedence, "formulas with another precedence"),
    LIOMOL_QUIRK(leftConditionals, "formulas with conditionals in a row"),
    LIOMOL_QUIRK(ownKinds, "formulas that mix integers and doubles"),
    LIOMOL_QUIRK(fewerSymbols, "formulas with ==, != or E"),
    LIOMOL_QUIRK(plainNames, "formulas with suffixes of variables"),
    LIOMOL_QUIRK(numericVariablesOnly, "variables that are no numbers"),
    LIOMOL_QUIRK(plainFormulas, "named constants and expressions"),
    LIOMOL_QUIRK(truncatingConverters, "floats over integers"),
    LIOMOL_QUIRK(noStringNodes, "String nodes"),
    LIOMOL_QUIRK(noIndexedValues, "indexed values"),
    LIOMOL_QUIRK(noValueCopies, "values with copies"),
    LIOMOL_QUIRK(exactTexts, "keywords between blanks"),
    LIOMOL_QUIRK(octalNumbers, "numbers that begin with 0"),
    LIOMOL_QUIRK(registersInvalidateOnly, "invalidators other than of registers by registers"),
    LIOMOL_QUIRK(plainIndexIgnored, "indexes without an offset"),
    LIOMOL_QUIRK(positiveFloatMinimum, "floats without a minimum"),
    LIOMOL_QUIRK(incrementsFromZero, "increments that a minimum shifts"),
    LIOMOL_QUIRK(ownLimitsOnly, "values without limits of their own"),
    LIOMOL_QUIRK(absentSignLimitsSigned, "registers without a sign"),
    LIOMOL_QUIRK(littleEndianWords, "little-endian words"),
    LIOMOL_QUIRK(unalignedWrites, "writable registers that do not fill words"),
    LIOMOL_QUIRK(noCacheForASecond, "uncached registers without a polling time"),
};
#undef LIOMOL_QUIRK

// Elements whose texts are keywords, and those whose texts are integers.
constexpr std::string_view keywordElements[] = {
    "AccessMode", "Cachable", "Endianess",  "ImposedAccessMode", "Representation", "Sign",
    "Slope",      "Symbolic", "Streamable", "SwapEndianess",     "Visibility",
};
constexpr std::string_view numberElements[] = {
    "Address", "Bit", "CommandValue", "Inc",     "LSB",         "Length", "MSB",
    "Max",     "Min", "OffValue",     "OnValue", "PollingTime", "Value",
};

template<class Range, class T> bool contains(const Range& range, const T& item) {
    return std::ranges::find(range, item) != std::ranges::end(range);
}

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

std::vector<tavo::MathToken> tokensOf(const std::string& formula, const Quirks& quirks) {
    tavo::MathParser parser;
    try {
        parser.tokenize(formula, nullptr, quirks);
    } catch (const std::exception&) {
        return {};
    }
    return parser.tokens();
}

bool readsAlike(const std::string& literal) {
    const auto own = tavo::math::readLiteral(literal);
    const auto standard = tavo::math::readStandardLiteral(literal);
    if (own.integer && standard.integer) {
        return *own.integer == *standard.integer;
    }
    const auto valueOf = [](const auto& read) {
        return read.integer ? std::optional(static_cast<double>(*read.integer)) : read.real;
    };
    return valueOf(own) == valueOf(standard);
}

bool givesDouble(const tavo::MathToken& token) {
    constexpr std::string_view functions[] = {"ACOS", "ASIN", "ATAN", "COS",  "EXP",
                                              "LG",   "LN",   "SIN",  "SQRT", "TAN"};
    constexpr std::string_view constants[] = {"E", "PI"}; // where no variable bears the name
    return token.kind == tavo::MathTokenKind::Function ? contains(functions, token.name)
                                                       : contains(constants, token.name);
}

bool roundsItself(std::string_view formula) {
    constexpr std::string_view functions[] = {"CEIL", "FLOOR", "ROUND", "TRUNC"};
    const auto tokens = tokensOf(std::string(formula), Quirks::none());
    return !tokens.empty() && tokens.front().arguments == 1 && contains(functions, tokens.front().name);
}

bool takesBits(const tavo::MathToken& token) {
    return token.kind == tavo::MathTokenKind::Function &&
           (token.name.starts_with("_binary") || token.name.starts_with("_shift"));
}

class DifferenceCounter {
public:
    // First pass: which kind a name has, and what users can see.
    void index(Builder& builder);
    // Second pass.
    void count(Builder& builder);
    std::vector<tavo::QuirkUse> result() const;

private:
    void add(bool Quirks::*member, std::size_t count = 1);
    void addIf(bool Quirks::*member, bool touched) { add(member, touched ? 1 : 0); }
    Types::GenICamNodeType kindOf(std::string_view name) const;
    const Builder::Element* find(std::string_view name) const { return find(*m_builder, name); }
    const Builder::Element* find(Builder& builder, std::string_view name) const;
    std::string_view textOf(std::string_view name) const;
    std::int64_t numberOf(std::string_view name, std::int64_t missing) const;
    bool isReadOnly(Builder& builder) const;

    void countTexts();
    void countReferences();
    void countVariables();
    void countFormula(std::string_view formula);
    std::unordered_set<std::string> floatVariables();
    void countLimits();
    void countIncrement();
    void countRegister();

    std::unordered_map<std::string_view, Builder*> m_nodes;
    std::unordered_map<Builder*, Builder*> m_structs; // of entries
    std::unordered_set<std::string_view> m_features;
    bool m_oldSchema = true;
    std::array<std::size_t, std::size(quirkRows)> m_counts{};

    Builder* m_builder = nullptr; // the one that is looked at
};

void DifferenceCounter::add(bool Quirks::*member, std::size_t count) {
    const auto row = std::ranges::find(quirkRows, member, &QuirkRow::member);
    m_counts[static_cast<std::size_t>(row - std::begin(quirkRows))] += count;
}

std::vector<tavo::QuirkUse> DifferenceCounter::result() const {
    std::vector<tavo::QuirkUse> uses;
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
        if (m_counts[i] != 0) {
            uses.push_back({quirkRows[i].name, quirkRows[i].what, m_counts[i]});
        }
    }
    return uses;
}

void DifferenceCounter::index(Builder& builder) {
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

void DifferenceCounter::count(Builder& builder) {
    m_builder = &builder;
    addIf(&Quirks::noStringNodes, builder.getNodeType() == Types::String);
    countTexts();
    countReferences();
    countVariables();
    countLimits();
    if (isRegister(builder.getNodeType())) {
        countRegister();
    }
    for (const char* const formula : {"Formula", "FormulaTo", "FormulaFrom"}) {
        if (const Builder::Element* const element = builder.findElement(formula)) {
            countFormula(element->text);
        }
    }
    for (const Builder::Object& child : builder.getAllObjects()) {
        if (child.builder->getNodeType() != Types::Element) {
            count(*child.builder);
        }
    }
}

Types::GenICamNodeType DifferenceCounter::kindOf(std::string_view name) const {
    const auto found = m_nodes.find(withoutBlanks(name));
    return found != m_nodes.end() ? found->second->getNodeType() : Types::Undefined;
}

// A StructReg's element takes the place of its entry's.
const Builder::Element* DifferenceCounter::find(Builder& builder, std::string_view name) const {
    const auto structReg = m_structs.find(&builder);
    const Builder::Element* const above =
        structReg != m_structs.end() ? structReg->second->findElement(name) : nullptr;
    return above != nullptr ? above : builder.findElement(name);
}

std::string_view DifferenceCounter::textOf(std::string_view name) const {
    const Builder::Element* const element = find(name);
    return element != nullptr ? withoutBlanks(element->text) : std::string_view{};
}

std::int64_t DifferenceCounter::numberOf(std::string_view name, std::int64_t missing) const {
    return Builder::parseDecimalOrHex(textOf(name), missing);
}

// Along pValue, as far as the description tells.
bool DifferenceCounter::isReadOnly(Builder& builder) const {
    constexpr int mostHops = 32;
    Builder* node = &builder;
    for (int hop = 0; hop < mostHops; ++hop) {
        const Builder::Element* const imposed = node->findElement("ImposedAccessMode");
        if (imposed != nullptr) {
            return withoutBlanks(imposed->text) == "RO";
        }
        if (isRegister(node->getNodeType())) {
            const Builder::Element* const mode = find(*node, "AccessMode");
            return mode == nullptr || withoutBlanks(mode->text) == "RO";
        }
        const Builder::Element* const below = node->findElement("pValue");
        const auto next = below == nullptr ? m_nodes.end() : m_nodes.find(withoutBlanks(below->text));
        if (next == m_nodes.end()) {
            return contains(std::array{Types::SwissKnife, Types::IntSwissKnife}, node->getNodeType());
        }
        node = next->second;
    }
    return false;
}

void DifferenceCounter::countTexts() {
    for (const Builder::Element& element : m_builder->getAllElements()) {
        const std::string_view text = withoutBlanks(element.text);
        const bool isKeyword = contains(keywordElements, element.name) ||
                               (element.name == "Value" && m_builder->getNodeType() == Types::Boolean);
        addIf(&Quirks::exactTexts, isKeyword && text != element.text);
        const bool isNumber = contains(numberElements, element.name) && !isFloat(m_builder->getNodeType());
        addIf(
            &Quirks::octalNumbers,
            isNumber && Builder::parseNumber(text, 0) != Builder::parseDecimalOrHex(text, 0));
    }
}

void DifferenceCounter::countReferences() {
    const Types::GenICamNodeType type = m_builder->getNodeType();
    const bool isPlace = isRegister(type) || type == Types::StructReg;
    for (const Builder::Element& invalidator : m_builder->getAllElementsByName("pInvalidator")) {
        const Types::GenICamNodeType kind = kindOf(invalidator.text);
        addIf(&Quirks::registersInvalidateOnly, kind != Types::Undefined && !(isPlace && isRegister(kind)));
    }
    for (const Builder::Object& index : m_builder->getAllObjectsByName("pIndex")) {
        addIf(&Quirks::plainIndexIgnored, isPlace && index.builder->findAttribute("Offset").empty());
        addIf(&Quirks::noIndexedValues, type == Types::Integer || type == Types::Float);
    }
    addIf(&Quirks::noValueCopies, m_builder->findElement("pValueCopy") != nullptr);
    const bool isAbove = type == Types::Converter || type == Types::Float;
    addIf(
        &Quirks::truncatingConverters, isAbove && isInteger(kindOf(textOf("pValue"))) &&
                                           !isReadOnly(*m_builder) && !roundsItself(textOf("FormulaTo")));
}

void DifferenceCounter::countVariables() {
    for (const Builder::Object& variable : m_builder->getAllObjectsByName("pVariable")) {
        const Types::GenICamNodeType kind = kindOf(variable.builder->getContent());
        addIf(
            &Quirks::numericVariablesOnly,
            contains(std::array{Types::Boolean, Types::Enumeration, Types::Command}, kind));
    }
    for (const char* const named : {"Constant", "Expression"}) {
        add(&Quirks::plainFormulas, m_builder->getAllObjectsByName(named).size());
    }
}

// A quirk is touched when it alone changes what the standard makes of the formula.
void DifferenceCounter::countFormula(std::string_view formula) {
    const std::string text(formula);
    const auto tokens = tokensOf(text, Quirks::none());
    for (bool Quirks::*const member :
         {&Quirks::ownPrecedence, &Quirks::leftConditionals, &Quirks::fewerSymbols, &Quirks::plainNames}) {
        Quirks quirks = Quirks::none();
        quirks.*member = true;
        addIf(member, tokensOf(text, quirks) != tokens);
    }
    const auto isOther = [](const tavo::MathToken& token) {
        return token.kind == tavo::MathTokenKind::Number && !readsAlike(token.name);
    };
    const bool otherLiterals = std::ranges::any_of(tokens, isOther);
    addIf(&Quirks::integerPrefixLiterals, otherLiterals);

    const auto variables = floatVariables();
    const bool doubles = otherLiterals || std::ranges::any_of(tokens, [&](const tavo::MathToken& token) {
                             return givesDouble(token) || (token.kind == tavo::MathTokenKind::Variable &&
                                                           variables.contains(token.name));
                         });
    const bool isFloatFormula = isFloat(m_builder->getNodeType());
    addIf(&Quirks::ownKinds, doubles && (!isFloatFormula || std::ranges::any_of(tokens, takesBits)));
}

// In upper case, as tokens have them.
std::unordered_set<std::string> DifferenceCounter::floatVariables() {
    std::unordered_set<std::string> names;
    for (const Builder::Object& variable : m_builder->getAllObjectsByName("pVariable")) {
        if (isFloat(kindOf(variable.builder->getContent()))) {
            names.insert(tavo::MathParser::normalize(std::string(variable.builder->findAttribute("Name"))));
        }
    }
    if (m_builder->getNodeType() == Types::Converter) {
        names.insert("FROM");
        if (isFloat(kindOf(textOf("pValue")))) {
            names.insert("TO");
        }
    }
    return names;
}

void DifferenceCounter::countLimits() {
    const Types::GenICamNodeType type = m_builder->getNodeType();
    if (!m_features.contains(m_builder->findAttribute("Name")) || isReadOnly(*m_builder)) {
        return;
    }
    const auto has = [this](std::string_view literal, std::string_view reference) {
        return find(literal) != nullptr || find(reference) != nullptr;
    };
    addIf(&Quirks::positiveFloatMinimum, isFloat(type) && !has("Min", "pMin"));
    const bool isAbove = (type == Types::Integer || type == Types::Float) && find("pValue") != nullptr;
    const bool lacksMin = type == Types::Integer && !has("Min", "pMin");
    addIf(
        &Quirks::ownLimitsOnly,
        type == Types::IntConverter || (isAbove && (lacksMin || !has("Max", "pMax"))));
    addIf(
        &Quirks::absentSignLimitsSigned,
        (type == Types::IntReg || type == Types::MaskedIntReg) && find("Sign") == nullptr);
    if (type == Types::Integer && has("Inc", "pInc")) {
        countIncrement();
    }
}

void DifferenceCounter::countIncrement() {
    const std::int64_t inc = numberOf("Inc", 1);
    const bool isKnown = find("pMin") == nullptr && find("pInc") == nullptr;
    const std::int64_t min = numberOf("Min", std::numeric_limits<std::int64_t>::min());
    addIf(&Quirks::incrementsFromZero, !isKnown || (inc != 0 && inc != -1 && min % inc != 0));
}

void DifferenceCounter::countRegister() {
    const std::string_view mode = textOf("AccessMode");
    addIf(
        &Quirks::noCacheForASecond,
        textOf("Cachable") == "NoCache" && find("PollingTime") == nullptr && mode != "WO");
    if (textOf("pPort") != "Device") {
        return;
    }
    const std::int64_t length = numberOf("Length", 0);
    addIf(&Quirks::littleEndianWords, m_oldSchema && length == 4 && textOf("Endianess") == "LittleEndian");
    constexpr std::int64_t word = 4;
    addIf(
        &Quirks::unalignedWrites,
        (mode == "RW" || mode == "WO") && (length % word != 0 || numberOf("Address", 0) % word != 0));
}

} // namespace

std::vector<tavo::QuirkUse> findDifferences(char* text) {
    Quirks all = Quirks::none();
    all.exactTexts = true; // the blanks are to be seen
    const auto root = tavo::GenICamParser(all).parseMemory(text);
    DifferenceCounter counter;
    if (root != nullptr) {
        counter.index(*root);
        counter.count(*root);
    }
    return counter.result();
}

} // namespace genicam
