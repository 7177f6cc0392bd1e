// Memory for the images of a stream: pages of its own, so that who reads it after it has been given back is
// stopped at once. One thread at a time.
#pragma once

#include <cstddef>
#include <vector>

namespace streaming {

class BufferMemory {
public:
    BufferMemory() = default;
    ~BufferMemory() { giveBack(); }
    BufferMemory(const BufferMemory&) = delete;
    BufferMemory& operator=(const BufferMemory&) = delete;

    // `count` pieces of `size` bytes, all there from the beginning unless they are very large. False when the
    // system has no such memory.
    bool take(unsigned count, std::size_t size);
    // Memory of somebody else's, which stays theirs.
    void lend(void* const* pieces, unsigned count) { m_pieces.assign(pieces, pieces + count); }
    void giveBack();

    void* const* pieces() const { return m_pieces.data(); }
    const std::byte* piece(unsigned number) const { return static_cast<std::byte*>(m_pieces.at(number)); }

private:
    void* m_begin = nullptr;
    std::size_t m_length = 0;
    std::vector<void*> m_pieces;
};

} // namespace streaming
