#include "simcam/ChunkModel.h"

#include "protocol/gvsp.h"

namespace simcam {

using gvcp::Status;

namespace {

constexpr double kExposureUnitsPerMicrosecond = 10;

bool isOn(const Registers& registers, std::uint32_t chunk) {
    return registers.get(Reg::ChunkEnable, chunk) != 0;
}

} // namespace

std::size_t chunkBytes(const Registers& registers) {
    std::size_t bytes = 0;
    for (std::uint32_t i = 0; registers.get(Reg::ChunkModeActive) != 0 && i < kChunks.size(); ++i) {
        bytes += isOn(registers, i) ? kChunks[i].size + gvsp::kChunkMark : 0;
    }
    return bytes;
}

Bytes makeChunks(
    Registers& registers, std::size_t imageSize, std::uint64_t frameId, std::uint64_t timestamp) {
    const double exposure = static_cast<double>(registers.get(Reg::ExposureTime));
    registers.set(Reg::ChunkFrameID, frameId);
    registers.set(Reg::ChunkTimestamp, timestamp);
    registers.setFloat(Reg::ChunkExposureTime, exposure / kExposureUnitsPerMicrosecond);
    constexpr Reg kContents[] = {Reg::ChunkFrameID, Reg::ChunkTimestamp, Reg::ChunkExposureTime};
    Writer chunks;
    chunks.u32(kChunks[0].id).u32(static_cast<std::uint32_t>(imageSize));
    for (std::uint32_t i = 1; i < kChunks.size(); ++i) {
        if (isOn(registers, i)) {
            chunks.bytes(registers.element(kContents[i - 1])).u32(kChunks[i].id).u32(kChunks[i].size);
        }
    }
    return chunks.take();
}

std::uint32_t chunkLayout(const Registers& registers) {
    std::uint32_t layout = 0;
    for (std::uint32_t i = 0; i < kChunks.size(); ++i) {
        layout |= isOn(registers, i) ? 1U << i : 0;
    }
    return layout;
}

Status ChunkModel::check(const Candidate& candidate) const {
    if (candidate.reg != Reg::ChunkModeActive && candidate.reg != Reg::ChunkEnable) {
        return Status::Success;
    }
    if (m_isAcquiring()) {
        return Status::Busy;
    }
    const bool image = candidate.reg == Reg::ChunkEnable && candidate.index == 0;
    return image && candidate.integer == 0 ? Status::InvalidParameter : Status::Success;
}

} // namespace simcam
