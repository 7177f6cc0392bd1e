// A formula of a camera's description: whatever it says, it ends in a value or in one of the documented
// errors, the same each time; and a short one has the tokens that splitting it by its definition gives. As
// the standard has formulas, one that was read never lacks an operand or a kind.
#include "liomol/exceptions.h"
#include "math/MathParser.h"

#include "../tests/math/TableOfVariables.h"
#include "splitting_by_rescan.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kLongestToRescan = 500; // which takes quadratic time, and nests less than the limit

void require(bool sound) {
    if (!sound) {
        std::abort();
    }
}

std::string
errorOfTokenizing(tavo::MathParser& parser, const std::string& formula, TableOfVariables& variables) {
    try {
        parser.tokenize(formula, &variables);
        return "";
    } catch (const tavo::ScMathException& error) {
        return error.what();
    }
}

std::string splitByRescan(const std::string& formula, std::vector<tavo::MathToken>& tokens) {
    try {
        rescan::split(tavo::MathParser::normalize(formula), tokens);
        return "";
    } catch (const tavo::ScMathException& error) {
        return error.what();
    }
}

// The bits of the value, or the error's message.
template<typename Evaluate> std::string outcomeOf(Evaluate evaluate) {
    try {
        const auto value = evaluate();
        char bytes[sizeof value];
        std::memcpy(bytes, &value, sizeof value);
        return std::string(bytes, sizeof value);
    } catch (const tavo::ScMathException& error) {
        return error.what();
    }
}

void evaluateAsStandard(const std::string& formula, TableOfVariables& variables) {
    tavo::MathParser parser;
    try {
        parser.tokenize(formula, &variables, tavo::Quirks::none());
    } catch (const tavo::ScMathException&) {
        return;
    }
    const auto requireOperands = [](const std::string& outcome) {
        const bool isError = outcome.size() > sizeof(std::int64_t);
        require(!isError || (outcome != "term expected" && outcome.find("integer") == std::string::npos));
    };
    requireOperands(outcomeOf([&] { return parser.evaluateInteger(); }));
    requireOperands(outcomeOf([&] { return parser.evaluateFloat(); }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string formula(reinterpret_cast<const char*>(data), size);
    using tavo::MathValue;
    TableOfVariables variables{
        {"A", MathValue::fromInteger(5)},
        {"B", MathValue::fromInteger(INT64_MIN)},
        {"X", MathValue::fromFloat(-2.5)},
        {"FROM", MathValue::fromInteger(0)}};
    tavo::MathParser parser;
    const std::string error = errorOfTokenizing(parser, formula, variables);
    if (size <= kLongestToRescan) {
        std::vector<tavo::MathToken> tokens;
        require(splitByRescan(formula, tokens) == error);
        require(tokens == parser.tokens());
    }
    const std::string integer = outcomeOf([&] { return parser.evaluateInteger(); });
    const std::string real = outcomeOf([&] { return parser.evaluateFloat(); });
    require(integer == outcomeOf([&] { return parser.evaluateInteger(); }));
    require(real == outcomeOf([&] { return parser.evaluateFloat(); }));
    evaluateAsStandard(formula, variables);
    return 0;
}
