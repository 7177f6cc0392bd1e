// GVSP, the GigE Vision stream protocol: the numbers that describe what a camera would send (GigE Vision 1.2,
// chapters 23 to 26). Pixel format values carry their bits per pixel in bits 16 to 23.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace gvsp {

inline constexpr std::size_t kHeader = 8;          // of each stream packet, after the UDP header
inline constexpr std::size_t kPacketOverhead = 36; // IPv4 (20), UDP (8) and GVSP (8) headers

struct PixelFormat {
    std::string_view name;
    std::uint32_t value;
};

inline constexpr unsigned bitsPerPixel(std::uint32_t format) {
    return (format >> 16) & 0xFF;
}

inline constexpr std::array kPixelFormats{
    PixelFormat{"Mono8", 0x01080001},         PixelFormat{"Mono8Signed", 0x01080002},
    PixelFormat{"Mono10", 0x01100003},        PixelFormat{"Mono10Packed", 0x010C0004},
    PixelFormat{"Mono12", 0x01100005},        PixelFormat{"Mono12Packed", 0x010C0006},
    PixelFormat{"Mono16", 0x01100007},        PixelFormat{"BayerGR8", 0x01080008},
    PixelFormat{"BayerRG8", 0x01080009},      PixelFormat{"BayerGB8", 0x0108000A},
    PixelFormat{"BayerBG8", 0x0108000B},      PixelFormat{"BayerGR10", 0x0110000C},
    PixelFormat{"BayerRG10", 0x0110000D},     PixelFormat{"BayerGB10", 0x0110000E},
    PixelFormat{"BayerBG10", 0x0110000F},     PixelFormat{"BayerGR12", 0x01100010},
    PixelFormat{"BayerRG12", 0x01100011},     PixelFormat{"BayerGB12", 0x01100012},
    PixelFormat{"BayerBG12", 0x01100013},     PixelFormat{"RGB8Packed", 0x02180014},
    PixelFormat{"BGR8Packed", 0x02180015},    PixelFormat{"RGBA8Packed", 0x02200016},
    PixelFormat{"BGRA8Packed", 0x02200017},   PixelFormat{"RGB10Packed", 0x02300018},
    PixelFormat{"BGR10Packed", 0x02300019},   PixelFormat{"RGB12Packed", 0x0230001A},
    PixelFormat{"BGR12Packed", 0x0230001B},   PixelFormat{"RGB10V1Packed", 0x0220001C},
    PixelFormat{"BGR10V2Packed", 0x0220001D}, PixelFormat{"YUV411Packed", 0x020C001E},
    PixelFormat{"YUV422Packed", 0x0210001F},  PixelFormat{"YUV444Packed", 0x02180020},
    PixelFormat{"RGB8Planar", 0x02180021},    PixelFormat{"RGB10Planar", 0x02300022},
    PixelFormat{"RGB12Planar", 0x02300023},   PixelFormat{"RGB16Planar", 0x02300024},
};

} // namespace gvsp
