#include "gvsp/leader.h"

#include "gvsp/packet.h"

#include <limits>

namespace gvsp {
namespace {

constexpr PayloadType base(std::uint16_t payloadType) {
    return static_cast<PayloadType>(payloadType & ~kWithChunks);
}

} // namespace

bool isImage(std::uint16_t payloadType) {
    return base(payloadType) == PayloadType::Image || base(payloadType) == PayloadType::ExtendedChunkData;
}

bool hasChunks(std::uint16_t payloadType) {
    return (payloadType & kWithChunks) != 0 || base(payloadType) == PayloadType::ChunkData ||
           base(payloadType) == PayloadType::ExtendedChunkData;
}

Frame frameOf(std::uint16_t payloadType) {
    switch (payloadType) {
    case static_cast<std::uint16_t>(PayloadType::Image):
        return {kImageLeader, kImageTrailer};
    case static_cast<std::uint16_t>(PayloadType::Image) | kWithChunks:
    case static_cast<std::uint16_t>(PayloadType::ExtendedChunkData):
        return {kImageLeader, kChunkTrailer};
    case static_cast<std::uint16_t>(PayloadType::ChunkData):
        return {kPlainLeader, kChunkDataTrailer};
    case static_cast<std::uint16_t>(PayloadType::Raw):
        return {kRawLeader, kPlainTrailer};
    default:
        return {};
    }
}

std::optional<Leader> readLeader(std::span<const std::uint8_t> content) {
    if (content.size() < kPlainLeader) {
        return std::nullopt;
    }
    const std::uint8_t* at = content.data();
    Leader leader{big16(at + kLeaderPayloadType), big64(at + kLeaderTimestamp), std::nullopt};
    if (!isImage(leader.payloadType)) {
        return leader;
    }
    if (content.size() < kImageLeader) {
        return std::nullopt;
    }
    leader.geometry =
        Geometry{big32(at + kLeaderPixelFormat), big32(at + kLeaderWidth),   big32(at + kLeaderHeight),
                 big32(at + kLeaderOffsetX),     big32(at + kLeaderOffsetY), big16(at + kLeaderPaddingX),
                 big16(at + kLeaderPaddingY)};
    return leader;
}

std::optional<Trailer> readTrailer(std::span<const std::uint8_t> content) {
    if (content.size() < kPlainTrailer) {
        return std::nullopt;
    }
    const std::uint8_t* at = content.data();
    Trailer trailer{big16(at + kTrailerPayloadType), std::nullopt, std::nullopt};
    const auto field = [&](std::size_t offset) {
        return content.size() < offset + 4 ? std::nullopt : std::optional(big32(at + offset));
    };
    if (base(trailer.payloadType) == PayloadType::ExtendedChunkData) {
        trailer.height = field(kExtendedChunkTrailerHeight);
        trailer.chunkLength = field(kChunkDataTrailerLength);
    } else if (base(trailer.payloadType) == PayloadType::ChunkData) {
        trailer.chunkLength = field(kChunkDataTrailerLength);
    } else if (base(trailer.payloadType) == PayloadType::Image) {
        trailer.height = field(kTrailerHeight);
        trailer.chunkLength = hasChunks(trailer.payloadType) ? field(kTrailerChunkLength) : std::nullopt;
    }
    return trailer;
}

std::uint64_t imageBytes(const Geometry& geometry) {
    const std::uint64_t bits = std::uint64_t{geometry.width} * bitsPerPixel(geometry.pixelFormat);
    const std::uint64_t height = geometry.height;
    if (height != 0 && bits / 8 + 0x10000 > (std::numeric_limits<std::uint64_t>::max() >> 4) / height) {
        return std::numeric_limits<std::uint64_t>::max();
    }
    // Without padding lines of packed pixels go on within a byte.
    const std::uint64_t lines =
        geometry.paddingX == 0 ? (bits * height + 7) / 8 : ((bits + 7) / 8 + geometry.paddingX) * height;
    return lines + geometry.paddingY;
}

} // namespace gvsp
