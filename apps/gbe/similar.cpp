#include "similar.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace gbe {
namespace {

constexpr std::size_t kMostMistakes = 2; // in a word that is taken for another
constexpr std::size_t kMostShown = 3;

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

std::size_t mistakes(const std::string& typed, const std::string& word) {
    std::vector<std::size_t> last(word.size() + 1);
    std::vector<std::size_t> beforeLast;
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= typed.size(); ++i) {
        std::vector<std::size_t> row{i};
        for (std::size_t j = 1; j <= word.size(); ++j) {
            const bool isSame = lower(typed[i - 1]) == lower(word[j - 1]);
            row.push_back(std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)}));
            if (i > 1 && j > 1 && lower(typed[i - 1]) == lower(word[j - 2]) &&
                lower(typed[i - 2]) == lower(word[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

} // namespace

// A word of a few letters is near to too many.
std::string suggestion(const std::string& typed, const std::vector<std::string>& known) {
    std::size_t least = std::min(kMostMistakes, typed.size() / 2);
    std::vector<std::string> nearest;
    for (const std::string& word : known) {
        const std::size_t wrong = mistakes(typed, word);
        if (wrong < least) {
            nearest.clear();
        }
        if (wrong <= least && nearest.size() < kMostShown) {
            least = wrong;
            nearest.push_back(word);
        }
    }
    std::string text;
    for (const std::string& word : nearest) {
        text += (text.empty() ? "; " : ", ") + word;
    }
    return text.empty() ? text : text + "?";
}

} // namespace gbe
