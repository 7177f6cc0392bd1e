#include "settings/compare.h"

#include "settings/value_text.h"

#include <map>
#include <utility>

namespace settings {
namespace {

// A feature's name with its place. What a file gives several times, as those of other tools do for each
// position of a selector, is told apart by its number.
using Key = std::pair<std::string, unsigned>;

class Keys {
public:
    Key keyOf(const Statement& statement) {
        std::string name = statement.name + placeText(*statement.place);
        const unsigned count = ++m_counts[name];
        return {std::move(name), count};
    }

private:
    std::map<std::string, unsigned> m_counts;
};

std::map<Key, const Statement*> indexOf(const Document& document) {
    std::map<Key, const Statement*> index;
    Keys keys;
    for (const Statement& statement : document) {
        index.emplace(keys.keyOf(statement), &statement);
    }
    return index;
}

bool isSame(const Statement& a, const Statement& b) {
    return a.isText || b.isText ? a.value == b.value : sameValue(a.value, b.value);
}

std::string line(const Key& key, const Statement* a, const Statement* b) {
    const auto shown = [](const Statement* one) { return one != nullptr ? valueText(*one) : ""; };
    return key.first + (key.second > 1 ? " (" + std::to_string(key.second) + ")" : "") + '\t' + shown(a) +
           '\t' + shown(b) + '\n';
}

} // namespace

std::string compare(const Document& a, const Document& b) {
    std::string differences;
    auto others = indexOf(b);
    Keys keys;
    for (const Statement& statement : a) {
        const Key key = keys.keyOf(statement);
        const auto found = others.find(key);
        const Statement* const other = found != others.end() ? found->second : nullptr;
        if (other == nullptr || !isSame(statement, *other)) {
            differences += line(key, &statement, other);
        }
        if (found != others.end()) {
            others.erase(found);
        }
    }
    Keys otherKeys;
    for (const Statement& statement : b) {
        const Key key = otherKeys.keyOf(statement);
        if (others.contains(key)) {
            differences += line(key, nullptr, &statement);
        }
    }
    return differences;
}

} // namespace settings
