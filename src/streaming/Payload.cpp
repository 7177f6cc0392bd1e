#include "streaming/Payload.h"

#include "gvsp/chunks.h"
#include "protocol/gvsp.h"

#include <algorithm>
#include <cstdint>

namespace streaming {
namespace {

bool hasChunks(unsigned payloadType) {
    return (payloadType & gvsp::kWithChunks) != 0 ||
           payloadType == static_cast<unsigned>(gvsp::PayloadType::ChunkData) ||
           payloadType == static_cast<unsigned>(gvsp::PayloadType::ExtendedChunkData);
}

// The chunks are found by what stands behind them. They count only when all of that has arrived: what is
// missing must lie within the first, the image, since a buffer holds bytes of earlier images.
std::vector<gvsp::Chunk> findChunks(const TavoImage& arrived, const std::byte* bytes) {
    if (!hasChunks(arrived.payloadType) || arrived.truncated != 0) {
        return {};
    }
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(bytes);
    const std::vector<gvsp::Chunk> chunks = gvsp::findChunks({begin, arrived.size});
    const bool sound =
        std::all_of(arrived.missing, arrived.missing + arrived.missingCount, [&](const TavoMissing& missing) {
            return !chunks.empty() && missing.offset + missing.length <= chunks.front().length;
        });
    return sound ? chunks : std::vector<gvsp::Chunk>();
}

// Bytes of the image alone, as its leader describes it.
std::size_t imageSize(const TavoImage& arrived) {
    const std::uint64_t bits = std::uint64_t{gvsp::bitsPerPixel(arrived.pixelFormat)} * arrived.width;
    const std::uint64_t line = (bits + 7) / 8 + arrived.paddingX;
    const std::uint64_t lines = std::uint64_t{arrived.height};
    const bool fits = line == 0 || lines <= arrived.size / line;
    return fits ? static_cast<std::size_t>(
                      std::min<std::uint64_t>(line * lines + arrived.paddingY, arrived.size))
                : arrived.size;
}

} // namespace

void Payload::describe(const TavoImage& arrived, const std::byte* bytes, GbeImage& image) {
    m_missing.clear();
    for (std::size_t i = 0; i < arrived.missingCount; ++i) {
        m_missing.push_back({arrived.missing[i].offset, arrived.missing[i].length});
    }
    image.missing = m_missing.empty() ? nullptr : m_missing.data();
    image.missingCount = m_missing.size();
    image.missingBytes = arrived.missingBytes;
    image.data = bytes;
    image.size = arrived.size;
    describeChunks(arrived, bytes, image);
}

void Payload::describeChunks(const TavoImage& arrived, const std::byte* bytes, GbeImage& image) {
    m_chunks.clear();
    const std::vector<gvsp::Chunk> found = findChunks(arrived, bytes);
    for (const gvsp::Chunk& chunk : found) {
        m_chunks.push_back({chunk.id, bytes + chunk.offset, chunk.length});
    }
    if (!m_chunks.empty()) {
        image.size = m_chunks.front().size;
        m_chunks.erase(m_chunks.begin());
    } else if (hasChunks(arrived.payloadType) && arrived.status != GBE_IMAGE_NOT_UNDERSTOOD) {
        image.size = imageSize(arrived);
    }
    image.chunks = m_chunks.empty() ? nullptr : m_chunks.data();
    image.chunkCount = m_chunks.size();
}

} // namespace streaming
