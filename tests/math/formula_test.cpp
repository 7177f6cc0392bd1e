#include "math/MathParser.h"
#include "math/TableOfVariables.h"
#include "util/exceptions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <variant>

namespace {

using tavo::MathParser;
using tavo::MathValue;
using tavo::ScMathException;

constexpr std::int64_t Least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t Most = std::numeric_limits<std::int64_t>::max();

// A number, or the message of an error.
using Outcome = std::variant<std::int64_t, double, std::string>;

Outcome integer(long long value) {
    return std::int64_t{value};
}

template<typename Evaluate> Outcome outcomeOf(Evaluate evaluate) {
    try {
        return evaluate();
    } catch (const ScMathException& error) {
        return std::string(error.what());
    }
}

TableOfVariables someVariables() {
    return {{"A", MathValue::fromInteger(10)},      {"B", MathValue::fromInteger(3)},
            {"C", MathValue::fromInteger(-7)},      {"X", MathValue::fromFloat(2.5)},
            {"Y", MathValue::fromFloat(-0.75)},     {"ZERO", MathValue::fromInteger(0)},
            {"MAX", MathValue::fromInteger(99)},    {"LEAST", MathValue::fromInteger(Least)},
            {"MOST", MathValue::fromInteger(Most)}, {"NEITHER", MathValue::fromInteger(0)},
            {"E", MathValue::fromInteger(4)},       {"HUGE", MathValue::fromFloat(1e300)},
            {"EXP", MathValue::fromInteger(6)},     {"VALUE", MathValue::fromInteger(20)}};
}

Outcome integerOf(const std::string& formula) {
    TableOfVariables variables = someVariables();
    MathParser parser;
    return outcomeOf([&]() -> Outcome {
        parser.tokenize(formula, &variables);
        return parser.evaluateInteger();
    });
}

Outcome floatOf(const std::string& formula) {
    TableOfVariables variables = someVariables();
    MathParser parser;
    return outcomeOf([&]() -> Outcome {
        parser.tokenize(formula, &variables);
        return parser.evaluateFloat();
    });
}

std::string tokensOf(const std::string& formula) {
    MathParser parser;
    std::string text;
    try {
        parser.tokenize(formula, nullptr);
    } catch (const ScMathException& error) {
        text = std::string("! ") + error.what();
    }
    std::string list;
    for (const tavo::MathToken& token : parser.tokens()) {
        list += token.name;
        if (token.kind == tavo::MathTokenKind::Function) {
            list += "/" + std::to_string(token.arguments);
        }
        list += " ";
    }
    return list + text;
}

TEST(Formula, TokensStandInPrefixOrder) {
    const struct {
        const char* formula;
        const char* tokens;
    } rows[] = {
        {"a + b", "_addition/2 A B "},
        {"\tA\r\n+ b_2 ", "_addition/2 A B_2 "},
        {"1-2-3", "_subtraction/2 _subtraction/2 1 2 3 "},
        {"-(3)", "_unary_minus/1 3 "},
        {"+5", "5 "},
        {"2--3", "_subtraction/2 2 _unary_minus/1 3 "},
        {"2*-~+3", "_multiplication/2 2 _unary_minus/1 _binary_not/1 3 "},
        {"-2**2", "_power/2 _unary_minus/1 2 2 "},
        {"1E+5", "1E+5 "},
        {"X+5", "_addition/2 X 5 "},
        {"VALUE+5", "_addition/2 VALUE 5 "},
        {"0X1E+5", "_addition/2 0X1E 5 "},
        {"E+5", "_addition/2 E 5 "},
        {"A?1E-5:(.5E-1)", "_conditional_operator/3 A 1E-5 .5E-1 "},
        {"A?B:C?D:E", "_conditional_operator/3 _conditional_operator/3 A B C D E "},
        {"A&&B||C&&D", "_logical_and/2 _logical_or/2 _logical_and/2 A B C D "},
        {"A<=B<>C>=D", "_logical_relation_greater_or_equal/2 _logical_relation_not_equal/2 "
                       "_logical_relation_less_or_equal/2 A B C D "},
        {"A<<B&C|D^E>>F",
         "_shift_right/2 _binary_xor/2 _binary_or/2 _binary_and/2 _shift_left/2 A B C D E F "},
        {"MAX(A,F(B,2),B)", "MAX/3 A F/2 B 2 B "},
        {"PI()", "PI/0 "},
        {"(1)2", "1) "},
        {"4A", "4A "},
        // errors, with what was found before them
        {"", "! term expected"},
        {" \t\r\n", "! term expected"},
        {"()", "! term expected"},
        {"A+", "_addition/2 A ! term expected"},
        {"F()", "F/1 ! term expected"},
        {"F(A,)", "F/2 A ! term expected"},
        {"SQRT(4", "! bracket error"},
        {"(A+B", "! bracket error"},
        {"A+(B", "_addition/2 A ! bracket error"},
        {"F(A))", "! bracket error"},
        {"4(", "! bracket error"},
        {"_X", "! illegal identifier"},
        {"!A", "! illegal identifier"},
        {"A==B", "_logical_relation_equal/2 _logical_relation_equal/2 A ! term expected"},
        {"A.VALUE", "! illegal identifier"},
        {"\xC3\xA4", "! illegal identifier"},
        {"F((A,B))", "F/1 ! illegal identifier"},
        {"A)", "! illegal identifier"},
        {"A?B?C:D:E", "! syntax error in conditional operator"},
        {"A?B", "! syntax error in conditional operator"},
        {"A?B:(C", "! syntax error in conditional operator"},
        {"A?B:C)", "! syntax error in conditional operator"},
        {"A?:B", "_conditional_operator/3 A ! term expected"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(tokensOf(row.formula), row.tokens) << row.formula;
    }
}

TEST(Formula, Values) {
    const struct {
        const char* formula;
        Outcome asInteger;
        Outcome asFloat;
    } rows[] = {
        // precedence
        {"1|2*3", integer(9), 9.0},
        {"1-2-3", integer(-4), -4.0},
        {"2**3**2", integer(64), 64.0},
        {"-2**2", integer(4), 4.0},
        {"1+2*3", integer(7), 7.0},
        {"100-10*3%7", integer(98), 98.0},
        {"1=1&&2<3", integer(1), 1.0},
        {"1?2:0?4:5", integer(4), 4.0},
        {"0?2:1?4:5", integer(4), 4.0},
        {"1?(0?1:2):3", integer(2), 2.0},
        {"8>>1+1", integer(5), 5.0},
        // literals
        {"0x1F", integer(31), 31.0},
        {"017", integer(15), 15.0},
        {"08", integer(0), 0.0},
        {"4A", integer(4), 4.0},
        {"1.5", integer(1), 1.0},
        {"2E3", integer(2), 2.0},
        {"1E+5", integer(1), 1.0},
        {".5", integer(0), 0.5},
        {".25E+1*2", integer(5), 5.0},
        {"0xFFFFFFFFFFFFFFFF", integer(-1), -1.0},
        {"0x8000000000000000", integer(Least), -0x1p63},
        {"0x10000000000000000", integer(Least), 0x1p64},
        {"9223372036854775807", integer(Most), 0x1p63},
        {"9223372036854775808", integer(Least), 0x1p63},
        {"20000000000000000000/2", integer(Least), 1e19},
        {".", "illegal number", "illegal number"},
        {".5E999", "illegal number", "illegal number"},
        // arithmetic of integers and floats
        {"7/2", integer(3), 3.5},
        {"-7/2", integer(-3), -3.5},
        {"-7%3", integer(-1), -1.0},
        {"A/B*2", integer(6), 20.0 / 3},
        {"2**10", integer(1024), 1024.0},
        {"2**-1", integer(0), 0.5},
        {"2**-1*4", integer(2), 2.0},
        {"3**64", integer(static_cast<std::int64_t>(8733086111712066817u)), std::pow(3, 64)},
        {"A+X", integer(12), 12.5},
        {"X*X", integer(6), 6.25},
        {"X-B", integer(0), -0.5},
        {"X%2", integer(0), 0.5},
        {"X**2", integer(6), 6.25},
        {"X/2*2", integer(2), 2.5},
        {"X>2", integer(1), 1.0},
        {"A=.5*20", integer(1), 1.0},
        {"Y<>Y", integer(0), 0.0},
        {"-X", integer(-2), -2.5},
        {"~A", integer(-11), -11.0},
        {"MOST+1", integer(Least), -0x1p63},
        {"LEAST-1", integer(Most), 0x1p63},
        {"MOST*2", integer(-2), -2.0},
        {"-LEAST", integer(Least), -0x1p63},
        {"LEAST/-1", integer(Least), 0x1p63},
        {"LEAST%-1", integer(0), 0.0},
        {"HUGE", integer(Least), 1e300},
        {"-HUGE", integer(Least), -1e300},
        // shifts take the count modulo 64
        {"1<<4", integer(16), 16.0},
        {"1<<64", integer(1), 1.0},
        {"1<<-1", integer(Least), -0x1p63},
        {"-16>>2", integer(-4), -4.0},
        {"LEAST>>127", integer(-1), -1.0},
        // zero divisors, for floats too
        {"1/0", "division by zero", "division by zero"},
        {"1%ZERO", "division by zero", "division by zero"},
        {"X/0", "division by zero", "division by zero"},
        {"1/-(X-X)", "division by zero", "division by zero"},
        {"X%.0", "division by zero", "division by zero"},
        // only what decides is evaluated
        {"ZERO=0?5:1/ZERO", integer(5), 5.0},
        {"ZERO<>0?1/ZERO:MISSING", "illegal identifier", "illegal identifier"},
        {"0&&1/0", integer(0), 0.0},
        {"7||1/0", integer(1), 1.0},
        {"1&&7", integer(1), 1.0},
        {"0||0||6", integer(1), 1.0},
        {"0||1/0", "division by zero", "division by zero"},
        {"1?2:NONSENSE(1,2,(1/0))", integer(2), 2.0},
        // integers wanted
        {"X?1:2", "condition is float, expected integer", "condition is float, expected integer"},
        {"X&1", "_binary_and function only implemented for integers",
         "_binary_and function only implemented for integers"},
        {"1|X", "_binary_or function only implemented for integers",
         "_binary_or function only implemented for integers"},
        {"X^X", "_binary_xor function only implemented for integers",
         "_binary_xor function only implemented for integers"},
        {"~X", "_binary_not function only implemented for integers",
         "_binary_not function only implemented for integers"},
        {"X&&1", "_logical_and function only implemented for integers",
         "_logical_and function only implemented for integers"},
        {"1&&X", "_logical_and function only implemented for integers",
         "_logical_and function only implemented for integers"},
        {"0||X", "_logical_or function only implemented for integers",
         "_logical_or function only implemented for integers"},
        {"X<<1", "_shift_left function only implemented for integers",
         "_shift_left function only implemented for integers"},
        {"1>>X", "_shift_right function only implemented for integers",
         "_shift_right function only implemented for integers"},
        {"(A/B)&1", integer(1), "_binary_and function only implemented for integers"},
        // functions
        {"SGN(C)+SGN(Y)*10", integer(-11), -11.0},
        {"NEG(A)", integer(-10), -10.0},
        {"ABS(C)", integer(7), 7.0},
        {"ABS(LEAST)", integer(Least), -0x1p63},
        {"ABS(Y)", integer(0), 0.75},
        {"FLOOR(Y)", integer(-1), -1.0},
        {"CEIL(X)", integer(3), 3.0},
        {"TRUNC(Y)", integer(0), -0.0},
        {"ROUND(X)", integer(3), 3.0},
        {"ROUND(-X)", integer(-2), -2.0},
        {"ROUND(MOST)&MOST", integer(Most), 0x1p63},
        {"ROUND(X/2,1)", integer(1), 1.3},
        {"ROUND(1250,-2)&0XFFFF", integer(1300), 1300.0},
        {"ROUND(A,2)", integer(10), 10.0},
        {"ROUND(A,X)", "rounding pricision is float, expected integer",
         "rounding pricision is float, expected integer"},
        {"SQRT(16)", integer(4), 4.0},
        {"SQRT(-1)=SQRT(-1)", integer(0), 0.0},
        {"SQRT(-1)", integer(Least), std::nan("")},
        {"LG(1000)*LN(EXP(2))", integer(6), std::log10(1000.) * std::log(std::exp(2.))},
        {"SIN(1)+COS(1)+TAN(1)", integer(2), std::sin(1.) + std::cos(1.) + std::tan(1.)},
        {"ASIN(1)+ACOS(0)+ATAN(1)", integer(3), std::asin(1.) + std::acos(0.) + std::atan(1.)},
        {"PI", integer(3), 3.141592653589793},
        {"PI()", integer(3), 3.141592653589793},
        {"SQRT(1,2)", "illegal math function", "illegal math function"},
        {"PI(1)", "illegal math function", "illegal math function"},
        {"ROUND(1,2,3)", "illegal math function", "illegal math function"},
        {"MAX(A,B)", "illegal math function", "illegal math function"},
        // variables
        {"max+exp-value+e", integer(89), 89.0},
        {"EXP(0)+EXP", integer(7), 7.0},
        {"MISSING", "illegal identifier", "illegal identifier"},
        {"1+NEITHER", "illegal identifier", "illegal identifier"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(integerOf(row.formula), row.asInteger) << row.formula;
        const Outcome real = floatOf(row.formula);
        const double* expected = std::get_if<double>(&row.asFloat);
        if (expected && std::isnan(*expected)) {
            EXPECT_TRUE(std::isnan(std::get<double>(real))) << row.formula;
        } else if (expected && std::holds_alternative<double>(real)) {
            EXPECT_DOUBLE_EQ(std::get<double>(real), *expected) << row.formula;
        } else {
            EXPECT_EQ(real, row.asFloat) << row.formula;
        }
    }
}

TEST(Formula, AVariableNamedPiComesFirst) {
    TableOfVariables variables{{"PI", MathValue::fromInteger(4)}};
    MathParser parser;
    parser.tokenize("PI*100+FLOOR(PI())", &variables);
    EXPECT_EQ(parser.evaluateInteger(), 403);
}

TEST(Formula, NamesAreLookedUpOnceAndAgainWhenTheTableChanges) {
    TableOfVariables variables{{"A", MathValue::fromInteger(1)}};
    MathParser parser;
    parser.tokenize("A?A+1:LATER", &variables);
    EXPECT_EQ(variables.lookUps, 0); // the table is filled after the formula was read
    EXPECT_EQ(parser.evaluateInteger(), 2);
    EXPECT_EQ(variables.lookUps, 3);
    EXPECT_EQ(variables.reads, 2);
    variables.set("A", MathValue::fromInteger(0));
    EXPECT_THROW(parser.evaluateInteger(), ScMathException);
    EXPECT_EQ(variables.lookUps, 3);
    variables.set("LATER", MathValue::fromFloat(6.5));
    EXPECT_EQ(parser.evaluateFloat(), 6.5);
    EXPECT_EQ(variables.lookUps, 6);
}

TEST(Formula, TokensAccumulateUntilReset) {
    MathParser parser;
    EXPECT_EQ(outcomeOf([&]() -> Outcome { return parser.evaluateFloat(); }), Outcome("empty token queue"));
    EXPECT_THROW(parser.tokenize("1+", nullptr), ScMathException);
    EXPECT_EQ(parser.tokens().size(), 2u);
    EXPECT_EQ(outcomeOf([&]() -> Outcome { return parser.evaluateInteger(); }), Outcome("term expected"));
    parser.tokenize("2*3", nullptr);
    EXPECT_EQ(parser.evaluateInteger(), 7);
    parser.tokenize("100", nullptr);
    EXPECT_EQ(parser.evaluateInteger(), 7); // the first expression counts
    EXPECT_EQ(parser.tokens().size(), 6u);
    parser.reset();
    EXPECT_TRUE(parser.isEmpty());
    EXPECT_EQ(outcomeOf([&]() -> Outcome { return parser.evaluateInteger(); }), Outcome("empty token queue"));
    parser.tokenize("MISSING", nullptr);
    EXPECT_EQ(
        outcomeOf([&]() -> Outcome { return parser.evaluateInteger(); }), Outcome("illegal identifier"));
}

TEST(Formula, ParsersOnDifferentThreadsDoNotMeet) {
    std::vector<std::thread> threads;
    for (std::int64_t n = 0; n < 4; ++n) {
        threads.emplace_back([n] {
            TableOfVariables variables{{"N", MathValue::fromInteger(n)}};
            for (int i = 0; i < 200; ++i) {
                MathParser parser;
                parser.tokenize("N>1?SQRT(N*N)+ROUND(N/2,1):N**2", &variables);
                EXPECT_EQ(parser.evaluateInteger(), n > 1 ? n + n / 2 : n * n);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Formula, PublicHelpers) {
    EXPECT_EQ(MathParser::normalize(" a\t+\r\nbZ9_\v"), "A+BZ9_\v");
    EXPECT_EQ(MathParser::intpow(7, 0), 1);
    EXPECT_EQ(MathParser::intpow(-3, 3), -27);
    EXPECT_EQ(MathParser::intpow(2, 64), 0);
    EXPECT_EQ(MathParser::intpow(2, -1), 0);
    EXPECT_EQ(MathParser::intpow(0, -1), Least);
    EXPECT_DOUBLE_EQ(MathParser::round(3.14159, 2), 3.14);
    EXPECT_DOUBLE_EQ(MathParser::round(-1250, -2), -1200);
}

} // namespace
