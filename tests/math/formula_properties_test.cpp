// Random formulas against slower models written from the same rules.
#include "math/MathLiteral.h"
#include "math/MathParser.h"
#include "math/TableOfVariables.h"
#include "math/splitting_by_rescan.h"
#include "util/exceptions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using tavo::MathParser;
using tavo::MathValue;
using tavo::ScMathException;

constexpr unsigned Seed = 20261121;

class Random {
public:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_engine);
    }
    template<typename T> const T& oneOf(const std::vector<T>& values) { return values[below(values.size())]; }

private:
    std::mt19937 m_engine{Seed};
};

// Tokens and error as one text, so that a difference can be read.
template<typename Tokenize> std::string traceOf(Tokenize tokenize) {
    std::vector<tavo::MathToken> tokens;
    std::string error;
    try {
        tokenize(tokens);
    } catch (const ScMathException& exception) {
        error = exception.what();
    }
    std::string trace;
    for (const tavo::MathToken& token : tokens) {
        trace += token.name + "/" + std::to_string(static_cast<int>(token.kind)) + "/" +
                 std::to_string(token.arguments) + " ";
    }
    return trace + error;
}

void expectSameTokens(const std::string& formula) {
    const std::string expected =
        traceOf([&](std::vector<tavo::MathToken>& tokens) { rescan::split(formula, tokens); });
    const std::string found = traceOf([&](std::vector<tavo::MathToken>& tokens) {
        MathParser parser;
        try {
            parser.tokenize(formula, nullptr);
        } catch (const ScMathException&) {
            tokens = parser.tokens();
            throw;
        }
        tokens = parser.tokens();
    });
    ASSERT_EQ(found, expected) << formula;
}

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
        expectSameTokens(formula);
        if (HasFatalFailure()) {
            return;
        }
    }
}

#ifdef __SIZEOF_INT128__ // the models count in 128 bits
// A formula and its value by the rules, made together; "" as the error means that there is a value.
struct Model {
    std::string text;
    MathValue value;
    std::string error;

    bool isInteger() const { return value.isInteger(); }
};

class ModelMaker {
public:
    ModelMaker(Random& random, bool isFloatEvaluation, const TableOfVariables& variables)
        : m_random(random), m_isFloatEvaluation(isFloatEvaluation), m_variables(variables) {}

    Model make(unsigned depth) {
        const std::size_t choice = depth == 0 ? 0 : m_random.below(10);
        if (choice < 2) {
            return makeLeaf();
        }
        if (choice == 2) {
            return makeConditional(depth - 1);
        }
        if (choice == 3) {
            return makeDecision(depth - 1);
        }
        if (choice == 4) {
            return makeUnary(depth - 1);
        }
        return makeBinary(depth - 1);
    }

private:
    Model makeLeaf() {
        static const std::vector<std::pair<std::string, MathValue>> literals = {
            {"0", MathValue::fromInteger(0)},     {"1", MathValue::fromInteger(1)},
            {"63", MathValue::fromInteger(63)},   {"0X7FFFFFFFFFFFFFFF", MathValue::fromInteger(INT64_MAX)},
            {"4.75", MathValue::fromInteger(4)},  {".75", MathValue::fromFloat(0.75)},
            {".5E+3", MathValue::fromFloat(500)}, {"0XFFFFFFFFFFFFFFFF", MathValue::fromInteger(-1)}};
        static const std::vector<std::string> names = {"A", "B", "X", "Y", "LEAST", "NOWHERE"};
        if (m_random.below(2) == 0) {
            const auto& [text, value] = m_random.oneOf(literals);
            return {text, value, ""};
        }
        const std::string& name = m_random.oneOf(names);
        TableOfVariables variables = m_variables;
        const int slot = variables.resolveVariable(name);
        if (slot < 0) {
            return {name, MathValue::fromInteger(0), "illegal identifier"};
        }
        return {name, variables.getVariable(slot), ""};
    }

    Model makeConditional(unsigned depth) {
        const Model condition = make(depth);
        const Model yes = make(depth);
        const Model no = make(depth);
        const std::string text = "(" + condition.text + "?" + yes.text + ":" + no.text + ")";
        // Conditionals in the parts are in brackets of their own, so the text splits as it was made.
        if (!condition.error.empty()) {
            return {text, {}, condition.error};
        }
        if (!condition.isInteger()) {
            return {text, {}, "condition is float, expected integer"};
        }
        const Model& taken = condition.value.integer != 0 ? yes : no;
        return {text, taken.value, taken.error};
    }

    Model makeDecision(unsigned depth) {
        const bool isAnd = m_random.below(2) == 0;
        const Model left = make(depth);
        const Model right = make(depth);
        const std::string text = "(" + left.text + (isAnd ? "&&" : "||") + right.text + ")";
        const std::string name = isAnd ? "_logical_and" : "_logical_or";
        const std::string wrongKind = name + " function only implemented for integers";
        if (!left.error.empty()) {
            return {text, {}, left.error};
        }
        if (!left.isInteger()) {
            return {text, {}, wrongKind};
        }
        if ((left.value.integer != 0) != isAnd) {
            return {text, MathValue::fromInteger(!isAnd), ""};
        }
        if (!right.error.empty()) {
            return {text, {}, right.error};
        }
        if (!right.isInteger()) {
            return {text, {}, wrongKind};
        }
        return {text, MathValue::fromInteger(right.value.integer != 0), ""};
    }

    Model makeUnary(unsigned depth) {
        const Model x = make(depth);
        const auto model = [&x](const std::string& before, MathValue value) {
            return Model{"(" + before + "(" + x.text + "))", value, x.error};
        };
        switch (m_random.below(4)) {
        case 0:
            return model("-", x.isInteger() ? difference(0, x.value.integer) : real(-x.value.real));
        case 1:
            return model("CEIL", x.isInteger() ? x.value : real(std::ceil(x.value.real)));
        case 2:
            return model("SQRT", real(std::sqrt(x.value.toFloat())));
        default:
            Model complement = model("~", MathValue::fromInteger(-1 - (x.isInteger() ? x.value.integer : 0)));
            if (x.error.empty() && !x.isInteger()) {
                complement.error = "_binary_not function only implemented for integers";
            }
            return complement;
        }
    }

    Model makeBinary(unsigned depth) {
        static const std::vector<std::string> operators = {"+",  "-",  "*", "/",  "%", "**", "&",  "|", "^",
                                                           "<<", ">>", "=", "<>", "<", ">",  "<=", ">="};
        const std::string& name = m_random.oneOf(operators);
        const Model left = make(depth);
        const Model right = make(depth);
        Model result{
            "(" + left.text + name + right.text + ")", {}, left.error.empty() ? right.error : left.error};
        if (!result.error.empty()) {
            return result;
        }
        if (left.isInteger() && right.isInteger()) {
            combineIntegers(name, left.value.integer, right.value.integer, result);
        } else {
            combineFloats(name, left.value.toFloat(), right.value.toFloat(), result);
        }
        return result;
    }

    // In 128 bits, cut to 64 at the end.
    void combineIntegers(const std::string& name, std::int64_t a, std::int64_t b, Model& result) const {
        const Wide wideA = a;
        const Wide wideB = b;
        if ((name == "/" || name == "%") && b == 0) {
            result.error = "division by zero";
        } else if ((name == "/" || name == "**") && (m_isFloatEvaluation || (name == "**" && b < 0))) {
            combineFloats(name, static_cast<double>(a), static_cast<double>(b), result);
        } else if (name == "**") {
            result.value = cut(powerByHalving(static_cast<std::uint64_t>(a), b));
        } else if (const int relation = relationOf(name, a, b); relation >= 0) {
            result.value = MathValue::fromInteger(relation);
        } else {
            result.value =
                cut(name == "+"    ? wideA + wideB
                    : name == "-"  ? wideA - wideB
                    : name == "*"  ? wideA * wideB
                    : name == "/"  ? wideA / wideB
                    : name == "%"  ? wideA % wideB
                    : name == "&"  ? wideA & wideB
                    : name == "|"  ? wideA | wideB
                    : name == "^"  ? wideA ^ wideB
                    : name == "<<" ? wideA * (Wide{1} << (((b % 64) + 64) % 64))
                                   : wideA >> (((b % 64) + 64) % 64));
        }
    }

    void combineFloats(const std::string& name, double a, double b, Model& result) const {
        static const std::vector<std::pair<std::string, std::string>> integersOnly = {
            {"&", "_binary_and"},
            {"|", "_binary_or"},
            {"^", "_binary_xor"},
            {"<<", "_shift_left"},
            {">>", "_shift_right"}};
        for (const auto& [text, tokenName] : integersOnly) {
            if (text == name) {
                result.error = tokenName + " function only implemented for integers";
            }
        }
        if ((name == "/" || name == "%") && b == 0) {
            result.error = "division by zero";
        } else if (const int relation = relationOf(name, a, b); relation >= 0) {
            result.value = MathValue::fromInteger(relation);
        } else {
            result.value = real(
                name == "+"   ? a + b
                : name == "-" ? a - b
                : name == "*" ? a * b
                : name == "/" ? a / b
                : name == "%" ? std::fmod(a, b)
                              : std::pow(a, b));
        }
    }

    template<typename T> static int relationOf(const std::string& name, T a, T b) {
        return name == "="    ? a == b
               : name == "<>" ? a != b
               : name == "<"  ? a < b
               : name == ">"  ? a > b
               : name == "<=" ? a <= b
               : name == ">=" ? a >= b
                              : -1;
    }

    __extension__ typedef __int128 Wide;

    static MathValue real(double value) { return MathValue::fromFloat(value); }
    static MathValue cut(Wide value) {
        return MathValue::fromInteger(static_cast<std::int64_t>(static_cast<std::uint64_t>(value)));
    }
    static MathValue difference(std::int64_t a, std::int64_t b) { return cut(Wide{a} - Wide{b}); }

    static std::uint64_t powerByHalving(std::uint64_t base, std::int64_t exponent) {
        if (exponent == 0) {
            return 1;
        }
        return powerByHalving(base * base, exponent / 2) * (exponent % 2 == 1 ? base : 1);
    }

    Random& m_random;
    bool m_isFloatEvaluation;
    const TableOfVariables& m_variables;
};

TEST(FormulaProperties, ValuesAreThoseOfTheModel) {
    TableOfVariables variables{
        {"A", MathValue::fromInteger(-12)},
        {"B", MathValue::fromInteger(5)},
        {"X", MathValue::fromFloat(-1.5)},
        {"Y", MathValue::fromFloat(1e17)},
        {"LEAST", MathValue::fromInteger(INT64_MIN)}};
    Random random;
    int values = 0;
    for (int i = 0; i < 40000; ++i) {
        const bool isFloat = i % 2 == 1;
        const Model model = ModelMaker(random, isFloat, variables).make(4);
        MathParser parser;
        parser.tokenize(model.text, &variables);
        try {
            const MathValue value = isFloat ? MathValue::fromFloat(parser.evaluateFloat())
                                            : MathValue::fromInteger(parser.evaluateInteger());
            ASSERT_EQ(model.error, "") << model.text;
            ++values;
            const double expected = model.value.toFloat();
            if (!isFloat) {
                ASSERT_EQ(value.integer, model.value.toInteger()) << model.text;
            } else {
                ASSERT_TRUE(value.real == expected || (std::isnan(value.real) && std::isnan(expected)))
                    << model.text << " is " << value.real << ", not " << expected;
            }
        } catch (const ScMathException& error) {
            ASSERT_EQ(error.what(), model.error) << model.text;
        }
    }
    EXPECT_GT(values, 10000); // not all of them errors
}
#endif

template<typename T> std::optional<T> streamed(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    if constexpr (std::is_integral_v<T>) {
        stream.unsetf(std::ios::basefield);
    }
    T value{};
    return stream >> value ? std::optional<T>(value) : std::nullopt;
}

TEST(FormulaProperties, LiteralsReadAsStreamsReadThem) {
    const std::vector<std::string> pieces = {"0", "1", "7",  "8",  "9", "00", "12345678", "99999999",
                                             ".", "E", "E+", "E-", "A", "X",  "308",      "-"};
    Random random;
    for (int i = 0; i < 100000; ++i) {
        std::string text = random.oneOf<std::string>({"0", "3", ".", "9"});
        for (std::size_t length = random.below(6); length > 0; --length) {
            text += random.oneOf(pieces);
        }
        const tavo::math::Literal literal = tavo::math::readLiteral(text);
        const auto integer = streamed<std::int64_t>(text);
        if (text.starts_with("0X") && !integer) { // too long for the stream, not for wrapping around
            continue;
        }
        ASSERT_EQ(literal.integer, integer) << text;
        if (text.starts_with("0X")) {
            continue;
        }
        const auto real = streamed<double>(text);
        ASSERT_EQ(literal.real, real ? real : integer ? std::optional<double>(*integer) : real) << text;
    }
}

} // namespace
