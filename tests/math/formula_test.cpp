#include "math/MathParser.h"
#include "math/TableOfVariables.h"
#include "math/traces.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <sstream>
#include <string>

namespace {

using tavo::MathParser;
using tavo::MathValue;
using tavo::Quirks;
using tavo::ScMathException;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

static_assert(Quirks::none() != Quirks());
static_assert(!Quirks::none().integerPrefixLiterals && !Quirks::none().plainNames);

TableOfVariables someVariables() {
    const auto integer = MathValue::fromInteger;
    const auto real = MathValue::fromFloat;
    return {{"A", integer(10)},      {"B", integer(3)},           {"C", integer(-7)},
            {"X", real(2.5)},        {"Y", real(-0.75)},          {"ZERO", integer(0)},
            {"MAX", integer(99)},    {"LEAST", integer(kLeast)},  {"MOST", integer(kMost)},
            {"NEITHER", integer(0)}, {"HUGE", real(1e300)},       {"EXP", integer(6)},
            {"VALUE", integer(20)},  {"WIDTH", integer(640)},     {"WIDTH.MAX", integer(1024)},
            {"MODE.1E", integer(7)}, {"BIG", integer(1LL << 60)}, {"MODE.ENTRY.ON_2", integer(5)}};
}

template<typename Evaluate>
std::string outcomeOf(const std::string& formula, const Quirks& quirks, Evaluate evaluate) {
    TableOfVariables variables = someVariables();
    MathParser parser;
    std::ostringstream text;
    const std::string error = messageOf([&] {
        parser.tokenize(formula, &variables, quirks);
        text << std::setprecision(12) << (parser.*evaluate)() + 0; // without minus zero
    });
    return text.str() + error;
}

// Checks the text that `outcome` makes of each formula in rows of "formula -> text", between which stands a
// semicolon.
template<typename MakeText> void expectTexts(const std::string& rows, MakeText outcome) {
    std::istringstream stream(rows);
    for (std::string row; std::getline(stream >> std::ws, row, ';');) {
        const std::size_t arrow = row.find(" -> ");
        ASSERT_NE(arrow, std::string::npos) << row;
        EXPECT_EQ(outcome(row.substr(0, arrow)), row.substr(arrow + 4)) << row;
    }
}

// A value in 12 digits, or a message; that of the float evaluation behind a bar where it differs.
void expectOutcomes(const std::string& rows, const Quirks& quirks) {
    expectTexts(rows, [&](const std::string& formula) {
        const std::string integer = outcomeOf(formula, quirks, &MathParser::evaluateInteger);
        const std::string real = outcomeOf(formula, quirks, &MathParser::evaluateFloat);
        return integer == real ? integer : integer + " | " + real;
    });
}

TEST(Formula, TokensStandInPrefixOrder) {
    const auto trace = [](const std::string& formula) { return traceOf(formula); };
    expectTexts(
        "a + b -> _addition/2 A B; A\r\n+\tb_2  -> _addition/2 A B_2;"
        "1-2-3 -> _subtraction/2 _subtraction/2 #1 #2 #3; -(3) -> _unary_minus/1 #3; +5 -> #5;"
        "2*-~+3 -> _multiplication/2 #2 _unary_minus/1 _binary_not/1 #3;"
        "-2**2 -> _power/2 _unary_minus/1 #2 #2; 1E+5 -> #1E+5; X+5 -> _addition/2 X #5;"
        "VALUE+5 -> _addition/2 VALUE #5; 0X1E+5 -> _addition/2 #0X1E #5; E+5 -> _addition/2 E #5;"
        "A?1E-5:(.5E-1) -> _conditional_operator/3 A #1E-5 #.5E-1;"
        "A?B:C?D:E -> _conditional_operator/3 _conditional_operator/3 A B C D E;"
        "A<<B&C|D^E>>F -> _shift_right/2 _binary_xor/2 _binary_or/2 _binary_and/2 _shift_left/2 A B C D E F;"
        "MAX(A,F(B,2),B) -> MAX/3 A F/2 B #2 B; PI() -> PI/0; (1)2 -> #1); 4A -> #4A;",
        trace);
    // Errors, with what was found before them.
    expectTexts(
        "() -> ! term expected; A+ -> _addition/2 A ! term expected; F() -> F/1 ! term expected;"
        "F(A,) -> F/2 A ! term expected; SQRT(4 -> ! bracket error; (A+B -> ! bracket error;"
        "A+(B -> _addition/2 A ! bracket error; F(A)) -> ! bracket error; 4( -> ! bracket error;"
        "_X -> ! illegal identifier; !A -> ! illegal identifier;"
        "A==B -> _logical_relation_equal/2 _logical_relation_equal/2 A ! term expected;"
        "A.VALUE -> ! illegal identifier; \xC3\xA4 -> ! illegal identifier;"
        "F((A,B)) -> F/1 ! illegal identifier; A) -> ! illegal identifier;"
        "A?B?C:D:E -> ! syntax error in conditional operator;"
        "A?B -> ! syntax error in conditional operator;"
        "A?B:(C -> ! syntax error in conditional operator;"
        "A?B:C) -> ! syntax error in conditional operator;"
        "A?:B -> _conditional_operator/3 A ! term expected;",
        trace);
    EXPECT_EQ(traceOf(""), "! term expected");
}

TEST(Formula, Values) {
    expectOutcomes(
        // precedence
        "1|2*3 -> 9; 2**3**2 -> 64; -2**2 -> 4; 100-10*3%7 -> 98; 1=1&&2<3 -> 1; 8>>1+1 -> 5;"
        "1?2:0?4:5 -> 4; 0?2:1?4:5 -> 4; 1?(0?1:2):3 -> 2;"
        // literals
        "0x1F -> 31; 017 -> 15; 08 -> 0; 4A -> 4; 1.5 -> 1; 2E3 -> 2; 1E+5 -> 1; .5 -> 0 | 0.5;"
        ".25E+1*2 -> 5; 20000000000000000000/2 -> -9223372036854775808 | 1e+19;"
        // literals that wrap around
        "0xFFFFFFFFFFFFFFFF -> -1; 0x8000000000000000 -> -9223372036854775808 | -9.22337203685e+18;"
        "0x10000000000000000 -> -9223372036854775808 | 1.84467440737e+19;"
        "9223372036854775807 -> 9223372036854775807 | 9.22337203685e+18;"
        "9223372036854775808 -> -9223372036854775808 | 9.22337203685e+18; . -> illegal number;"
        ".5E999 -> illegal number;"
        // kinds
        "7/2 -> 3 | 3.5; -7/2 -> -3 | -3.5; -7%3 -> -1; (X+5)%4 -> 3 | 3.5;"
        "A/B*2 -> 6 | 6.66666666667; A+X -> 12 | 12.5;"
        "2**-1 -> 0 | 0.5; 2**-1*4 -> 2; X%2 -> 0 | 0.5; A=.5*20 -> 1; Y<>Y -> 0;"
        "(A/B)&1 -> 1 | _binary_and function only implemented for integers;"
        // ends of the range
        "MOST+1 -> -9223372036854775808 | -9.22337203685e+18;"
        "LEAST-1 -> 9223372036854775807 | 9.22337203685e+18; MOST*2 -> -2;"
        "-LEAST -> -9223372036854775808 | -9.22337203685e+18;"
        "LEAST/-1 -> -9223372036854775808 | 9.22337203685e+18; LEAST%-1 -> 0;"
        "HUGE -> -9223372036854775808 | 1e+300; -HUGE -> -9223372036854775808 | -1e+300;"
        // shifts
        "1<<64 -> 1; 1<<-1 -> -9223372036854775808 | -9.22337203685e+18; -16>>2 -> -4; LEAST>>127 -> -1;"
        // zero divisors
        "1/0 -> division by zero; 1%ZERO -> division by zero; X/0 -> division by zero;"
        "1/-(X-X) -> division by zero; X%.0 -> division by zero;"
        // only what decides
        "ZERO=0?5:1/ZERO -> 5; ZERO<>0?1/ZERO:MISSING -> illegal identifier; 0&&1/0 -> 0; 7||1/0 -> 1;"
        "0||1/0 -> division by zero; 1?2:NONSENSE(1,2,(1/0)) -> 2;"
        // rounding
        "FLOOR(Y) -> -1; CEIL(X) -> 3; TRUNC(Y) -> 0; ROUND(X) -> 3; ROUND(-X) -> -2;"
        "ROUND(MOST)&MOST -> 9223372036854775807 | 9.22337203685e+18; ROUND(X/2,1) -> 1 | 1.3;"
        "ROUND(A,2) -> 10; ROUND(1250,-2)&0XFFFF -> 1300;"
        "ROUND(A,X) -> rounding pricision is float, expected integer;"
        // functions
        "SGN(C)+SGN(Y)*10 -> -11; NEG(A) -> -10; ABS(C) -> 7;"
        "ABS(LEAST) -> -9223372036854775808 | -9.22337203685e+18; ABS(Y) -> 0 | 0.75; SQRT(16) -> 4;"
        "SQRT(-1)=SQRT(-1) -> 0; LG(1000)*10 -> 30; LN(EXP(2)) -> 2; SIN(1) -> 0 | 0.841470984808;"
        "COS(1) -> 0 | 0.540302305868; TAN(1) -> 1 | 1.55740772465; ASIN(1) -> 1 | 1.57079632679;"
        "ATAN(1)*4 -> 3 | 3.14159265359; ACOS(0) -> 1 | 1.57079632679; PI -> 3 | 3.14159265359;"
        "PI() -> 3 | 3.14159265359;"
        // no functions
        "SQRT(1,2) -> illegal math function; PI(1) -> illegal math function;"
        "ROUND(1,2,3) -> illegal math function; MAX(A,B) -> illegal math function;"
        // variables
        "max+exp-value -> 85; EXP(0)+EXP -> 7; MISSING -> illegal identifier;"
        "1+NEITHER -> illegal identifier;",
        Quirks());
}

// As the GenICam standard has them.
TEST(Formula, ValuesWithoutQuirks) {
    expectOutcomes(
        // literals
        "1.5*2 -> 2 | 3; 1E3 -> 1000; 25E-1 -> 2 | 2.5; 4. -> 4; 010 -> 10; 08 -> 8; 0x10 -> 16;"
        "0xFFFFFFFFFFFFFFFF -> -1; 0x10000000000000000 -> -9223372036854775808 | 1.84467440737e+19;"
        "4A -> illegal number; 0X -> illegal number; 0X1G -> illegal number; 1E -> illegal number;"
        "1.2.3 -> illegal number; (1)2 -> illegal number;"
        // precedence
        "2*3**2 -> 18; 2**3**2 -> 512; 2*2**1**3*2 -> 8; 2**2**(1 -> bracket error; -2**2 -> 4; 1+2*3 -> 7; "
        "1<<2+1 -> 8; 1<4>>1 -> 1; 5=5<1 -> 0; 6&2=2 -> 0;"
        "1^3&2 -> 3; 3|1^1 -> 3; 0|2&&1 -> 1; 1||1&&0 -> 1; 64>>2>>1 -> 8;"
        // conditionals
        "0?2:0?4:5 -> 5; 0?1?1:2:1?3+1:4 -> 4; 1?1?1?1:2:3:4 -> 1; ZERO?1/ZERO:1?A:1/ZERO -> 10;"
        "A?B -> syntax error in conditional operator; A?B?1:2 -> syntax error in conditional operator;"
        "A?B:1:2 -> syntax error in conditional operator; A:B -> syntax error in conditional operator;"
        "A?(B:1 -> syntax error in conditional operator; A?B:(1 -> bracket error; A?:B -> term expected;"
        "A?B: -> term expected;"
        // one kind throughout
        "7/2*2 -> 6 | 7; X*2 -> 4 | 5; 2**-1*4 -> 0 | 2; SQRT(2)*SQRT(2)<2 -> 1 | 0; X&7 -> 2; X<<1.9 -> 4;"
        "7/2^1 -> 2; ~X -> -3; X|.5 -> 2; A%4.5 -> 2 | 1; X-2?3:4 -> 4 | 3; .5&&1 -> 0 | 1; 0||.5 -> 0 | 1;"
        "(A>B)+.5 -> 1 | 1.5; ROUND(X/2,1.9) -> 1 | 1.3; ROUND(X) -> 2 | 3; BIG+1-BIG -> 1 | 0;"
        "LEAST-1>0 -> 1 | 0; 1/ZERO -> division by zero; 1%.5 -> division by zero | 0; ZERO&&1/ZERO -> 0;"
        "1+NEITHER -> illegal identifier;"
        // symbols
        "A==10 -> 1; A!=-10 -> 1; A!=10 -> 0; A<>10==0 -> 1; A===B -> term expected;"
        "!A -> illegal identifier; PI -> 3 | 3.14159265359; E -> 2 | 2.71828182846;"
        "E()+5 -> 7 | 7.71828182846; E(1) -> illegal math function;"
        // blanks
        "1 0 -> illegal identifier; A B -> illegal identifier; 1 . 5 -> illegal identifier;"
        "3 > = 2 -> illegal identifier; 2 *\t* 3 -> illegal identifier; A ! = B -> illegal identifier;"
        "3 * - 2 + ABS ( - 1 ) -> -5; 3 = - 3 -> 0;"
        // names
        "Width.Max-Width -> 384; Mode.Entry.On_2 = 5 ? 1 : 2 -> 1; MODE.1E+1 -> 8;"
        "WIDTH.MIN -> illegal identifier; WIDTH.MAX(1) -> illegal math function;",
        Quirks::none());
}

TEST(Formula, EachQuirkStandsAlone) {
    const struct {
        bool Quirks::*member;
        const char* kept;
        const char* standard;
    } rows[] = {
        {&Quirks::integerPrefixLiterals, "2.5+0 -> 2", "2.5+0 -> 2 | 2.5"},
        {&Quirks::ownPrecedence, "1|2*3 -> 9", "1|2*3 -> 7"},
        {&Quirks::leftConditionals, "1?2:0?4:5 -> 4", "1?2:0?4:5 -> 2"},
        {&Quirks::leftPowers, "2**3**2 -> 64", "2**3**2 -> 512"},
        {&Quirks::blanksJoin, "1 0 -> 10", "1 0 -> illegal identifier"},
        {&Quirks::ownKinds, "X&7 -> _binary_and function only implemented for integers", "X&7 -> 2"},
        {&Quirks::fewerSymbols, "A!=B -> illegal identifier", "A!=B -> 1"},
        {&Quirks::fewerSymbols, "TRUNC(E) -> illegal identifier", "TRUNC(E) -> 2"},
        {&Quirks::plainNames, "WIDTH.MAX -> illegal identifier", "WIDTH.MAX -> 1024"},
    };
    for (const auto& row : rows) {
        Quirks quirks;
        expectOutcomes(row.kept, quirks);
        quirks.*row.member = false;
        expectOutcomes(row.standard, quirks);
        quirks = Quirks::none();
        quirks.*row.member = true;
        expectOutcomes(row.kept, quirks);
    }
}

// As a node with named constants and expressions provides them: the expression is a formula of its own.
class VariablesWithExpression : public TableOfVariables {
public:
    using TableOfVariables::TableOfVariables;
    int resolveVariable(std::string_view name) override {
        return name == "HALF" ? kExpressionSlot : TableOfVariables::resolveVariable(name);
    }
    MathValue getVariable(int slot) override {
        return slot == kExpressionSlot ? MathValue::fromFloat(expression.evaluateFloat())
                                       : TableOfVariables::getVariable(slot);
    }
    MathParser expression;

private:
    static constexpr int kExpressionSlot = 1000;
};

TEST(Formula, AVariableMayBeAFormulaAndHidesAConstant) {
    VariablesWithExpression variables{
        {"A", MathValue::fromInteger(5)},
        {"E", MathValue::fromInteger(4)},
        {"PI", MathValue::fromInteger(6)}};
    variables.expression.tokenize("A/2", &variables, Quirks::none());
    MathParser parser;
    parser.tokenize("Half*A+half+E", &variables, Quirks::none());
    EXPECT_EQ(parser.evaluateFloat(), 19.);
    parser.reset(); // the quirks go with the formula
    parser.tokenize("1.5+PI*100+FLOOR(PI())", &variables);
    EXPECT_EQ(parser.evaluateFloat(), 604.);
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
    EXPECT_EQ(messageOf([&] { parser.evaluateFloat(); }), "empty token queue");
    EXPECT_THROW(parser.tokenize("1+", nullptr), ScMathException);
    EXPECT_EQ(messageOf([&] { parser.evaluateInteger(); }), "term expected");
    parser.tokenize("2*3", nullptr);
    EXPECT_EQ(parser.evaluateInteger(), 7);
    parser.tokenize("100", nullptr);
    EXPECT_EQ(parser.evaluateInteger(), 7); // the first expression counts
    parser.reset();
    EXPECT_TRUE(parser.isEmpty());
    EXPECT_EQ(messageOf([&] { parser.evaluateInteger(); }), "empty token queue");
    parser.tokenize("MISSING", nullptr);
    EXPECT_EQ(messageOf([&] { parser.evaluateInteger(); }), "illegal identifier");
}

TEST(Formula, PublicHelpers) {
    EXPECT_EQ(MathParser::normalize(" a\t+\r\nbZ9_\v"), "A+BZ9_\v");
    EXPECT_EQ(MathParser::intpow(7, 0), 1);
    EXPECT_EQ(MathParser::intpow(-3, 3), -27);
    EXPECT_EQ(MathParser::intpow(2, 64), 0);
    EXPECT_EQ(MathParser::intpow(2, -1), 0);
    EXPECT_EQ(MathParser::intpow(0, -1), kLeast);
    EXPECT_DOUBLE_EQ(MathParser::round(3.14159, 2), 3.14);
    EXPECT_DOUBLE_EQ(MathParser::round(-1250, -2), -1200);
}

} // namespace
