#include "genicam/nodes/RegisterMap.h"

#include "genicam/nodes/ImplGenICamNode.h"

#include <algorithm>

namespace tavo {
namespace {

constexpr int kCellBits = 4; // most registers have 4 or 8 bytes
constexpr std::int64_t kMostCells = 16;

std::int64_t firstCell(const RegisterPlace& place) {
    return place.begin >> kCellBits;
}

std::int64_t lastCell(const RegisterPlace& place) {
    return (place.end - 1) >> kCellBits;
}

bool isLong(const RegisterPlace& place) {
    return lastCell(place) - firstCell(place) >= kMostCells;
}

// Cells that share a key cost a comparison, no more.
std::uint64_t keyOf(const GenICamPortInterface* port, std::int64_t cell) {
    return static_cast<std::uint64_t>(cell) * 0x9E3779B97F4A7C15u ^ reinterpret_cast<std::uintptr_t>(port);
}

} // namespace

void RegisterMap::make() {
    m_made = true;
    for (ImplGenICamNode* const node : m_enrolled) {
        add(*node, node->place());
    }
}

void RegisterMap::add(ImplGenICamNode& node, const RegisterPlace& place) {
    if (place.isNowhere()) {
        return;
    }
    if (isLong(place)) {
        m_long.push_back({place, &node});
        return;
    }
    for (std::int64_t cell = firstCell(place); cell <= lastCell(place); ++cell) {
        m_cells.emplace(keyOf(place.port, cell), Entry{place, &node});
    }
}

void RegisterMap::remove(const ImplGenICamNode& node, const RegisterPlace& place) {
    if (place.isNowhere()) {
        return;
    }
    if (isLong(place)) {
        std::erase_if(m_long, [&node](const Entry& entry) { return entry.node == &node; });
        return;
    }
    for (std::int64_t cell = firstCell(place); cell <= lastCell(place); ++cell) {
        const auto [begin, end] = m_cells.equal_range(keyOf(place.port, cell));
        for (auto at = begin; at != end; ++at) {
            if (at->second.node == &node) {
                m_cells.erase(at);
                break;
            }
        }
    }
}

void RegisterMap::move(ImplGenICamNode& node, const RegisterPlace& from, const RegisterPlace& to) {
    if (m_made && !(from == to)) {
        remove(node, from);
        add(node, to);
    }
}

std::size_t RegisterMap::collect(const RegisterPlace& place, std::vector<ImplGenICamNode*>& found) {
    if (!m_made) {
        make();
    }
    std::size_t looked = m_long.size() + 1;
    const auto look = [&](const Entry& entry) {
        if (entry.place.overlaps(place)) {
            found.push_back(entry.node);
        }
    };
    std::ranges::for_each(m_long, look);
    if (place.isNowhere()) {
        return looked;
    }
    if (isLong(place)) {
        for (const auto& cell : m_cells) {
            look(cell.second);
        }
        return looked + m_cells.size();
    }
    for (std::int64_t cell = firstCell(place); cell <= lastCell(place); ++cell) {
        const auto [begin, end] = m_cells.equal_range(keyOf(place.port, cell));
        for (auto at = begin; at != end; ++at, ++looked) {
            look(at->second);
        }
    }
    return looked;
}

void RegisterMap::clear() {
    m_enrolled.clear();
    m_cells.clear();
    m_long.clear();
    m_made = false;
}

} // namespace tavo
