// The blocks under way, in their order: those that packets may still come for, and finished ones behind them.
#pragma once

#include "gvsp/Block.h"
#include "gvsp/Wishes.h"

#include <array>
#include <cstdint>
#include <vector>

namespace gvsp {

class UnderWay {
public:
    struct Entry {
        Block block;
        Wishes wishes;
    };

    UnderWay();

    bool empty() const { return m_order.empty(); }
    bool full() const { return m_idle.empty(); }
    Entry& front() { return *m_order.front(); }
    const std::vector<Entry*>& order() const { return m_order; }

    // Null when there is no such block.
    Entry* find(std::uint64_t block, bool extendedIds) const;
    // A place in the order; there is room. Blocks before it are overtaken now.
    Entry& insert(std::uint64_t sequence, bool resend, Time now);
    void popFront();

    // The block of the last packet, or one that takes none.
    Block& current() { return *m_current; }
    void setCurrent(Block& block) { m_current = &block; }

private:
    // So many that one can be asked for several times over while a fast camera goes on.
    static constexpr std::size_t kMost = 32;

    std::array<Entry, kMost> m_pool;
    std::vector<Entry*> m_idle;
    std::vector<Entry*> m_order; // by sequence
    Block m_none;
    Block* m_current = &m_none;
};

} // namespace gvsp
