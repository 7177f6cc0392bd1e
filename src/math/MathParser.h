// The formula engine: turns the formula of a SwissKnife or Converter into tokens in prefix order and
// evaluates them, as a 64-bit integer or as a double.
//
// Every error is a ScMathException whose message is one of math/messages.h. Different parsers may be used
// from different threads at once; one parser belongs to one thread at a time. Evaluating allocates nothing
// (but an exception, on an error), and a formula may be evaluated again from inside one of its own variables.
#pragma once

#include "math/MathToken.h"
#include "math/MathVariablesInterface.h"
#include "math/program.h"
#include "math/tokenizer.h"
#include "util/Quirks.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tavo {

class MathParser {
public:
    MathParser() = default;
    MathParser(const MathParser&) = delete;
    MathParser& operator=(const MathParser&) = delete;

    // Appends the tokens of an expression. On an error the tokens found before it stay until reset(), and a
    // later call may complete them. `variables` must outlive the parser or the next reset(); null means that
    // no variable has a value. The variables of a formula all come from the latest call's provider.
    //
    // `quirks` decides what the expression says and how it is evaluated (of several calls for one formula the
    // latest decides on literals, kinds and constants); to change it later, reset() and tokenise again.
    void tokenize(
        const std::string& expression, MathVariablesInterface* variables, const Quirks& quirks = Quirks());

    // The value of the first expression in the queue; further ones are not reached. Besides formula errors
    // ("empty token queue" and "term expected" for a queue that ends too early among them) these let through
    // what reading a variable throws.
    std::int64_t evaluateInteger();
    double evaluateFloat();

    void reset();

    // After an "illegal identifier" of an evaluation: the first variable that has no value, in upper case;
    // empty where it is none of these. Reads the variables.
    std::string illegalIdentifier() const;

    bool isEmpty() const { return m_tokens.empty(); }
    // A copy of the queue.
    std::vector<MathToken> tokens() const;

    // The text without blanks, line ends and tabulators, in upper case (ASCII letters only).
    static std::string normalize(const std::string& text);
    // By repeated squaring, with 64-bit wrap-around. A negative exponent gives the power as a double,
    // truncated.
    static std::int64_t intpow(std::int64_t base, std::int64_t exponent);
    // floor(10^n * x + 0.5) * 10^-n
    static double round(double x, std::int64_t n);

private:
    template<math::EvaluationType Type> MathValue evaluate();
    void bindVariables();

    math::TokenQueue m_tokens;
    math::Program m_program;
    MathVariablesInterface* m_variables = nullptr;
    std::uint32_t m_boundRevision = 0; // of the variables when their slots were asked for; 0 is never
};

} // namespace tavo
