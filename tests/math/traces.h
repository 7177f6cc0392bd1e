// What tokenizing gives, as text: so that a difference can be read.
#pragma once

#include "liomol/exceptions.h"
#include "math/MathParser.h"

#include <string>
#include <vector>

// The message of the error thrown, or nothing.
template<typename Action> std::string messageOf(Action action) {
    try {
        action();
    } catch (const tavo::ScMathException& error) {
        return error.what();
    }
    return "";
}

inline std::string traceOf(const std::vector<tavo::MathToken>& tokens, const std::string& error) {
    std::string trace;
    for (const tavo::MathToken& token : tokens) {
        const bool isFunction = token.kind == tavo::MathTokenKind::Function;
        const bool isNumber = token.kind == tavo::MathTokenKind::Number;
        trace += (trace.empty() ? "" : " ") + std::string(isNumber ? "#" : "") + token.name;
        trace += isFunction ? "/" + std::to_string(token.arguments) : "";
    }
    return error.empty() ? trace : trace + (trace.empty() ? "! " : " ! ") + error;
}

inline std::string traceOf(const std::string& formula, const tavo::Quirks& quirks = {}) {
    tavo::MathParser parser;
    const std::string error = messageOf([&] { parser.tokenize(formula, nullptr, quirks); });
    return traceOf(parser.tokens(), error);
}
