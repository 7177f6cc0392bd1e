#include "api/near_names.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

namespace api {
namespace {

constexpr std::size_t kMostNames = 3;
constexpr std::size_t kMostMistakes = 2;  // in a name that is taken for another
constexpr std::size_t kLongestName = 128; // what is longer is near to none
constexpr std::size_t kShortestPart = 4;  // of a name; what is shorter is in too many

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSame(char a, char b) {
    return lower(a) == lower(b);
}

// Letters to add, drop, replace or swap with their neighbour to make one text of the other: of all of the
// name, and of its beginning that is nearest.
struct Mistakes {
    std::size_t whole;
    std::size_t beginning;
};

Mistakes mistakesIn(std::string_view typed, std::string_view name) {
    std::vector<std::size_t> last(name.size() + 1);
    std::vector<std::size_t> beforeLast;
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= typed.size(); ++i) {
        std::vector<std::size_t> row{i};
        for (std::size_t j = 1; j <= name.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (isSame(typed[i - 1], name[j - 1]) ? 0 : 1);
            row.push_back(std::min({last[j] + 1, row[j - 1] + 1, replaced}));
            if (i > 1 && j > 1 && isSame(typed[i - 1], name[j - 2]) && isSame(typed[i - 2], name[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return {last.back(), *std::ranges::min_element(last)};
}

bool holds(std::string_view name, std::string_view part) {
    return part.size() >= kShortestPart && !std::ranges::search(name, part, isSame).empty();
}

} // namespace

// A name of a few letters is near to too many.
std::vector<std::string_view> nearNames(std::string_view typed, const std::vector<std::string_view>& names) {
    using Rank = std::tuple<std::size_t, std::size_t, std::string_view>;
    std::vector<Rank> ranks;
    const std::size_t most = std::min(kMostMistakes, typed.size() / 3);
    for (const std::string_view name : names) {
        if (typed.size() > kLongestName || name.size() > kLongestName) {
            continue;
        }
        const Mistakes mistakes = mistakesIn(typed, name);
        if (mistakes.beginning <= most && typed.size() >= kShortestPart - 1) {
            ranks.emplace_back(mistakes.beginning, mistakes.whole, name);
        } else if (holds(name, typed)) {
            ranks.emplace_back(most + 1, mistakes.whole, name);
        }
    }
    std::ranges::sort(ranks);
    ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
    std::vector<std::string_view> nearest;
    for (const auto& [beginning, whole, name] : ranks) {
        if (nearest.size() < kMostNames) {
            nearest.push_back(name);
        }
    }
    return nearest;
}

} // namespace api
