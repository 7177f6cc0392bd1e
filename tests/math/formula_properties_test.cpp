// Random formulas against slower models written from the same rules.
#include "liomol/exceptions.h"
#include "math/MathParser.h"
#include "math/traces.h"

#include "../fuzz/splitting_by_rescan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using tavo::Quirks;

constexpr unsigned kSeed = 20261121;

class Random {
public:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_engine);
    }
    template<typename T> const T& oneOf(const std::vector<T>& values) { return values[below(values.size())]; }

private:
    std::mt19937 m_engine{kSeed};
};

TEST(FormulaProperties, TokensAreThoseOfSplittingByRescanning) {
    const std::vector<std::string> pieces = {
        "1", "0X1E", "2E", "1E", ".5", ".", "A",  "E",  "B_1", "PI", "_",  "(",  "(",  "(",  ")",  ")",
        ")", ",",    "?",  ":",  "?",  ":", "&&", "||", "=",   "<>", "<",  ">",  "<=", ">=", "+",  "-",
        "*", "/",    "%",  "**", "&",  "|", "^",  "<<", ">>",  "~",  "F(", "1+", "A*", "()", "B)", "(A-"};
    Random random;
    for (int i = 0; i < 60000; ++i) {
        std::string formula;
        for (std::size_t length = random.below(14) + 1; length > 0; --length) {
            formula += random.oneOf(pieces);
        }
        std::vector<tavo::MathToken> tokens;
        const std::string error = messageOf([&] { rescan::split(formula, tokens); });
        ASSERT_EQ(traceOf(formula), traceOf(tokens, error)) << formula;
    }
}

// From the tightest level to the loosest.
const std::vector<std::vector<std::string>> StandardLevels = {
    {"**"}, {"*", "/", "%"}, {"+", "-"}, {"<<", ">>"}, {"<=", ">=", "<", ">"}, {"==", "!=", "=", "<>"}, {"&"},
    {"^"},  {"|"},           {"&&"},     {"||"}};

// A pair of brackets for every operator of a formula in parts: operand, operator, operand and so on.
std::string bracketed(std::vector<std::string> parts) {
    const auto join = [&parts](std::size_t i) {
        parts[i - 1] = "(" + parts[i - 1] + parts[i] + parts[i + 1] + ")";
        parts.erase(parts.begin() + static_cast<long>(i), parts.begin() + static_cast<long>(i + 2));
    };
    for (std::size_t i = parts.size(); i-- > 1;) { // powers group to the right
        if (parts[i] == "**") {
            join(i);
        }
    }
    for (const std::vector<std::string>& level : StandardLevels) {
        for (std::size_t i = 1; i < parts.size();) {
            if (std::ranges::count(level, parts[i]) == 0) {
                i += 2;
                continue;
            }
            join(i);
        }
    }
    return parts[0];
}

TEST(FormulaProperties, StandardOperatorsGroupByTheirLevels) {
    const std::vector<std::string> operands = {"1", "2.5E-3", "B.C", "F(A,0X1E)", "-A", "~-1", "(1?A:2)"};
    Random random;
    for (int i = 0; i < 20000; ++i) {
        std::vector<std::string> parts = {random.oneOf(operands)};
        for (std::size_t more = random.below(12); more > 0; --more) {
            parts.push_back(random.oneOf(random.oneOf(StandardLevels)));
            parts.push_back(random.oneOf(operands));
        }
        const std::string text = std::accumulate(parts.begin(), parts.end(), std::string());
        ASSERT_EQ(traceOf(text, Quirks::none()), traceOf(bracketed(parts), Quirks::none())) << text;
    }
}

} // namespace
