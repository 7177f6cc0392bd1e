// What leader and trailer of a block say, and how many bytes an image of some shape has.
#pragma once

#include "gvsp/Receiver.h"

#include <cstdint>
#include <optional>
#include <span>

namespace gvsp {

struct Leader {
    std::uint16_t payloadType = 0;
    std::uint64_t timestamp = 0;
    std::optional<Geometry> geometry; // of payload types that have one
};

struct Trailer {
    std::uint16_t payloadType = 0;
    std::optional<std::uint32_t> height;      // lines that were really sent
    std::optional<std::uint32_t> chunkLength; // bytes of payload
};

// Nothing when the content is too short for what its payload type has.
std::optional<Leader> readLeader(std::span<const std::uint8_t> content);
std::optional<Trailer> readTrailer(std::span<const std::uint8_t> content);

// How long leader and trailer of a payload type are, which in an all-in packet stand in front of the payload;
// 0 for types of which that is not known.
struct Frame {
    std::size_t leader = 0;
    std::size_t trailer = 0;
};
Frame frameOf(std::uint16_t payloadType);

bool isImage(std::uint16_t payloadType); // with its geometry in the leader
bool hasChunks(std::uint16_t payloadType);

// Bytes of an image without chunks; the largest number when it would not fit into 64 bits.
std::uint64_t imageBytes(const Geometry& geometry);

} // namespace gvsp
