// Formulas as the GenICam standard has them: without the quirks of this system.
#include "math/MathParser.h"
#include "math/TableOfVariables.h"
#include "math/descent.h"
#include "util/exceptions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <string>
#include <string_view>
#include <variant>

namespace {

using tavo::MathParser;
using tavo::MathValue;
using tavo::Quirks;
using tavo::ScMathException;

constexpr std::int64_t Least = std::numeric_limits<std::int64_t>::min();

static_assert(Quirks::none() != Quirks());
static_assert(!Quirks::none().integerPrefixLiterals && !Quirks::none().plainNames);

// A number, or the message of an error.
using Outcome = std::variant<double, std::string>;

// In both evaluations; the integer one as a double, too.
struct Outcomes {
    Outcome asInteger;
    Outcome asFloat;
};

Outcomes outcomesOf(const std::string& formula, const Quirks& quirks) {
    TableOfVariables variables{
        {"A", MathValue::fromInteger(10)},        {"B", MathValue::fromInteger(3)},
        {"X", MathValue::fromFloat(2.5)},         {"ZERO", MathValue::fromInteger(0)},
        {"WIDTH", MathValue::fromInteger(640)},   {"WIDTH.MAX", MathValue::fromInteger(1024)},
        {"MODE.1E", MathValue::fromInteger(7)},   {"MODE.ENTRY.ON_2", MathValue::fromInteger(5)},
        {"LEAST", MathValue::fromInteger(Least)}, {"B.C", MathValue::fromInteger(3)},
        {"NEITHER", MathValue::fromInteger(0)},   {"BIG", MathValue::fromInteger(1LL << 60)}};
    const auto outcomeOf = [&](auto evaluate) -> Outcome {
        MathParser parser;
        try {
            parser.tokenize(formula, &variables, quirks);
            return static_cast<double>(evaluate(parser));
        } catch (const ScMathException& error) {
            return std::string(error.what());
        }
    };
    return {
        outcomeOf([](MathParser& parser) { return parser.evaluateInteger(); }),
        outcomeOf([](MathParser& parser) { return parser.evaluateFloat(); })};
}

TEST(StandardFormula, Values) {
    const struct {
        const char* formula;
        Outcome asInteger;
        Outcome asFloat;
    } rows[] = {
        // literals
        {"1.5", 1., 1.5},
        {"1.5*2", 2., 3.},
        {"1E3", 1000., 1000.},
        {"25E-1", 2., 2.5},
        {"4.", 4., 4.},
        {"010", 10., 10.},
        {"08", 8., 8.},
        {"0x10", 16., 16.},
        {"0xFFFFFFFFFFFFFFFF", -1., -1.},
        {"0x10000000000000000", -0x1p63, 0x1p64},
        {"9223372036854775808", -0x1p63, 0x1p63},
        {"4A", "illegal number", "illegal number"},
        {"0X", "illegal number", "illegal number"},
        {"0X1G", "illegal number", "illegal number"},
        {"1E", "illegal number", "illegal number"},
        {"1.2.3", "illegal number", "illegal number"},
        {"(1)2", "illegal number", "illegal number"},
        // precedence: every neighbouring pair of levels, and grouping
        {"2*3**2", 18., 18.},
        {"-2**2", 4., 4.},
        {"2**3**2", 64., 64.},
        {"1+2*3", 7., 7.},
        {"1<<2+1", 8., 8.},
        {"1<4>>1", 1., 1.},
        {"5=5<1", 0., 0.},
        {"6&2=2", 0., 0.},
        {"1^3&2", 3., 3.},
        {"3|1^1", 3., 3.},
        {"0|2&&1", 1., 1.},
        {"1||1&&0", 1., 1.},
        {"0&&0||1", 1., 1.},
        {"1|2*3", 7., 7.},
        {"100-10-1", 89., 89.},
        {"64>>2>>1", 8., 8.},
        // conditionals group to the right
        {"1?2:0?4:5", 2., 2.},
        {"0?2:0?4:5", 5., 5.},
        {"1?0?1:2:3", 2., 2.},
        {"0?1?1:2:1?3+1:4", 4., 4.},
        {"1?1?1?1:2:3:4", 1., 1.},
        {"ZERO?1/ZERO:1?A:1/ZERO", 10., 10.},
        {"A?B", "syntax error in conditional operator", "syntax error in conditional operator"},
        {"A?B?1:2", "syntax error in conditional operator", "syntax error in conditional operator"},
        {"A?B:1:2", "syntax error in conditional operator", "syntax error in conditional operator"},
        {"A:B", "syntax error in conditional operator", "syntax error in conditional operator"},
        {"A?(B:1", "syntax error in conditional operator", "syntax error in conditional operator"},
        {"A?B:(1", "bracket error", "bracket error"},
        {"A?:B", "term expected", "term expected"},
        {"A?B:", "term expected", "term expected"},
        // kinds: one of them throughout
        {"7/2*2", 6., 7.},
        {"X*2", 4., 5.},
        {"2**-1*4", 0., 2.},
        {"SQRT(2)*SQRT(2)<2", 1., 0.},
        {"X&7", 2., 2.},
        {"X<<1.9", 4., 4.},
        {"7/2^1", 2., 2.},
        {"~X", -3., -3.},
        {"X|.5", 2., 2.},
        {"A%4.5", 2., 1.},
        {"X-2?3:4", 4., 3.},
        {".5&&1", 0., 1.},
        {"0||.5", 0., 1.},
        {"(A>B)+.5", 1., 1.5},
        {"ROUND(X/2,1.9)", 1., 1.3},
        {"ROUND(X)", 2., 3.},
        {"BIG+1-BIG", 1., 0.},
        {"LEAST-1>0", 1., 0.},
        {"1/ZERO", "division by zero", "division by zero"},
        {"1%.5", "division by zero", 0.},
        {"ZERO&&1/ZERO", 0., 0.},
        {"1+NEITHER", "illegal identifier", "illegal identifier"},
        // symbols
        {"A==10", 1., 1.},
        {"A!=-10", 1., 1.},
        {"A!=10", 0., 0.},
        {"A<>10==0", 1., 1.},
        {"A===B", "term expected", "term expected"},
        {"!A", "illegal identifier", "illegal identifier"},
        {"PI", 3., 3.141592653589793},
        {"E", 2., 2.718281828459045},
        {"E()+5", 7., 7.718281828459045},
        {"E(1)", "illegal math function", "illegal math function"},
        // names
        {"Width.Max-Width", 384., 384.},
        {"Mode.Entry.On_2 = 5 ? 1 : 2", 1., 1.},
        {"MODE.1E+1", 8., 8.},
        {"WIDTH.MIN", "illegal identifier", "illegal identifier"},
        {"WIDTH.MAX(1)", "illegal math function", "illegal math function"},
    };
    for (const auto& row : rows) {
        const Outcomes found = outcomesOf(row.formula, Quirks::none());
        EXPECT_EQ(found.asInteger, row.asInteger) << row.formula;
        EXPECT_EQ(found.asFloat, row.asFloat) << row.formula;
    }
}

TEST(StandardFormula, EachQuirkStandsAlone) {
    const struct {
        const char* name;
        bool Quirks::*member;
        const char* formula;
        Outcome kept;
        Outcome standard;
    } rows[] = {
        {"literals", &Quirks::integerPrefixLiterals, "2.5+0", 2., 2.5},
        {"precedence", &Quirks::ownPrecedence, "1|2*3", 9., 7.},
        {"conditionals", &Quirks::leftConditionals, "1?2:0?4:5", 4., 2.},
        {"kinds", &Quirks::ownKinds, "X&7", "_binary_and function only implemented for integers", 2.},
        {"symbols", &Quirks::fewerSymbols, "A!=B", "illegal identifier", 1.},
        {"Euler's number", &Quirks::fewerSymbols, "TRUNC(E)", "illegal identifier", 2.},
        {"names", &Quirks::plainNames, "WIDTH.MAX", "illegal identifier", 1024.},
    };
    for (const auto& row : rows) {
        Quirks quirks;
        quirks.*row.member = false;
        EXPECT_EQ(outcomesOf(row.formula, Quirks()).asFloat, row.kept) << row.name;
        EXPECT_EQ(outcomesOf(row.formula, quirks).asFloat, row.standard) << row.name;
        quirks = Quirks::none();
        quirks.*row.member = true;
        EXPECT_EQ(outcomesOf(row.formula, quirks).asFloat, row.kept) << row.name;
    }
}

// As a node with named constants and expressions provides them: the expression is a formula of its own.
class VariablesWithExpression : public TableOfVariables {
public:
    using TableOfVariables::TableOfVariables;
    int resolveVariable(std::string_view name) override {
        return name == "HALF" ? ExpressionSlot : TableOfVariables::resolveVariable(name);
    }
    MathValue getVariable(int slot) override {
        return slot == ExpressionSlot ? MathValue::fromFloat(expression.evaluateFloat())
                                      : TableOfVariables::getVariable(slot);
    }
    MathParser expression;

private:
    static constexpr int ExpressionSlot = 1000;
};

TEST(StandardFormula, AVariableMayBeAFormula) {
    VariablesWithExpression variables{{"A", MathValue::fromInteger(5)}, {"E", MathValue::fromInteger(4)}};
    variables.expression.tokenize("A/2", &variables, Quirks::none());
    MathParser parser;
    parser.tokenize("Half*A+half+E", &variables, Quirks::none());
    EXPECT_EQ(parser.evaluateFloat(), 19.);
    parser.reset(); // the quirks go with the formula
    parser.tokenize("1.5", &variables);
    EXPECT_EQ(parser.evaluateFloat(), 1.);
}

TEST(StandardFormula, LongConditionalsTakeNeitherStackNorTime) {
    std::string chain;
    std::string begins;
    std::string ends;
    for (int i = 0; i < 16000; ++i) {
        chain += "0?1:";
        begins += "1?";
        ends += ":2";
    }
    const std::string formulas[] = {chain + "7", begins + "7" + ends};
    for (const std::string& formula : formulas) {
        EXPECT_EQ(outcomesOf(formula, Quirks::none()).asInteger, Outcome(7.));
    }
}

template<typename Number> Outcome outcomeByDescent(const descent::Words& words) {
    descent::Descent<Number> descent(words);
    const auto value = static_cast<double>(descent.formula());
    return descent.hasDivided() ? Outcome("division by zero") : Outcome(value);
}

bool isSame(const Outcome& a, const Outcome& b) {
    const double* x = std::get_if<double>(&a);
    const double* y = std::get_if<double>(&b);
    return a == b || (x && y && std::isnan(*x) && std::isnan(*y));
}

TEST(StandardFormula, ValuesAreThoseOfRecursiveDescent) {
    descent::WordMaker maker;
    int values = 0;
    for (int i = 0; i < 20000; ++i) {
        const descent::Words words = maker.make();
        const std::string text = std::accumulate(words.begin(), words.end(), std::string());
        const Outcomes found = outcomesOf(text, Quirks::none());
        const Outcome integer = outcomeByDescent<std::int64_t>(words);
        const Outcome real = outcomeByDescent<double>(words);
        ASSERT_TRUE(isSame(found.asInteger, integer))
            << text << " is " << testing::PrintToString(found.asInteger) << ", not "
            << testing::PrintToString(integer);
        ASSERT_TRUE(isSame(found.asFloat, real)) << text << " is " << testing::PrintToString(found.asFloat)
                                                 << ", not " << testing::PrintToString(real);
        values += std::holds_alternative<double>(real) ? 1 : 0;
    }
    EXPECT_GT(values, 10000); // not all of them errors
}

} // namespace
