#include "genicam/description/standard_differences.h"

#include "genicam/description/DescriptionIndex.h"
#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/description/blanks.h"
#include "genicam/description/formula_differences.h"
#include "math/MathParser.h"
#include "util/Quirks.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <stdexcept>
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
constexpr QuirkRow kQuirkRows[] = {
    LIOMOL_QUIRK(integerPrefixLiterals, "formulas with other numbers"),
    LIOMOL_QUIRK(ownPrecedence, "formulas with another precedence"),
    LIOMOL_QUIRK(leftConditionals, "formulas with conditionals in a row"),
    LIOMOL_QUIRK(ownKinds, "formulas that mix integers and doubles"),
    LIOMOL_QUIRK(fewerSymbols, "formulas with ==, != or E"),
    LIOMOL_QUIRK(plainNames, "formulas with suffixes of variables"),
    LIOMOL_QUIRK(numericVariablesOnly, "variables that are no numbers"),
    LIOMOL_QUIRK(plainFormulas, "named constants and expressions"),
    LIOMOL_QUIRK(truncatingConverters, "floats over integers"),
    LIOMOL_QUIRK(leftPowers, "formulas with powers in a row"),
    LIOMOL_QUIRK(blanksJoin, "formulas with blanks in numbers, names or operators"),
    LIOMOL_QUIRK(noStringNodes, "String nodes"),
    LIOMOL_QUIRK(noIndexedValues, "indexed values"),
    LIOMOL_QUIRK(noValueCopies, "values with copies"),
    LIOMOL_QUIRK(exactTexts, "keywords between blanks"),
    LIOMOL_QUIRK(octalNumbers, "numbers that begin with 0"),
    LIOMOL_QUIRK(registersInvalidateOnly, "invalidators other than of registers by registers"),
    LIOMOL_QUIRK(plainIndexIgnored, "indexes without an offset"),
    LIOMOL_QUIRK(structRegWins, "settings of a StructReg's entries"),
    LIOMOL_QUIRK(wordBooleansOnly, "Booleans that are 1"),
    LIOMOL_QUIRK(ownStatesOnly, "nodes whose states depend on others"),
    LIOMOL_QUIRK(imposedModeWins, "imposed access modes that widen"),
    LIOMOL_QUIRK(entriesOnly, "references to Enumerations"),
    LIOMOL_QUIRK(positiveFloatMinimum, "floats without a minimum"),
    LIOMOL_QUIRK(incrementsFromZero, "increments that a minimum shifts"),
    LIOMOL_QUIRK(ownLimitsOnly, "values without limits of their own"),
    LIOMOL_QUIRK(absentSignLimitsSigned, "registers without a sign"),
    LIOMOL_QUIRK(littleEndianWords, "little-endian words"),
    LIOMOL_QUIRK(unalignedWrites, "writable registers that do not fill words"),
    LIOMOL_QUIRK(noCacheForASecond, "uncached registers without a polling time"),
    LIOMOL_QUIRK(volatileStopsWrites, "features that are written to uncached registers which others read"),
};
#undef LIOMOL_QUIRK

// Elements whose texts are keywords, and those whose texts are integers.
constexpr std::string_view kKeywordElements[] = {
    "AccessMode", "Cachable", "Endianess",  "ImposedAccessMode", "Representation", "Sign",
    "Slope",      "Symbolic", "Streamable", "SwapEndianess",     "Visibility",
};
constexpr std::string_view kNumberElements[] = {
    "Address", "Bit", "CommandValue", "Inc",     "LSB",         "Length", "MSB",
    "Max",     "Min", "OffValue",     "OnValue", "PollingTime", "Value",
};

// Elements of a StructReg that count in its entries in both, beside their own or in place of them.
constexpr std::string_view kSharedElements[] = {"Address", "Length", "pAddress", "pInvalidator",
                                                "pLength", "pPort",  "pSelected"};
constexpr std::string_view kStateElements[] = {"pIsAvailable", "pIsImplemented", "pIsLocked"};
class DifferenceCounter {
public:
    explicit DifferenceCounter(Builder& root) : m_index(root) { count(root); }
    std::vector<tavo::QuirkUse> result() const;

private:
    void add(bool Quirks::*member, std::size_t count = 1);
    void addIf(bool Quirks::*member, bool touched) { add(member, touched ? 1 : 0); }
    void count(Builder& builder);

    // Of the builder that is looked at.
    const Builder::Element* find(std::string_view name) const { return m_index.find(*m_builder, name); }
    std::string_view textOf(std::string_view name) const { return m_index.textOf(*m_builder, name); }
    std::int64_t numberOf(std::string_view name, std::int64_t missing) const {
        return Builder::parseDecimalOrHex(textOf(name), missing);
    }
    bool isReadOnly() const { return m_index.modeOf(*m_builder) == "RO"; }

    void countEntry();
    void countStates();
    void countTexts();
    void countReferences();
    void countVariables();
    void countFormula(std::string_view formula);
    std::unordered_set<std::string> floatVariables();
    void countLimits();
    void countIncrement();
    void countRegister();
    void countVolatileWrite();

    const DescriptionIndex m_index;
    std::array<std::size_t, std::size(kQuirkRows)> m_counts{};

    Builder* m_builder = nullptr; // the one that is looked at
};

void DifferenceCounter::add(bool Quirks::*member, std::size_t count) {
    const auto row = std::ranges::find(kQuirkRows, member, &QuirkRow::member);
    m_counts[static_cast<std::size_t>(row - std::begin(kQuirkRows))] += count;
}

std::vector<tavo::QuirkUse> DifferenceCounter::result() const {
    std::vector<tavo::QuirkUse> uses;
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
        if (m_counts[i] != 0) {
            uses.push_back({kQuirkRows[i].name, kQuirkRows[i].what, m_counts[i]});
        }
    }
    return uses;
}

void DifferenceCounter::count(Builder& builder) {
    m_builder = &builder;
    addIf(&Quirks::noStringNodes, builder.getNodeType() == Types::String);
    countTexts();
    countEntry();
    countStates();
    countReferences();
    countVariables();
    countLimits();
    countVolatileWrite();
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

void DifferenceCounter::countEntry() {
    Builder* const structReg = m_index.structOf(*m_builder);
    if (structReg == nullptr) {
        return;
    }
    for (const Builder::Element& element : m_builder->getAllElements()) {
        const Builder::Element* const above = structReg->findElement(element.name);
        const bool isShared = contains(kSharedElements, element.name);
        addIf(&Quirks::structRegWins, !isShared && above != nullptr && above->text != element.text);
    }
}

// What the node takes from those that it stands on.
void DifferenceCounter::countStates() {
    Builder* node = m_index.below(*m_builder);
    if (const Builder::Element* const imposed = m_builder->findElement("ImposedAccessMode")) {
        const std::string_view under = node != nullptr ? m_index.modeOf(*node) : std::string_view{};
        const bool isNarrow = under.empty() || under == "RW" || under == withoutBlanks(imposed->text);
        addIf(&Quirks::imposedModeWins, !isNarrow);
    }
    bool depends = false;
    for (int hop = 0; hop < kMostHops && node != nullptr && !depends; ++hop, node = m_index.below(*node)) {
        depends = std::ranges::any_of(
            kStateElements, [&](std::string_view name) { return m_index.find(*node, name) != nullptr; });
    }
    addIf(&Quirks::ownStatesOnly, depends);
}

void DifferenceCounter::countTexts() {
    for (const Builder::Element& element : m_builder->getAllElements()) {
        const std::string_view text = withoutBlanks(element.text);
        const bool isBoolean = element.name == "Value" && m_builder->getNodeType() == Types::Boolean;
        const bool isKeyword = contains(kKeywordElements, element.name) || isBoolean;
        addIf(&Quirks::exactTexts, isKeyword && text != element.text);
        addIf(&Quirks::wordBooleansOnly, isBoolean && text == "1");
        const bool isNumber = contains(kNumberElements, element.name) && !isFloat(m_builder->getNodeType());
        addIf(
            &Quirks::octalNumbers,
            isNumber && Builder::parseNumber(text, 0) != Builder::parseDecimalOrHex(text, 0));
    }
}

void DifferenceCounter::countReferences() {
    const Types::GenICamNodeType type = m_builder->getNodeType();
    const bool isPlace = isRegister(type) || type == Types::StructReg;
    for (const Builder::Element& invalidator : m_builder->getAllElementsByName("pInvalidator")) {
        const Types::GenICamNodeType kind = m_index.kindOf(invalidator.text);
        addIf(&Quirks::registersInvalidateOnly, kind != Types::Undefined && !(isPlace && isRegister(kind)));
    }
    for (const Builder::Object& index : m_builder->getAllObjectsByName("pIndex")) {
        addIf(&Quirks::plainIndexIgnored, isPlace && index.builder->findAttribute("Offset").empty());
        addIf(&Quirks::noIndexedValues, type == Types::Integer || type == Types::Float);
    }
    for (const std::string_view name : kNumberReferences) {
        addIf(&Quirks::entriesOnly, m_index.kindOf(textOf(name)) == Types::Enumeration);
    }
    addIf(&Quirks::noValueCopies, m_builder->findElement("pValueCopy") != nullptr);
    const bool isAbove = type == Types::Converter || type == Types::Float;
    addIf(
        &Quirks::truncatingConverters, isAbove && isInteger(m_index.kindOf(textOf("pValue"))) &&
                                           !isReadOnly() && !roundsItself(textOf("FormulaTo")));
}

void DifferenceCounter::countVariables() {
    for (const Builder::Object& variable : m_builder->getAllObjectsByName("pVariable")) {
        const Types::GenICamNodeType kind = m_index.kindOf(variable.builder->getContent());
        addIf(
            &Quirks::numericVariablesOnly,
            contains(std::array{Types::Boolean, Types::Enumeration, Types::Command}, kind));
    }
    for (const char* const named : {"Constant", "Expression"}) {
        add(&Quirks::plainFormulas, m_builder->getAllObjectsByName(named).size());
    }
}

void DifferenceCounter::countFormula(std::string_view formula) {
    const bool isFloatFormula = isFloat(m_builder->getNodeType());
    for (bool Quirks::*const member : differencesIn(std::string(formula), isFloatFormula, floatVariables())) {
        add(member);
    }
}

// In upper case, as tokens have them.
std::unordered_set<std::string> DifferenceCounter::floatVariables() {
    std::unordered_set<std::string> names;
    for (const Builder::Object& variable : m_builder->getAllObjectsByName("pVariable")) {
        if (isFloat(m_index.kindOf(variable.builder->getContent()))) {
            names.insert(tavo::MathParser::normalize(std::string(variable.builder->findAttribute("Name"))));
        }
    }
    if (m_builder->getNodeType() == Types::Converter) {
        names.insert("FROM");
        if (isFloat(m_index.kindOf(textOf("pValue")))) {
            names.insert("TO");
        }
    }
    return names;
}

void DifferenceCounter::countLimits() {
    const Types::GenICamNodeType type = m_builder->getNodeType();
    if (!m_index.isFeature(*m_builder) || isReadOnly()) {
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
    addIf(
        &Quirks::littleEndianWords,
        m_index.isOldSchema() && length == 4 && textOf("Endianess") == "LittleEndian");
    constexpr std::int64_t kWord = 4;
    addIf(
        &Quirks::unalignedWrites,
        (mode == "RW" || mode == "WO") && (length % kWord != 0 || numberOf("Address", 0) % kWord != 0));
}

// A feature that is written through an uncached register, and what else reads from the nodes on the way.
void DifferenceCounter::countVolatileWrite() {
    if (!m_index.isFeature(*m_builder) || isReadOnly()) {
        return;
    }
    bool isHeard = false;
    Builder* node = m_builder;
    for (int hop = 0; hop < kMostHops && node != nullptr; ++hop, node = m_index.below(*node)) {
        const std::size_t own = node == m_builder ? 0 : 1; // the reference that led here
        isHeard = isHeard || node->findElement("pSelected") != nullptr || m_index.referrers(*node) > own;
        if (isRegister(node->getNodeType())) {
            addIf(&Quirks::volatileStopsWrites, isHeard && m_index.textOf(*node, "Cachable") == "NoCache");
            return;
        }
    }
}

} // namespace

std::vector<tavo::QuirkUse> findDifferences(char* text) {
    Quirks all = Quirks::none();
    all.exactTexts = true; // the blanks are to be seen
    std::unique_ptr<Builder> root;
    try {
        root = tavo::GenICamParser(all).parseMemory(text);
    } catch (const std::length_error&) { // the standard's reading alone makes too many builders of it
    }
    return root != nullptr ? DifferenceCounter(*root).result() : std::vector<tavo::QuirkUse>{};
}

} // namespace genicam
