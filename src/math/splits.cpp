#include "math/splits.h"

#include "liomol/exceptions.h"
#include "math/literals.h"
#include "math/messages.h"

#include <algorithm>
#include <array>

namespace tavo::math {

namespace {

using CharacterSet = std::array<bool, 256>;

constexpr CharacterSet setOf(std::string_view characters) {
    CharacterSet set{};
    for (const char c : characters) {
        set[static_cast<unsigned char>(c)] = true;
    }
    return set;
}

constexpr CharacterSet kOperatorCharacters = setOf("+-*/%&|^~<>=?:");

// After one of these a + or - is a sign, and a number may begin.
constexpr bool isOperatorCharacter(char c) {
    return kOperatorCharacters[static_cast<unsigned char>(c)];
}

// Most characters begin neither an operator nor a bracket.
constexpr bool isOfInterest(char c) {
    return isOperatorCharacter(c) || c == '(' || c == '!';
}

} // namespace

SplitTree::SplitTree(std::string_view text, const Quirks& quirks) : m_text(text), m_quirks(quirks) {
    findClosingBrackets();
}

void SplitTree::findClosingBrackets() {
    m_closing.assign(m_text.size(), Split::kNone);
    std::vector<std::uint32_t> open;
    for (std::uint32_t i = 0; i < m_text.size(); ++i) {
        if (m_text[i] == '(') {
            open.push_back(i);
        } else if (m_text[i] == ')' && !open.empty()) {
            m_closing[open.back()] = i;
            open.pop_back();
        }
    }
}

std::uint32_t SplitTree::scan(std::uint32_t begin, std::uint32_t end) {
    m_begin = begin;
    m_end = end;
    m_root = Split::kNone;
    m_spine.clear();
    for (std::uint32_t i = begin; i < end;) {
        if (!isOfInterest(m_text[i])) {
            ++i;
        } else if (m_text[i] == '(') {
            const std::uint32_t closing = m_closing[i];
            if (closing >= end && m_root == Split::kNone) {
                throw ScMathException(message::kBracket);
            }
            if (closing >= end) {
                return m_root;
            }
            i = closing + 1;
        } else if (const std::optional<Split> found = operatorAt(i)) {
            addSplit(*found);
            i += found->length;
        } else {
            if (m_text[i] == ':' && !m_quirks.leftConditionals) {
                addColon(i);
            }
            ++i;
        }
    }
    return m_root;
}

bool SplitTree::groupsRight(Operation operation) const {
    return (operation == Operation::Conditional && !m_quirks.leftConditionals) ||
           (operation == Operation::Power && !m_quirks.leftPowers);
}

void SplitTree::addSplit(Split split) {
    const auto index = static_cast<std::uint32_t>(m_splits.size());
    const unsigned loosest = split.level + (groupsRight(split.operation) ? 1u : 0u);
    while (!m_spine.empty() && m_splits[m_spine.back()].level >= loosest) {
        split.left = m_spine.back();
        m_spine.pop_back();
    }
    if (m_spine.empty()) {
        m_root = index;
    } else {
        m_splits[m_spine.back()].right = index;
    }
    m_splits.push_back(split);
    m_spine.push_back(index);
}

// A colon belongs to the nearest ? before it that has none yet, and ends the conditionals between them.
void SplitTree::addColon(std::uint32_t position) {
    Split colon{position, Split::kNone, Split::kNone, Operation::Unknown, 1, 0};
    while (!m_spine.empty() && !isOpenConditional(m_splits[m_spine.back()])) {
        colon.left = m_spine.back();
        m_spine.pop_back();
    }
    if (m_spine.empty()) {
        throw ScMathException(message::kConditional);
    }
    Split& conditional = m_splits[m_spine.back()];
    conditional.right = static_cast<std::uint32_t>(m_splits.size());
    colon.level = conditional.level;
    m_spine.push_back(conditional.right);
    m_splits.push_back(colon);
}

bool SplitTree::isOpenConditional(const Split& split) const {
    const bool isClosed =
        split.right != Split::kNone && m_splits[split.right].operation == Operation::Unknown;
    return split.operation == Operation::Conditional && !isClosed;
}

std::optional<Split> SplitTree::operatorAt(std::uint32_t position) const {
    if (!m_quirks.fewerSymbols) {
        if (const std::optional<Split> found = standardSpellingAt(position)) {
            return found;
        }
    }
    const char c = m_text[position];
    if ((c == '+' || c == '-') && !isBinarySign(position)) {
        return std::nullopt;
    }
    const std::string_view rest = m_text.substr(position, m_end - position);
    const auto fits = [rest](const BinaryOperator& row) { return rest.starts_with(row.text); };
    const auto found = std::find_if(kBinaryOperators.begin(), kBinaryOperators.end(), fits);
    return found == kBinaryOperators.end() ? std::nullopt
                                           : std::optional(splitAt(position, found->text, *found));
}

std::optional<Split> SplitTree::standardSpellingAt(std::uint32_t position) const {
    const std::string_view rest = m_text.substr(position, m_end - position);
    for (const Spelling& spelling : kStandardSpellings) {
        if (rest.starts_with(spelling.text)) {
            return splitAt(position, spelling.text, binaryOperator(spelling.operation));
        }
    }
    return std::nullopt;
}

Split SplitTree::splitAt(std::uint32_t position, std::string_view text, const BinaryOperator& row) const {
    const unsigned level = m_quirks.ownPrecedence ? row.level : row.standardLevel;
    return {
        position,
        Split::kNone,
        Split::kNone,
        row.operation,
        static_cast<std::uint8_t>(text.size()),
        static_cast<std::uint8_t>(level)};
}

bool SplitTree::isBinarySign(std::uint32_t position) const {
    return position > m_begin && !isOperatorCharacter(m_text[position - 1]) && !isExponentSign(position);
}

// The sign in 1E+5, but not those in VALUE+5, 0X1E+5 and E+5 (a variable named E).
bool SplitTree::isExponentSign(std::uint32_t position) const {
    if (m_text[position - 1] != 'E') {
        return false;
    }
    std::uint32_t mantissa = position - 1;
    while (mantissa > m_begin && (isDigit(m_text[mantissa - 1]) || m_text[mantissa - 1] == '.')) {
        --mantissa;
    }
    if (mantissa == position - 1) {
        return false;
    }
    return mantissa == m_begin || isOperatorCharacter(m_text[mantissa - 1]) || m_text[mantissa - 1] == '(';
}

} // namespace tavo::math
