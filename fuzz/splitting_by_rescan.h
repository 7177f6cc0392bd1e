// The splitting of formulas by its definition: scan a text for its loosest operator, append the operator's
// token, then do the same with the texts on both sides. Too slow and too deep for hostile formulas; the
// engine has to give the same tokens and the same errors.
#pragma once

#include "liomol/exceptions.h"
#include "math/MathToken.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace rescan {

using tavo::MathToken;
using tavo::MathTokenKind;
using tavo::ScMathException;

struct Candidate {
    int level;
    std::size_t position;
    std::string text;
};

inline bool isOneOf(char c, const std::string& characters) {
    return characters.find(c) != std::string::npos;
}

inline const std::string kOperatorCharacters = "+-*/%&|^~<>=?";

// The index of the bracket that closes the one at `open`, or npos.
inline std::size_t closing(const std::string& text, std::size_t open) {
    int depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
        depth += text[i] == '(' ? 1 : text[i] == ')' ? -1 : 0;
        if (depth == 0) {
            return i;
        }
    }
    return std::string::npos;
}

inline bool isBinarySign(const std::string& text, std::size_t i) {
    if (i == 0 || isOneOf(text[i - 1], kOperatorCharacters + ":")) {
        return false;
    }
    if (text[i - 1] != 'E') {
        return true;
    }
    std::size_t start = i - 1;
    while (start > 0 && isOneOf(text[start - 1], "0123456789.")) {
        --start;
    }
    const bool hasMantissa = start < i - 1;
    return !(hasMantissa && (start == 0 || isOneOf(text[start - 1], kOperatorCharacters + ":(")));
}

inline Candidate candidateAt(const std::string& text, std::size_t i) {
    const char c = text[i];
    const std::string two = text.substr(i, 2);
    const bool isRelation = two == "<=" || two == ">=" || two == "<>";
    if (isRelation || two == "&&" || two == "||" || two == "**" || two == "<<" || two == ">>") {
        return {isRelation ? 3 : two == "**" ? 6 : two == "&&" || two == "||" ? 2 : 7, i, two};
    }
    if ((c == '+' || c == '-') && isBinarySign(text, i)) {
        return {4, i, std::string(1, c)};
    }
    if (c == '?' || isOneOf(c, "=<>*/%&|^")) {
        const int level = c == '?' ? 1 : isOneOf(c, "=<>") ? 3 : isOneOf(c, "*/%") ? 5 : 7;
        return {level, i, std::string(1, c)};
    }
    return {9, i, ""};
}

inline std::string tokenName(const std::string& text) {
    std::istringstream names(
        "&& logical_and || logical_or = logical_relation_equal <> logical_relation_not_equal "
        "< logical_relation_less > logical_relation_greater <= logical_relation_less_or_equal "
        ">= logical_relation_greater_or_equal + addition - subtraction * multiplication / division "
        "% remainder ** power & binary_and | binary_or ^ binary_xor << shift_left >> shift_right");
    std::string symbol;
    std::string name;
    while (symbol != text && names >> symbol >> name) {
    }
    return "_" + name;
}

inline void split(const std::string& text, std::vector<MathToken>& tokens);

inline void splitConditional(const std::string& text, std::size_t mark, std::vector<MathToken>& tokens) {
    int depth = 0;
    std::vector<std::size_t> colons;
    for (std::size_t i = mark + 1; i < text.size() && depth >= 0; ++i) {
        depth += text[i] == '(' ? 1 : text[i] == ')' ? -1 : 0;
        if (text[i] == ':' && depth == 0) {
            colons.push_back(i);
        }
    }
    if (depth != 0 || colons.size() != 1) {
        throw ScMathException("syntax error in conditional operator");
    }
    tokens.push_back({MathTokenKind::Function, "_conditional_operator", 3});
    split(text.substr(0, mark), tokens);
    split(text.substr(mark + 1, colons[0] - mark - 1), tokens);
    split(text.substr(colons[0] + 1), tokens);
}

inline void splitIdentifier(const std::string& text, std::vector<MathToken>& tokens) {
    const std::size_t open = std::min(text.find('('), text.size());
    for (std::size_t i = 0; i < std::max<std::size_t>(open, 1); ++i) {
        const bool isLetter = text[i] >= 'A' && text[i] <= 'Z';
        if (!isLetter && (i == 0 || !isOneOf(text[i], "0123456789_"))) {
            throw ScMathException("illegal identifier");
        }
    }
    if (open == text.size()) {
        tokens.push_back({MathTokenKind::Variable, text, 0});
        return;
    }
    int depth = 0;
    unsigned arguments = 1;
    for (std::size_t i = open; i < text.size() && depth >= 0; ++i) {
        depth += text[i] == '(' ? 1 : text[i] == ')' ? -1 : 0;
        arguments += text[i] == ',' && depth == 1;
    }
    if (depth != 0) {
        throw ScMathException("bracket error");
    }
    if (text == "PI()") {
        tokens.push_back({MathTokenKind::Function, "PI", 0});
        return;
    }
    tokens.push_back({MathTokenKind::Function, text.substr(0, open), arguments});
    const std::string inner = text.substr(open + 1, text.size() - open - 2);
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= inner.size(); ++i) {
        if (i == inner.size() || (inner[i] == ',' && depth == 0)) {
            split(inner.substr(begin, i - begin), tokens);
            begin = i + 1;
        } else {
            depth += inner[i] == '(' ? 1 : inner[i] == ')' ? -1 : 0;
        }
    }
}

inline void split(const std::string& text, std::vector<MathToken>& tokens) {
    if (text.empty()) {
        throw ScMathException("term expected");
    }
    Candidate best{8, 0, ""};
    bool isUnclosed = false;
    for (std::size_t i = 0; i < text.size() && !isUnclosed; ++i) {
        if (text[i] == '(') {
            isUnclosed = closing(text, i) == std::string::npos;
            i = isUnclosed ? i : closing(text, i);
            continue;
        }
        const Candidate candidate = candidateAt(text, i);
        if (candidate.level <= best.level) {
            best = candidate;
        }
        i += candidate.text.size() == 2;
    }
    const std::string rest = text.substr(1);
    if (best.level == 1) {
        splitConditional(text, best.position, tokens);
    } else if (best.level < 8) {
        tokens.push_back({MathTokenKind::Function, tokenName(best.text), 2});
        split(text.substr(0, best.position), tokens);
        split(text.substr(best.position + best.text.size()), tokens);
    } else if (isUnclosed) {
        throw ScMathException("bracket error");
    } else if (isOneOf(text[0], "0123456789.")) {
        tokens.push_back({MathTokenKind::Number, text, 0});
    } else if (text[0] == '(') {
        split(rest.substr(0, rest.size() - 1), tokens);
    } else if (text[0] == '+') {
        split(rest, tokens);
    } else if (text[0] == '-' || text[0] == '~') {
        tokens.push_back({MathTokenKind::Function, text[0] == '-' ? "_unary_minus" : "_binary_not", 1});
        split(rest, tokens);
    } else {
        splitIdentifier(text, tokens);
    }
}

} // namespace rescan
