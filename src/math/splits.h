// Where the text of a formula splits.
#pragma once

#include "math/operations.h"
#include "util/Quirks.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace tavo::math {

// One pass over a text finds the operators outside brackets as a tree whose root is the rightmost of the
// loosest: where the text splits. So no part is looked at again, however long a chain of operators is.
//
// Where conditionals or powers group to the right, the root of several is the leftmost, and the colon of each
// conditional is a split too, at the right of its ?.
struct Split {
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

    std::uint32_t position;
    std::uint32_t left;  // the root on the left of this one, or kNone
    std::uint32_t right; // the same on the right
    Operation operation; // Unknown of a colon
    std::uint8_t length; // of the operator's text
    std::uint8_t level;
};

// The splits of a text and of what its brackets hold. The text and the quirks must outlive it.
class SplitTree {
public:
    SplitTree(std::string_view text, const Quirks& quirks);

    // Finds the splits between two positions and returns their root, or kNone without any. A bracket that
    // never closes ends the scan: the operators before it count, and without one it is an error
    // (ScMathException, as is a colon without a ?).
    std::uint32_t scan(std::uint32_t begin, std::uint32_t end);

    const Split& at(std::uint32_t index) const { return m_splits[index]; }
    // Of a conditional that groups to the right: its colon is missing.
    bool isOpenConditional(const Split& split) const;
    // Where the ")" of the "(" at a position is, or kNone.
    std::uint32_t closing(std::uint32_t open) const { return m_closing[open]; }

private:
    void findClosingBrackets();
    bool groupsRight(Operation operation) const;
    void addSplit(Split split);
    void addColon(std::uint32_t position);
    std::optional<Split> operatorAt(std::uint32_t position) const;
    std::optional<Split> standardSpellingAt(std::uint32_t position) const;
    Split splitAt(std::uint32_t position, std::string_view text, const BinaryOperator& row) const;
    bool isBinarySign(std::uint32_t position) const;
    bool isExponentSign(std::uint32_t position) const;

    std::string_view m_text;
    const Quirks& m_quirks;
    std::vector<std::uint32_t> m_closing; // for each "(" where its ")" is, or kNone
    std::vector<Split> m_splits;
    std::uint32_t m_begin = 0; // of the scan under way, and the other three likewise
    std::uint32_t m_end = 0;
    std::uint32_t m_root = Split::kNone;
    std::vector<std::uint32_t> m_spine; // the tree's right edge
};

} // namespace tavo::math
