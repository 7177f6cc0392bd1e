// The test pattern "Encoded": every sample follows from the block that it is in and from its place there, so
// that whoever receives an image can prove each of its bytes.
#pragma once

#include <cstdint>

namespace simcam {

// Blocks whose ids are congruent to this modulus look the same.
inline constexpr std::uint64_t kEncodedBlocks = 5003;
// By how many samples the sequence moves on from one block to the next; whole groups of every pixel format.
inline constexpr std::uint64_t kEncodedStep = 12;

// Sample `index` of the block with this id (as the packets carry it), `bits` wide. Samples are counted from 0
// on in the order in which they stand in the payload, line by line: one a pixel of Mono and Bayer formats,
// three (R, G, B or B, G, R) of RGB and BGR formats, two (U Y, V Y in turns) of YUV422 formats.
//
//   n = index + 12 * (block mod 5003)
//   h = n * 2654435761, h = (h xor h / 2^15) * 2246822519, h = h xor h / 2^13, each modulo 2^32
//   the sample is h modulo 2^bits
constexpr std::uint16_t encodedSample(std::uint64_t block, std::uint64_t index, unsigned bits) {
    const std::uint64_t n = index + kEncodedStep * (block % kEncodedBlocks);
    std::uint32_t h = static_cast<std::uint32_t>(n) * 2654435761U;
    h = (h ^ (h >> 15)) * 2246822519U;
    h ^= h >> 13;
    return static_cast<std::uint16_t>(h & ((1U << bits) - 1));
}

} // namespace simcam
