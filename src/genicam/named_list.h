// A multimap by name in one vector.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace genicam {

// As string_view's compare; most names differ in their first letter, which saves the call.
inline int compareNames(std::string_view a, std::string_view b) {
    if (!a.empty() && !b.empty() && a.front() != b.front()) {
        return static_cast<unsigned char>(a.front()) - static_cast<unsigned char>(b.front());
    }
    return a.compare(b);
}

// Items ordered by name, byte for byte, and in insertion order within a name. Item has a member `name` that
// is a std::string_view. Adding only appends; the order is made by the next look at the list, so filling a
// list of any length and then reading it costs n log n. A span is valid until the next add.
template<class Item> class NamedList {
public:
    void reserve(std::size_t count) { m_items.reserve(count); }

    Item& add(Item item) {
        m_ordered = m_ordered && (m_items.empty() || compareNames(m_items.back().name, item.name) <= 0);
        return m_items.emplace_back(std::move(item));
    }

    std::span<Item> all() {
        order();
        return m_items;
    }

    std::span<Item> named(std::string_view name) {
        order();
        const auto range = std::equal_range(m_items.begin(), m_items.end(), name, ByName{});
        return {range.first, range.second};
    }

    template<class Predicate> void removeIf(Predicate predicate) { std::erase_if(m_items, predicate); }

    void clear() {
        m_items = std::vector<Item>(); // and give its memory back
        m_ordered = true;
    }

private:
    struct ByName {
        bool operator()(const Item& a, const Item& b) const { return compareNames(a.name, b.name) < 0; }
        bool operator()(const Item& a, std::string_view b) const { return compareNames(a.name, b) < 0; }
        bool operator()(std::string_view a, const Item& b) const { return compareNames(a, b.name) < 0; }
    };

    void order() {
        if (m_ordered) {
            return;
        }
        constexpr std::size_t fewItems = 32; // most lists; std::stable_sort would allocate for each of them
        if (m_items.size() > fewItems) {
            std::stable_sort(m_items.begin(), m_items.end(), ByName{});
        } else {
            for (auto next = m_items.begin(); next != m_items.end(); ++next) {
                std::rotate(std::upper_bound(m_items.begin(), next, *next, ByName{}), next, next + 1);
            }
        }
        m_ordered = true;
    }

    std::vector<Item> m_items;
    bool m_ordered = true;
};

} // namespace genicam
