// Random formulas without the quirks of this system, and their values by recursive descent.
#pragma once

#include "math/MathParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace descent {

using Words = std::vector<std::string>;

// Operands and their values; in an integer evaluation these lose their fractions.
inline const std::map<std::string, double> Operands = {
    {"0", 0},    {"1", 1},     {"2", 2},           {"63", 63}, {"0X10", 16}, {"2.5", 2.5},
    {"1E1", 10}, {".75", .75}, {"LEAST", -0x1p63}, {"A", 10},  {"B.C", 3},   {"X", 2.5}};

// From the loosest level to the tightest.
inline const std::vector<Words> Levels = {
    {"||"},       {"&&"},     {"|"},           {"^"}, {"&"}, {"==", "!=", "=", "<>"}, {"<=", ">=", "<", ">"},
    {"<<", ">>"}, {"+", "-"}, {"*", "/", "%"}, {"**"}};

// The value of a formula by recursive descent, a call for each level and everything computed on the way.
template<typename Number> class Descent {
public:
    explicit Descent(const Words& words) : m_words(words) {}

    Number formula(bool counts = true) {
        const Number condition = binary(0, counts);
        if (!accept("?")) {
            return condition;
        }
        const Number yes = formula(counts && condition != 0);
        EXPECT_TRUE(accept(":"));
        const Number no = formula(counts && condition == 0);
        return condition != 0 ? yes : no;
    }

    // By zero, in a branch that counts.
    bool hasDivided() const { return m_hasDivided; }

private:
    static constexpr bool IsInteger = std::is_same_v<Number, std::int64_t>;

    Number binary(std::size_t level, bool counts) {
        if (level == Levels.size()) {
            return unary(counts);
        }
        Number left = binary(level + 1, counts);
        while (m_at < m_words.size() && std::ranges::count(Levels[level], m_words[m_at]) > 0) {
            const std::string& name = m_words[m_at++];
            const bool isDecided = (name == "||" && left != 0) || (name == "&&" && left == 0);
            left = apply(name, left, binary(level + 1, counts && !isDecided), counts);
        }
        return left;
    }

    Number unary(bool counts) {
        if (accept("-")) {
            const Number x = unary(counts);
            return IsInteger ? wrap(0 - bits(x)) : -x;
        }
        if (accept("~")) {
            return wrap(~bits(unary(counts)));
        }
        if (accept("(")) {
            const Number x = formula(counts);
            EXPECT_TRUE(accept(")"));
            return x;
        }
        return static_cast<Number>(Operands.at(m_words[m_at++]));
    }

    Number apply(const std::string& name, Number a, Number b, bool counts) {
        if ((name == "/" || name == "%") && b == 0) {
            m_hasDivided = m_hasDivided || counts;
            return 0;
        }
        const int shift = static_cast<int>(bits(b) & 63);
        return name == "||"                   ? a != 0 || b != 0
               : name == "&&"                 ? a != 0 && b != 0
               : name == "|"                  ? wrap(bits(a) | bits(b))
               : name == "^"                  ? wrap(bits(a) ^ bits(b))
               : name == "&"                  ? wrap(bits(a) & bits(b))
               : name == "==" || name == "="  ? a == b
               : name == "!=" || name == "<>" ? a != b
               : name == "<="                 ? a <= b
               : name == ">="                 ? a >= b
               : name == "<"                  ? a < b
               : name == ">"                  ? a > b
               : name == "<<"                 ? wrap(bits(a) << shift)
               : name == ">>" ? static_cast<Number>(static_cast<std::int64_t>(bits(a)) >> shift)
                              : calculate(name, a, b);
    }

    static Number calculate(const std::string& name, Number a, Number b) {
        if constexpr (IsInteger) {
            return name == "+"   ? wrap(bits(a) + bits(b))
                   : name == "-" ? wrap(bits(a) - bits(b))
                   : name == "*" ? wrap(bits(a) * bits(b))
                   : name == "/" ? (b == -1 ? wrap(0 - bits(a)) : a / b)
                   : name == "%" ? (b == -1 ? 0 : a % b)
                                 : tavo::MathParser::intpow(a, b);
        } else {
            return name == "+"   ? a + b
                   : name == "-" ? a - b
                   : name == "*" ? a * b
                   : name == "/" ? a / b
                   : name == "%" ? std::fmod(a, b)
                                 : std::pow(a, b);
        }
    }

    static std::uint64_t bits(Number x) {
        if constexpr (IsInteger) {
            return static_cast<std::uint64_t>(x);
        } else {
            return static_cast<std::uint64_t>(tavo::MathValue::truncated(x));
        }
    }
    static Number wrap(std::uint64_t x) { return static_cast<Number>(static_cast<std::int64_t>(x)); }

    bool accept(const std::string& word) {
        const bool fits = m_at < m_words.size() && m_words[m_at] == word;
        m_at += fits ? 1 : 0;
        return fits;
    }

    const Words& m_words;
    std::size_t m_at = 0;
    bool m_hasDivided = false;
};

class WordMaker {
public:
    Words make() {
        m_words.clear();
        addFormula(3);
        return m_words;
    }

private:
    void addFormula(unsigned depth) {
        addOperand(depth);
        for (std::size_t more = below(5); more > 0; --more) {
            const Words& level = Levels[below(Levels.size())];
            m_words.push_back(level[below(level.size())]);
            addOperand(depth);
        }
        if (depth > 0 && below(3) == 0) {
            m_words.push_back("?");
            addFormula(depth - 1);
            m_words.push_back(":");
            addFormula(depth - 1);
        }
    }

    void addOperand(unsigned depth) {
        for (; below(5) == 0;) {
            m_words.push_back(below(2) == 0 ? "-" : "~");
        }
        if (depth > 0 && below(5) == 0) {
            m_words.push_back("(");
            addFormula(depth - 1);
            m_words.push_back(")");
        } else {
            m_words.push_back(std::next(Operands.begin(), static_cast<long>(below(Operands.size())))->first);
        }
    }

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_engine);
    }

    std::mt19937 m_engine{20261121};
    Words m_words;
};

} // namespace descent
