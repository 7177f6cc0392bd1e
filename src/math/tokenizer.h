// From the text of a formula to its tokens in prefix order.
#pragma once

#include "math/MathToken.h"
#include "math/operations.h"
#include "util/Quirks.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavo::math {

// Where a token's name stands in the text, and what a function or operator does, looked up once.
struct Token {
    std::uint32_t begin;
    std::uint32_t length;
    std::uint16_t arguments;
    MathTokenKind kind;
    Operation operation; // of a Function; Unknown otherwise
};

// Tokens of one or more expressions, one after the other, and the text that they were found in.
class TokenQueue {
public:
    // Splits the expression at its loosest operator (of equal ones the rightmost, but for those that group to
    // the right), appends the operator's token and goes on with the texts on its left and right. Time and
    // memory are linear in the length of the text, and nothing recurses. Throws ScMathException; the tokens
    // found before the error stay.
    void tokenize(std::string_view expression, const Quirks& quirks);

    void clear();
    void shrink();

    bool empty() const { return m_tokens.empty(); }
    const std::vector<Token>& tokens() const { return m_tokens; }
    // The text of a variable, literal or function; the token name of an operator.
    std::string_view name(const Token& token) const;

private:
    std::string m_text; // the normalised expressions
    std::vector<Token> m_tokens;
};

// The text without " ", "\r", "\n" and "\t" and with ASCII letters in upper case.
std::string normalize(std::string_view text);

} // namespace tavo::math
