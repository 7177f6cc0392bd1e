#include "math/MathParser.h"

#include "liomol/exceptions.h"
#include "math/arithmetic.h"
#include "math/messages.h"

namespace tavo {

using math::EvaluationType;

void MathParser::tokenize(
    const std::string& expression, MathVariablesInterface* variables, const Quirks& quirks) {
    m_tokens.tokenize(expression, quirks);
    if (m_program.isComplete()) {
        return;
    }
    m_variables = variables;
    m_boundRevision = 0;
    m_program.compile(m_tokens, quirks);
    m_tokens.shrink();
}

void MathParser::bindVariables() {
    if (m_tokens.empty()) {
        throw ScMathException(math::message::kEmptyQueue);
    }
    if (!m_program.isComplete()) {
        throw ScMathException(math::message::kTermExpected);
    }
    m_program.bind(m_tokens, m_variables);
    m_boundRevision = m_variables ? m_variables->variablesRevision() : 1;
}

template<EvaluationType Type> MathValue MathParser::evaluate() {
    const std::uint32_t revision = m_variables ? m_variables->variablesRevision() : 1;
    if (m_boundRevision != revision) {
        [[unlikely]] bindVariables();
    }
    try {
        return m_program.evaluate<Type>(m_variables);
    } catch (int) { // a provider's way to say that it has no such number
        throw ScMathException(math::message::kIllegalIdentifier);
    }
}

std::int64_t MathParser::evaluateInteger() {
    return evaluate<EvaluationType::Integer>().toInteger();
}

double MathParser::evaluateFloat() {
    return evaluate<EvaluationType::Float>().toFloat();
}

std::string MathParser::illegalIdentifier() const {
    for (const MathToken& token : tokens()) {
        const bool isConstant = token.name == "PI" || token.name == "E";
        if (token.kind != MathTokenKind::Variable || isConstant) {
            continue;
        }
        const int slot =
            m_variables ? m_variables->resolveVariable(token.name) : MathVariablesInterface::kNoVariable;
        if (slot < 0) {
            return token.name;
        }
        try {
            m_variables->getVariable(slot);
        } catch (int) {
            return token.name;
        }
    }
    return {};
}

void MathParser::reset() {
    m_tokens.clear();
    m_program.clear();
    m_variables = nullptr;
    m_boundRevision = 0;
}

std::vector<MathToken> MathParser::tokens() const {
    std::vector<MathToken> result;
    result.reserve(m_tokens.tokens().size());
    for (const math::Token& token : m_tokens.tokens()) {
        result.push_back({token.kind, std::string(m_tokens.name(token)), token.arguments});
    }
    return result;
}

std::string MathParser::normalize(const std::string& text) {
    return math::normalize(text);
}

std::int64_t MathParser::intpow(std::int64_t base, std::int64_t exponent) {
    if (exponent >= 0) {
        return math::power(base, exponent);
    }
    return MathValue::truncated(std::pow(static_cast<double>(base), static_cast<double>(exponent)));
}

double MathParser::round(double x, std::int64_t n) {
    return math::roundedTo(x, n);
}

} // namespace tavo
