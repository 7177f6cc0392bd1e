// Formulas made to hurt: long, deep, and broken off at every place; and what evaluating one may not cost.
#include "math/MathParser.h"
#include "math/TableOfVariables.h"
#include "math/limits.h"
#include "math/traces.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

namespace {

thread_local std::size_t allocations = 0;

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size > 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using tavo::MathParser;

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

std::string nested(const std::string& before, std::size_t depth, const std::string& after) {
    return repeated(before, depth) + "1" + repeated(after, depth);
}

std::string resultOf(const std::string& formula, const tavo::Quirks& quirks = {}) {
    MathParser parser;
    std::string value;
    const std::string error = messageOf([&] {
        parser.tokenize(formula, nullptr, quirks);
        value = std::to_string(parser.evaluateInteger());
    });
    return value + error;
}

TEST(FormulaLimits, HugeFormulasEndInAValueOrAnErrorAtOnce) {
    constexpr std::size_t kFull = tavo::math::kLengthLimit;
    const std::size_t deepest = tavo::math::kNestingLimit;
    const struct {
        const char* name;
        std::string formula;
        const char* result;
    } rows[] = {
        {"brackets at the limit", nested("(", deepest, ")"), "1"},
        {"brackets beyond it", nested("(", deepest + 1, ")"), "bracket error"},
        {"brackets to the full length", nested("(", kFull / 2 - 1, ")"), "bracket error"},
        {"unclosed brackets", std::string(kFull, '('), "bracket error"},
        {"calls at the limit", nested("ABS(", deepest, ")"), "1"},
        {"calls beyond it", nested("ABS(", deepest + 1, ")"), "bracket error"},
        {"signs", std::string(kFull - 1, '-') + "1", "-1"},
        {"a sum", "1" + repeated("+1", kFull / 2 - 1), "32768"},
        {"conditionals", "1" + repeated("?2:3", kFull / 4 - 1), "2"},
        {"values waiting", nested("1+1*1**(1|", 60, ")"), "2"},
        {"too many values waiting", nested("1+1*1**(1|", 100, ")"), "bracket error"},
        {"a call with many arguments", "F(1" + repeated(",1", kFull / 2 - 2) + ")", "illegal math function"},
        {"exponents", "1" + repeated("E+1", kFull / 3 - 1), "1"},
        {"digits", std::string(kFull, '1'), "illegal number"},
        {"blanks do not count", std::string(10 * kFull, ' ') + "1", "1"},
        {"longer than the limit", std::string(kFull, '+') + "1", "term expected"},
        {"as long as the limit", std::string(kFull - 1, '+') + "1", "1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(resultOf(row.formula), row.result) << row.name;
    }
    for (const std::string& formula :
         {repeated("0?1:", 16000) + "7", repeated("1?", 16000) + "7" + repeated(":2", 16000)}) {
        EXPECT_EQ(resultOf(formula, tavo::Quirks::none()), "7");
    }
}

TEST(FormulaLimits, EvaluatingAllocatesNothing) {
    TableOfVariables variables{{"A", tavo::MathValue::fromInteger(3)}, {"X", tavo::MathValue::fromFloat(.5)}};
    for (const std::string& formula :
         {std::string("A>2&&X<1?ROUND(SQRT(A)/3,2)+PI():~A"), nested("1+1*1**(1|", 60, ")")}) {
        MathParser parser;
        parser.tokenize(formula, &variables);
        const std::size_t before = allocations;
        EXPECT_GT(parser.evaluateInteger(), 0);
        EXPECT_GT(parser.evaluateFloat(), 0);
        EXPECT_EQ(allocations, before) << formula;
    }
}

} // namespace
