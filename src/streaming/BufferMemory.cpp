#include "streaming/BufferMemory.h"

#include <sys/mman.h>

#include <limits>

namespace streaming {

bool BufferMemory::take(unsigned count, std::size_t size) {
    constexpr std::size_t kPage = 4096;
    constexpr std::size_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
    constexpr std::size_t kMostAtOnce = std::size_t{512}
                                        << 20; // what a camera says of its images may be wrong
    if (size > kMost - kPage) {
        return false;
    }
    const std::size_t stride = (size + kPage - 1) / kPage * kPage;
    if (count == 0 || stride == 0 || stride > kMost / count) {
        return false;
    }
    const std::size_t length = count * stride;
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS | (length <= kMostAtOnce ? MAP_POPULATE : 0);
    void* const begin = mmap(nullptr, length, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (begin == MAP_FAILED) {
        return false;
    }
    m_begin = begin;
    m_length = length;
    for (unsigned number = 0; number < count; ++number) {
        m_pieces.push_back(static_cast<std::byte*>(begin) + number * stride);
    }
    return true;
}

void BufferMemory::giveBack() {
    if (m_begin != nullptr) {
        munmap(m_begin, m_length);
    }
    m_begin = nullptr;
    m_pieces.clear();
}

} // namespace streaming
