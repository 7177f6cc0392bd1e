#include "genicam/description/formula_differences.h"

#include "math/MathParser.h"
#include "math/literals.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace genicam {
namespace {

using tavo::Quirks;

// Those that change how a formula splits.
constexpr bool Quirks::*kSplittingQuirks[] = {
    &Quirks::ownPrecedence, &Quirks::leftConditionals, &Quirks::leftPowers,
    &Quirks::blanksJoin,    &Quirks::fewerSymbols,     &Quirks::plainNames,
};

template<class Range, class T> bool isAmong(const Range& range, const T& item) {
    return std::ranges::find(range, item) != std::ranges::end(range);
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
    constexpr std::string_view kFunctions[] = {"ACOS", "ASIN", "ATAN", "COS",  "EXP",
                                               "LG",   "LN",   "SIN",  "SQRT", "TAN"};
    constexpr std::string_view kConstants[] = {"E", "PI"}; // where no variable bears the name
    return token.kind == tavo::MathTokenKind::Function ? isAmong(kFunctions, token.name)
                                                       : isAmong(kConstants, token.name);
}

bool takesBits(const tavo::MathToken& token) {
    return token.kind == tavo::MathTokenKind::Function &&
           (token.name.starts_with("_binary") || token.name.starts_with("_shift"));
}

} // namespace

bool roundsItself(std::string_view formula) {
    constexpr std::string_view kFunctions[] = {"CEIL", "FLOOR", "ROUND", "TRUNC"};
    const auto tokens = tokensOf(std::string(formula), Quirks::none());
    return !tokens.empty() && tokens.front().arguments == 1 && isAmong(kFunctions, tokens.front().name);
}

// A quirk counts when it alone changes what the standard makes of the formula.
std::vector<bool Quirks::*> differencesIn(
    const std::string& formula, bool isFloat, const std::unordered_set<std::string>& floatVariables) {
    std::vector<bool Quirks::*> touched;
    const auto tokens = tokensOf(formula, Quirks::none());
    for (bool Quirks::*const member : kSplittingQuirks) {
        Quirks quirks = Quirks::none();
        quirks.*member = true;
        if (tokensOf(formula, quirks) != tokens) {
            touched.push_back(member);
        }
    }
    const auto isOther = [](const tavo::MathToken& token) {
        return token.kind == tavo::MathTokenKind::Number && !readsAlike(token.name);
    };
    const bool otherLiterals = std::ranges::any_of(tokens, isOther);
    if (otherLiterals) {
        touched.push_back(&Quirks::integerPrefixLiterals);
    }
    const auto isDouble = [&floatVariables](const tavo::MathToken& token) {
        const bool isVariable = token.kind == tavo::MathTokenKind::Variable;
        return givesDouble(token) || (isVariable && floatVariables.contains(token.name));
    };
    const bool doubles = otherLiterals || std::ranges::any_of(tokens, isDouble);
    if (doubles && (!isFloat || std::ranges::any_of(tokens, takesBits))) {
        touched.push_back(&Quirks::ownKinds);
    }
    return touched;
}

} // namespace genicam
