#include "gvsp/chunks.h"

#include "gvsp/packet.h"

#include <algorithm>

namespace gvsp {
namespace {

constexpr std::size_t kMostChunks = 1024; // cameras have some dozens of kinds

} // namespace

std::vector<Chunk> findChunks(std::span<const std::uint8_t> payload) {
    std::vector<Chunk> chunks;
    std::size_t end = payload.size();
    while (end != 0) {
        if (end < kChunkMark || chunks.size() == kMostChunks) {
            return {};
        }
        end -= kChunkMark;
        const std::uint8_t* mark = payload.data() + end;
        const std::uint32_t length = big32(mark + kChunkLength);
        if (length > end) {
            return {};
        }
        end -= length;
        chunks.push_back({big32(mark + kChunkId), end, length});
    }
    std::reverse(chunks.begin(), chunks.end());
    return chunks;
}

} // namespace gvsp
