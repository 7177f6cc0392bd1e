// A multimap by name in one array.
#pragma once

#include "genicam/description/Arena.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>

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
//
// The items lie in the arena given; a list is always used with the same one, and owns nothing.
template<class Item> class NamedList {
    static_assert(std::is_trivially_copyable_v<Item> && std::is_trivially_destructible_v<Item>);

public:
    void reserve(std::size_t count, Arena& arena) {
        if (count > m_capacity) {
            auto* const items = static_cast<Item*>(arena.allocate(count * sizeof(Item), alignof(Item)));
            std::uninitialized_copy_n(m_items, m_size, items);
            m_items = items;
            m_capacity = static_cast<std::uint32_t>(count);
        }
    }

    Item& add(const Item& item, Arena& arena) {
        if (m_size == m_capacity) {
            const Item kept = item; // it may be one of the list
            reserve(std::max<std::size_t>(2, std::size_t{m_capacity} * 2), arena);
            return append(kept);
        }
        return append(item);
    }

    std::span<Item> all() {
        order();
        return {m_items, m_size};
    }

    std::span<Item> named(std::string_view name) {
        const auto items = all();
        const auto range = std::equal_range(items.begin(), items.end(), name, ByName{});
        return {range.first, range.second};
    }

    template<class Predicate> void removeIf(Predicate predicate) {
        m_size = static_cast<std::uint32_t>(std::remove_if(m_items, m_items + m_size, predicate) - m_items);
    }

    void clear() { *this = {}; }

private:
    struct ByName {
        bool operator()(const Item& a, const Item& b) const { return compareNames(a.name, b.name) < 0; }
        bool operator()(const Item& a, std::string_view b) const { return compareNames(a.name, b) < 0; }
        bool operator()(std::string_view a, const Item& b) const { return compareNames(a, b.name) < 0; }
    };

    Item& append(const Item& item) {
        m_ordered = m_ordered && (m_size == 0 || compareNames(m_items[m_size - 1].name, item.name) <= 0);
        return *std::construct_at(m_items + m_size++, item);
    }

    void order() {
        if (m_ordered) {
            return;
        }
        constexpr std::size_t kFewItems = 32; // most lists; std::stable_sort would allocate for each of them
        Item* const end = m_items + m_size;
        if (m_size > kFewItems) {
            std::stable_sort(m_items, end, ByName{});
        } else {
            for (Item* next = m_items; next != end; ++next) {
                std::rotate(std::upper_bound(m_items, next, *next, ByName{}), next, next + 1);
            }
        }
        m_ordered = true;
    }

    Item* m_items = nullptr;
    std::uint32_t m_size = 0;
    std::uint32_t m_capacity = 0;
    bool m_ordered = true;
};

} // namespace genicam
