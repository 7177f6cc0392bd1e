// Random formulas against slower models written from the same rules.
#include "liomol/exceptions.h"
#include "math/MathLiteral.h"
#include "math/MathParser.h"
#include "math/TableOfVariables.h"
#include "math/splitting_by_rescan.h"
#include "math/traces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <locale>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using tavo::MathParser;
using tavo::MathValue;
using tavo::Quirks;
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
    for (const std::vector<std::string>& level : StandardLevels) {
        for (std::size_t i = 1; i < parts.size();) {
            if (std::ranges::count(level, parts[i]) == 0) {
                i += 2;
                continue;
            }
            parts[i - 1] = "(" + parts[i - 1] + parts[i] + parts[i + 1] + ")";
            parts.erase(parts.begin() + static_cast<long>(i), parts.begin() + static_cast<long>(i + 2));
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

#ifdef __SIZEOF_INT128__ // the models count in 128 bits
// A formula and its value by the rules, made together; "" as the error means that there is a value.
struct Model {
    std::string text;
    MathValue value;
    std::string error;

    static Model integer(const char* text, std::int64_t n) { return {text, MathValue::fromInteger(n), ""}; }
    static Model real(const char* text, double x) { return {text, MathValue::fromFloat(x), ""}; }
    bool isInteger() const { return value.isInteger(); }
    bool isTrue() const { return value.toFloat() != 0; }
};

std::string integersOnly(const std::string& tokenName) {
    return tokenName + " function only implemented for integers";
}

const std::vector<Model> Leaves = {
    Model::integer("0", 0),
    Model::integer("1", 1),
    Model::integer("63", 63),
    Model::integer("4.75", 4),
    Model::integer("0X7FFFFFFFFFFFFFFF", INT64_MAX),
    Model::integer("0XFFFFFFFFFFFFFFFF", -1),
    Model::integer("A", -12),
    Model::integer("B", 5),
    Model::integer("LEAST", INT64_MIN),
    Model::real(".75", 0.75),
    Model::real(".5E+3", 500),
    Model::real("X", -1.5),
    Model::real("Y", 1e17),
    Model{"NOWHERE", {}, "illegal identifier"}};

class ModelMaker {
public:
    ModelMaker(Random& random, bool isFloatEvaluation, bool isStandard)
        : m_random(random), m_isFloatEvaluation(isFloatEvaluation), m_isStandard(isStandard) {}

    // As the standard has it every value is of the evaluation's kind.
    Model make(unsigned depth) {
        Model model = makeOfAnyKind(depth);
        if (m_isStandard) {
            model.value = m_isFloatEvaluation ? real(model.value.toFloat())
                                              : MathValue::fromInteger(model.value.toInteger());
        }
        return model;
    }

private:
    Model makeOfAnyKind(unsigned depth) {
        switch (depth == 0 ? 0 : m_random.below(10)) {
        case 0:
        case 1: {
            const Model& leaf = m_random.oneOf(Leaves);
            return m_isStandard && leaf.text == "4.75" ? Model::real("4.75", 4.75) : leaf;
        }
        case 2:
            return makeConditional(depth - 1);
        case 3:
            return makeDecision(depth - 1);
        case 4:
            return makeUnary(depth - 1);
        default:
            return makeBinary(depth - 1);
        }
    }

    // Of an operation that takes `x`, by default integers only.
    std::string errorWith(const Model& x, const std::string& ofFloat) const {
        return !x.error.empty() || x.isInteger() || m_isStandard ? x.error : ofFloat;
    }

    Model makeConditional(unsigned depth) {
        const Model condition = make(depth);
        const Model yes = make(depth);
        const Model no = make(depth);
        const std::string text = "(" + condition.text + "?" + yes.text + ":" + no.text + ")";
        // Conditionals in the parts are in brackets of their own, so the text splits as it was made.
        const std::string error = errorWith(condition, "condition is float, expected integer");
        if (!error.empty()) {
            return {text, {}, error};
        }
        const Model& taken = condition.isTrue() ? yes : no;
        return {text, taken.value, taken.error};
    }

    Model makeDecision(unsigned depth) {
        const bool isAnd = m_random.below(2) == 0;
        const Model left = make(depth);
        const Model right = make(depth);
        const std::string text = "(" + left.text + (isAnd ? "&&" : "||") + right.text + ")";
        const std::string ofFloat = integersOnly(isAnd ? "_logical_and" : "_logical_or");
        const std::string error = errorWith(left, ofFloat);
        if (!error.empty() || left.isTrue() != isAnd) {
            return {text, MathValue::fromInteger(!isAnd), error};
        }
        return {text, MathValue::fromInteger(right.isTrue()), errorWith(right, ofFloat)};
    }

    Model makeUnary(unsigned depth) {
        const Model x = make(depth);
        const auto model = [&x](const std::string& before, MathValue value) {
            return Model{"(" + before + "(" + x.text + "))", value, x.error};
        };
        switch (m_random.below(4)) {
        case 0:
            return model("-", x.isInteger() ? cut(-Wide{x.value.integer}) : real(-x.value.real));
        case 1:
            return model("CEIL", x.isInteger() ? x.value : real(std::ceil(x.value.real)));
        case 2:
            return model("SQRT", real(std::sqrt(x.value.toFloat())));
        default:
            Model complement = model("~", MathValue::fromInteger(-1 - x.value.toInteger()));
            complement.error = errorWith(x, integersOnly("_binary_not"));
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
        const bool isOfBits = name == "&" || name == "|" || name == "^" || name == "<<" || name == ">>";
        if (m_isStandard && isOfBits) {
            combineIntegers(name, left.value.toInteger(), right.value.toInteger(), result);
        } else if (left.isInteger() && right.isInteger()) {
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
        if (name == "&" || name == "|" || name == "^" || name == "<<" || name == ">>") {
            result.error = integersOnly(rescan::tokenName(name));
            return;
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

    static std::uint64_t powerByHalving(std::uint64_t base, std::int64_t exponent) {
        if (exponent == 0) {
            return 1;
        }
        return powerByHalving(base * base, exponent / 2) * (exponent % 2 == 1 ? base : 1);
    }

    Random& m_random;
    bool m_isFloatEvaluation;
    bool m_isStandard;
};

TEST(FormulaProperties, ValuesAreThoseOfTheModel) {
    TableOfVariables variables;
    for (const Model& leaf : Leaves) {
        if (leaf.error.empty() && leaf.text[0] >= 'A') {
            variables.set(leaf.text, leaf.value);
        }
    }
    Random random;
    int values = 0;
    for (int i = 0; i < 40000; ++i) {
        const bool isFloat = i % 2 == 1;
        const bool isStandard = i % 4 < 2;
        SCOPED_TRACE(isStandard);
        const Model model = ModelMaker(random, isFloat, isStandard).make(4);
        MathParser parser;
        parser.tokenize(model.text, &variables, isStandard ? Quirks::none() : Quirks());
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
