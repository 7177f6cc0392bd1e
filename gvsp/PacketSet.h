// A set of packets of one block, by their ids.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace gvsp {

class PacketSet {
public:
    // Room for the ids below `ids`, none of them in the set.
    void clear(std::uint32_t ids) { m_words.assign(wordsFor(ids), 0); }
    void grow(std::uint32_t ids) {
        if (wordsFor(ids) > m_words.size()) {
            m_words.resize(wordsFor(ids), 0);
        }
    }
    bool has(std::uint32_t id) const {
        return id / kBits < m_words.size() && (m_words[id / kBits] >> id % kBits & 1) != 0;
    }
    // `id` has room.
    void insert(std::uint32_t id) { m_words[id / kBits] |= Word{1} << id % kBits; }
    // Those from `first` to below `end`, which have room.
    void insert(std::uint32_t first, std::uint32_t end) {
        while (first < end) {
            const std::uint32_t bits = std::min(end - first, kBits - first % kBits);
            m_words[first / kBits] |= ~Word{0} >> (kBits - bits) << first % kBits;
            first += bits;
        }
    }
    void erase(std::uint32_t id) { m_words[id / kBits] &= ~(Word{1} << id % kBits); }

private:
    using Word = std::uint64_t;
    static constexpr std::uint32_t kBits = 64;
    static std::size_t wordsFor(std::uint32_t ids) { return ids / kBits + 1; }

    std::vector<Word> m_words{0};
};

} // namespace gvsp
