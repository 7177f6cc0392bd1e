#include "simcam/ImageModel.h"

#include "protocol/gvsp.h"
#include "simcam/ChunkModel.h"

#include <algorithm>

namespace simcam {

using gvcp::Status;

namespace {

constexpr std::array<std::string_view, 12> kFormats{
    "Mono8",    "Mono10",    "Mono10Packed", "Mono12",     "Mono12Packed", "Mono16",
    "BayerRG8", "BayerRG10", "BayerRG12",    "RGB8Packed", "BGR8Packed",   "YUV422Packed"};
constexpr std::uint32_t kFilterNone = 0;
constexpr std::uint32_t kFilterBayerRg = 1;

const gvsp::PixelFormat* supportedFormat(std::uint64_t value) {
    const auto format = std::ranges::find_if(
        gvsp::kPixelFormats, [&](const gvsp::PixelFormat& row) { return row.value == value; });
    const bool known = format != gvsp::kPixelFormats.end();
    return known && std::ranges::count(kFormats, format->name) > 0 ? &*format : nullptr;
}

} // namespace

const ImageModel::Axis ImageModel::kAxes[2] = {
    {Reg::SensorWidth, Reg::WidthMax, Reg::Width, Reg::OffsetX, Reg::BinningHorizontal,
     Reg::DecimationHorizontal, 4},
    {Reg::SensorHeight, Reg::HeightMax, Reg::Height, Reg::OffsetY, Reg::BinningVertical,
     Reg::DecimationVertical, 2},
};

// The binning registers hold the factor less one, the decimation registers the factor.
std::uint64_t ImageModel::largest(const Axis& axis) const {
    const std::uint64_t factor = (m_registers.get(axis.binning) + 1) * m_registers.get(axis.decimation);
    const std::uint64_t pixels = m_registers.get(axis.sensor) / factor;
    return pixels - pixels % axis.step;
}

void ImageModel::refresh(Time) {
    for (const Axis& axis : kAxes) {
        m_registers.set(axis.max, largest(axis));
    }
    const std::uint64_t format = m_registers.get(Reg::PixelFormat);
    const std::uint64_t pixels = m_registers.get(Reg::Width) * m_registers.get(Reg::Height);
    const std::uint64_t bits = pixels * gvsp::bitsPerPixel(static_cast<std::uint32_t>(format));
    m_registers.set(Reg::PayloadSize, (bits + 7) / 8 + chunkBytes(m_registers));
    const gvsp::PixelFormat* known = supportedFormat(format);
    const bool bayer = known != nullptr && known->name.starts_with("BayerRG");
    m_registers.set(Reg::PixelColorFilter, bayer ? kFilterBayerRg : kFilterNone);
}

Status ImageModel::check(const Candidate& candidate) const {
    const auto value = static_cast<std::uint64_t>(candidate.integer);
    if (candidate.reg == Reg::PixelFormat) {
        if (supportedFormat(value) == nullptr) {
            return Status::InvalidParameter;
        }
        return m_isAcquiring() ? Status::Busy : Status::Success;
    }
    for (const Axis& axis : kAxes) {
        const bool size = candidate.reg == axis.size;
        const bool offset = candidate.reg == axis.offset;
        const bool scale = candidate.reg == axis.binning || candidate.reg == axis.decimation;
        if ((size || offset || scale) && m_isAcquiring()) {
            return Status::Busy;
        }
        const std::uint64_t other = m_registers.get(size ? axis.offset : axis.size);
        if ((size || offset) && (value % axis.step != 0 || value + other > largest(axis))) {
            return Status::InvalidParameter;
        }
    }
    return Status::Success;
}

// A coarser image is smaller: size and offset give way, as they must always fit.
void ImageModel::fit(const Axis& axis) {
    const std::uint64_t max = largest(axis);
    const std::uint64_t size = std::min(m_registers.get(axis.size), max);
    const std::uint64_t offset = std::min(m_registers.get(axis.offset), max - size);
    m_registers.set(axis.size, size);
    m_registers.set(axis.offset, offset - offset % axis.step);
}

void ImageModel::written(Reg reg, std::uint32_t, Time) {
    for (const Axis& axis : kAxes) {
        if (reg == axis.binning || reg == axis.decimation) {
            fit(axis);
        }
    }
}

} // namespace simcam
