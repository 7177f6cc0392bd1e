#include "transport/stream_setup.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace transport {

using fpga::PortRegister;

namespace {

struct SyncFactor {
    std::string_view pixelFormat;
    double factor; // line length units a pixel
};

// Bytes a pixel; the packed YUV formats count half as much again.
constexpr std::array kSyncFactors{
    SyncFactor{"Mono8", 1.0},         SyncFactor{"Mono8Signed", 1.0},   SyncFactor{"Mono10", 2.0},
    SyncFactor{"Mono10Packed", 1.5},  SyncFactor{"Mono12", 2.0},        SyncFactor{"Mono12Packed", 1.5},
    SyncFactor{"Mono16", 2.0},        SyncFactor{"BayerGR8", 1.0},      SyncFactor{"BayerRG8", 1.0},
    SyncFactor{"BayerGB8", 1.0},      SyncFactor{"BayerBG8", 1.0},      SyncFactor{"BayerGR10", 2.0},
    SyncFactor{"BayerRG10", 2.0},     SyncFactor{"BayerGB10", 2.0},     SyncFactor{"BayerBG10", 2.0},
    SyncFactor{"BayerGR12", 2.0},     SyncFactor{"BayerRG12", 2.0},     SyncFactor{"BayerGB12", 2.0},
    SyncFactor{"BayerBG12", 2.0},     SyncFactor{"RGB8Packed", 3.0},    SyncFactor{"BGR8Packed", 3.0},
    SyncFactor{"RGBA8Packed", 4.0},   SyncFactor{"BGRA8Packed", 4.0},   SyncFactor{"RGB10Packed", 6.0},
    SyncFactor{"BGR10Packed", 6.0},   SyncFactor{"RGB12Packed", 6.0},   SyncFactor{"BGR12Packed", 6.0},
    SyncFactor{"RGB10V1Packed", 4.0}, SyncFactor{"BGR10V1Packed", 4.0}, SyncFactor{"YUV411Packed", 2.25},
    SyncFactor{"YUV422Packed", 3.0},  SyncFactor{"YUV444Packed", 4.5},  SyncFactor{"RGB8Planar", 3.0},
    SyncFactor{"RGB10Planar", 6.0},   SyncFactor{"RGB12Planar", 6.0},   SyncFactor{"RGB16Planar", 6.0},
};

constexpr double kUnknownFormat = 1.0;

double syncFactor(std::string_view pixelFormat) {
    const auto row =
        std::find_if(kSyncFactors.begin(), kSyncFactors.end(), [pixelFormat](const SyncFactor& candidate) {
            return candidate.pixelFormat == pixelFormat;
        });
    return row != kSyncFactors.end() ? row->factor : kUnknownFormat;
}

} // namespace

// Lengths beyond the 16 bits of the register wrap.
int setEolWidth(Port& port, int width, std::string_view pixelFormat) {
    const auto length = static_cast<std::int64_t>(width * syncFactor(pixelFormat));
    return port.writeRegister(PortRegister::LineLength, static_cast<std::uint16_t>(length));
}

PacketCounters readPacketCounters(const Port& port) {
    PacketCounters counters;
    port.readRegister(PortRegister::ImagePackets, &counters.imagePackets);
    port.readRegister(PortRegister::ReceivedPackets, &counters.receivedPackets);
    port.readRegister(PortRegister::ReceiveErrors, &counters.receiveErrors);
    return counters;
}

} // namespace transport
