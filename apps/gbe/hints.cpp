#include "hints.h"

#include "liomol/features.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numeric>
#include <utility>
#include <vector>

namespace gbe {
namespace {

constexpr std::size_t kMostMistakes = 2; // in a name that is taken for another
constexpr std::size_t kMostEntries = 16; // more would fill the screen

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Letters to add, drop, replace or swap with their neighbour, in whatever case, to make one of the other.
std::size_t mistakes(const std::string& typed, const std::string& name) {
    std::vector<std::size_t> last(name.size() + 1);
    std::vector<std::size_t> beforeLast;
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= typed.size(); ++i) {
        std::vector<std::size_t> row{i};
        for (std::size_t j = 1; j <= name.size(); ++j) {
            const bool isSame = lower(typed[i - 1]) == lower(name[j - 1]);
            row.push_back(std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)}));
            if (i > 1 && j > 1 && lower(typed[i - 1]) == lower(name[j - 2]) &&
                lower(typed[i - 2]) == lower(name[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

// A name of a few letters is near to too many.
std::string nearest(CameraHandle* camera, const std::string& typed) {
    std::string found;
    std::size_t least = std::min(kMostMistakes, typed.size() / 3) + 1;
    const int count = Gbe_getFeatureCount(camera);
    for (int i = 0; i < count; ++i) {
        const char* name = nullptr;
        if (Gbe_getFeatureName(camera, static_cast<unsigned>(i), &name) == GBE_SUCCESS) {
            const std::size_t length = std::strlen(name);
            const bool isLikely = length < typed.size() + least && typed.size() < length + least;
            const std::size_t wrong = isLikely ? mistakes(typed, name) : least;
            if (wrong < least) {
                least = wrong;
                found = name;
            }
        }
    }
    return found;
}

// As a person writes it, in every locale.
std::string numberText(double value) {
    constexpr double kLongest = 1e9; // what is larger is better told by its power of ten
    const bool isPlain = std::abs(value) < kLongest && (value == 0 || std::abs(value) > 1 / kLongest);
    std::array<char, 64> text{};
    const auto format = isPlain ? std::chars_format::fixed : std::chars_format::general;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value, format).ptr};
}

std::string integerRange(CameraHandle* camera, const std::string& name) {
    long long min = 0;
    long long max = 0;
    long long increment = 1;
    if (Gbe_getIntegerLimits(camera, name.c_str(), &min, &max, &increment) != GBE_SUCCESS) {
        return "";
    }
    const std::string range = "from " + std::to_string(min) + " to " + std::to_string(max);
    return increment > 1 ? range + " in steps of " + std::to_string(increment) : range;
}

std::string floatRange(CameraHandle* camera, const std::string& name) {
    double min = 0;
    double max = 0;
    return Gbe_getFloatLimits(camera, name.c_str(), &min, &max) == GBE_SUCCESS
               ? "from " + numberText(min) + " to " + numberText(max)
               : "";
}

std::string entries(CameraHandle* camera, const std::string& name) {
    unsigned size = 0;
    if (Gbe_getFeatureList(camera, name.c_str(), GBE_LIST_AVAILABLE_ENTRIES, nullptr, &size) != GBE_SUCCESS) {
        return "";
    }
    std::vector<char> names(size);
    if (Gbe_getFeatureList(camera, name.c_str(), GBE_LIST_AVAILABLE_ENTRIES, names.data(), &size) !=
        GBE_SUCCESS) {
        return "";
    }
    std::string text;
    std::size_t shown = 0;
    for (const char* entry = names.data(); *entry != 0; entry += std::strlen(entry) + 1) {
        if (++shown > kMostEntries) {
            return text + ", ...";
        }
        text += (text.empty() ? "one of " : ", ") + std::string(entry);
    }
    return text;
}

} // namespace

std::string nameHint(CameraHandle* camera, const std::string& name) {
    int kind = GBE_KIND_OTHER;
    if (Gbe_getFeatureKind(camera, name.c_str(), &kind) == GBE_SUCCESS) {
        return "";
    }
    const std::string other = nearest(camera, name);
    return other.empty() ? "no feature has this name" : "no feature has this name; " + other + " is one";
}

std::string valueHint(CameraHandle* camera, const std::string& name) {
    int kind = GBE_KIND_OTHER;
    Gbe_getFeatureKind(camera, name.c_str(), &kind);
    return kind == GBE_KIND_INTEGER       ? integerRange(camera, name)
           : kind == GBE_KIND_FLOAT       ? floatRange(camera, name)
           : kind == GBE_KIND_ENUMERATION ? entries(camera, name)
                                          : "";
}

} // namespace gbe
