#include "math/tokenizer.h"

#include "liomol/exceptions.h"
#include "math/limits.h"
#include "math/literals.h"
#include "math/messages.h"
#include "math/splits.h"

#include <algorithm>
#include <limits>

namespace tavo::math {

namespace {

constexpr bool isLetter(char c) {
    return c >= 'A' && c <= 'Z';
}

class Splitter {
public:
    Splitter(std::string_view text, std::uint32_t offset, std::vector<Token>& tokens, const Quirks& quirks)
        : m_text(text), m_offset(offset), m_tokens(tokens), m_quirks(quirks), m_splits(text, quirks) {}

    void run();

private:
    // A text to be tokenised, a part of the whole, and the number of brackets around it.
    struct Part {
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t root; // its split where `scanned`; Split::kNone if it has no operator
        bool scanned;
        unsigned nesting;
    };

    void tokenizePart(Part part);
    std::uint32_t findColon(const Part& part, std::uint32_t begin) const;
    void splitLeftConditional(const Part& part, const Split& split);
    void splitRightConditional(const Part& part, const Split& split);
    void splitOperator(const Part& part, const Split& split);
    void tokenizeTerm(const Part& part);
    void tokenizeIdentifier(const Part& part);
    void tokenizeCall(const Part& part, std::uint32_t open);
    std::vector<std::uint32_t> findCommas(std::uint32_t open, std::uint32_t end) const;
    unsigned deeper(const Part& part) const;
    void append(
        MathTokenKind kind, std::uint32_t begin, std::uint32_t end, std::size_t arguments,
        Operation operation);

    std::string_view m_text;
    std::uint32_t m_offset; // of m_text in the queue's text
    std::vector<Token>& m_tokens;
    const Quirks& m_quirks;
    SplitTree m_splits;
    std::vector<Part> m_parts; // still to do, the next one last
};

void Splitter::run() {
    m_parts.push_back({0, static_cast<std::uint32_t>(m_text.size()), Split::kNone, false, 0});
    while (!m_parts.empty()) {
        const Part part = m_parts.back();
        m_parts.pop_back();
        tokenizePart(part);
    }
}

void Splitter::tokenizePart(Part part) {
    if (part.begin >= part.end) {
        throw ScMathException(message::kTermExpected);
    }
    if (!part.scanned) {
        part.root = m_splits.scan(part.begin, part.end);
        part.scanned = true;
    }
    if (part.root == Split::kNone) {
        tokenizeTerm(part);
    } else if (const Split split = m_splits.at(part.root); split.operation == Operation::Conditional) {
        m_quirks.leftConditionals ? splitLeftConditional(part, split) : splitRightConditional(part, split);
    } else {
        splitOperator(part, split);
    }
}

// The rightmost ? splits, so no other stands behind it: exactly one : must, with brackets that balance.
std::uint32_t Splitter::findColon(const Part& part, std::uint32_t begin) const {
    std::uint32_t colon = Split::kNone;
    for (std::uint32_t i = begin; i < part.end; ++i) {
        const char c = m_text[i];
        const bool isUnbalanced = c == ')' || (c == '(' && m_splits.closing(i) >= part.end);
        if (isUnbalanced || (c == ':' && colon != Split::kNone)) {
            throw ScMathException(message::kConditional);
        }
        if (c == ':') {
            colon = i;
        } else if (c == '(') {
            i = m_splits.closing(i);
        }
    }
    if (colon == Split::kNone) {
        throw ScMathException(message::kConditional);
    }
    return colon;
}

void Splitter::splitLeftConditional(const Part& part, const Split& split) {
    const std::uint32_t colon = findColon(part, split.position + 1);
    append(MathTokenKind::Function, split.position, split.position + 1, 3, split.operation);
    m_parts.push_back({colon + 1, part.end, Split::kNone, false, part.nesting});
    m_parts.push_back({split.position + 1, colon, Split::kNone, false, part.nesting});
    m_parts.push_back({part.begin, split.position, split.left, true, part.nesting});
}

// The colon was found with the operators, so a chain of conditionals is not looked at again either.
void Splitter::splitRightConditional(const Part& part, const Split& split) {
    if (m_splits.isOpenConditional(split)) {
        throw ScMathException(message::kConditional);
    }
    const Split colon = m_splits.at(split.right);
    append(MathTokenKind::Function, split.position, split.position + 1, 3, split.operation);
    m_parts.push_back({colon.position + 1, part.end, colon.right, colon.right != Split::kNone, part.nesting});
    m_parts.push_back({split.position + 1, colon.position, colon.left, true, part.nesting});
    m_parts.push_back({part.begin, split.position, split.left, true, part.nesting});
}

void Splitter::splitOperator(const Part& part, const Split& split) {
    const std::uint32_t right = split.position + split.length;
    append(MathTokenKind::Function, split.position, right, 2, split.operation);
    // An unclosed bracket can only stand on the right of the last operator; that part is scanned again for
    // it.
    m_parts.push_back({right, part.end, split.right, split.right != Split::kNone, part.nesting});
    m_parts.push_back({part.begin, split.position, split.left, true, part.nesting});
}

void Splitter::tokenizeTerm(const Part& part) {
    const char first = m_text[part.begin];
    Part rest = part;
    ++rest.begin;
    if (isDigit(first) || first == '.') {
        append(MathTokenKind::Number, part.begin, part.end, 0, Operation::Unknown);
    } else if (first == '(') {
        // Kept as it is: the last character is dropped whether or not it is the bracket's end.
        m_parts.push_back({part.begin + 1, part.end - 1, Split::kNone, false, deeper(part)});
    } else if (first == '+') {
        m_parts.push_back(rest);
    } else if (first == '-' || first == '~') {
        const Operation operation = first == '-' ? Operation::UnaryMinus : Operation::BinaryNot;
        append(MathTokenKind::Function, part.begin, part.begin + 1, 1, operation);
        m_parts.push_back(rest);
    } else {
        tokenizeIdentifier(part);
    }
}

void Splitter::tokenizeIdentifier(const Part& part) {
    std::uint32_t end = part.begin;
    for (; end < part.end && m_text[end] != '('; ++end) {
        const char c = m_text[end];
        const bool isLegal = isLetter(c) || (end > part.begin &&
                                             (isDigit(c) || c == '_' || (c == '.' && !m_quirks.plainNames)));
        if (!isLegal) {
            throw ScMathException(message::kIllegalIdentifier);
        }
    }
    if (end == part.end) {
        append(MathTokenKind::Variable, part.begin, end, 0, Operation::Unknown);
    } else {
        tokenizeCall(part, end);
    }
}

void Splitter::tokenizeCall(const Part& part, std::uint32_t open) {
    std::vector<std::uint32_t> ends = findCommas(open, part.end);
    const unsigned nesting = deeper(part);
    const std::string_view name = m_text.substr(part.begin, open - part.begin);
    const Operation constant = part.end - open == 2 ? findFunction(name, 0) : Operation::Unknown;
    if (constant == Operation::Pi || (constant == Operation::Euler && !m_quirks.fewerSymbols)) {
        append(MathTokenKind::Function, part.begin, open, 0, constant);
        return;
    }
    ends.push_back(part.end - 1);
    append(
        MathTokenKind::Function, part.begin, open, ends.size(),
        findFunction(name, static_cast<unsigned>(ends.size())));
    const std::size_t firstArgument = m_parts.size();
    std::uint32_t begin = open + 1;
    for (const std::uint32_t end : ends) {
        m_parts.push_back({begin, end, Split::kNone, false, nesting});
        begin = end + 1;
    }
    std::reverse(m_parts.begin() + static_cast<std::ptrdiff_t>(firstArgument), m_parts.end());
}

// The commas one bracket deep, from a call's first bracket to the end of its text.
std::vector<std::uint32_t> Splitter::findCommas(std::uint32_t open, std::uint32_t end) const {
    std::vector<std::uint32_t> commas;
    bool isInside = false;
    for (std::uint32_t i = open; i < end; ++i) {
        const char c = m_text[i];
        if ((c == '(' && m_splits.closing(i) >= end) || (c == ')' && !isInside)) {
            throw ScMathException(message::kBracket);
        }
        if (c == '(' && isInside) {
            i = m_splits.closing(i);
        } else if (c == '(' || c == ')') {
            isInside = !isInside;
        } else if (c == ',' && isInside) {
            commas.push_back(i);
        }
    }
    return commas;
}

unsigned Splitter::deeper(const Part& part) const {
    if (part.nesting == kNestingLimit) {
        throw ScMathException(message::kBracket);
    }
    return part.nesting + 1;
}

void Splitter::append(
    MathTokenKind kind, std::uint32_t begin, std::uint32_t end, std::size_t arguments, Operation operation) {
    m_tokens.push_back(
        {m_offset + begin, end - begin, static_cast<std::uint16_t>(arguments), kind, operation});
}

static_assert(
    kLengthLimit <= std::numeric_limits<std::uint16_t>::max() + std::size_t{1},
    "the number of arguments, less than that of characters, fits its 16 bits");

} // namespace

namespace {

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\r' || c == '\n' || c == '\t';
}

constexpr bool isWord(char c) {
    return isDigit(c) || isLetter(c) || (c >= 'a' && c <= 'z') || c == '_' || c == '.';
}

// Whether the two would be one token if nothing stood between them.
bool wouldJoin(char before, char after) {
    const char both[] = {before, after};
    const std::string_view pair(both, sizeof both);
    return (isWord(before) && isWord(after)) ||
           std::ranges::find(kBinaryOperators, pair, &BinaryOperator::text) != kBinaryOperators.end() ||
           std::ranges::find(kStandardSpellings, pair, &Spelling::text) != kStandardSpellings.end();
}

bool hasBlankInToken(std::string_view text) {
    char before = ' ';
    bool isApart = false;
    for (const char c : text) {
        if (isBlank(c)) {
            isApart = true;
            continue;
        }
        if (isApart && wouldJoin(before, c)) {
            return true;
        }
        before = c;
        isApart = false;
    }
    return false;
}

} // namespace

void TokenQueue::tokenize(std::string_view expression, const Quirks& quirks) {
    const std::string text = normalize(expression);
    if (!quirks.blanksJoin && hasBlankInToken(expression)) {
        throw ScMathException(message::kIllegalIdentifier);
    }
    if (text.empty() || text.size() > kLengthLimit) {
        throw ScMathException(message::kTermExpected);
    }
    if (m_text.size() > Split::kNone - text.size()) {
        throw ScMathException(message::kTermExpected);
    }
    const auto offset = static_cast<std::uint32_t>(m_text.size());
    m_text += text;
    Splitter(text, offset, m_tokens, quirks).run();
}

void TokenQueue::clear() {
    m_text.clear();
    m_tokens.clear();
}

void TokenQueue::shrink() {
    m_text.shrink_to_fit();
    m_tokens.shrink_to_fit();
}

std::string_view TokenQueue::name(const Token& token) const {
    const std::string_view operatorName = operatorTokenName(token.operation);
    return operatorName.empty() ? std::string_view(m_text).substr(token.begin, token.length) : operatorName;
}

std::string normalize(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (isBlank(c)) {
            continue;
        }
        result += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return result;
}

} // namespace tavo::math
