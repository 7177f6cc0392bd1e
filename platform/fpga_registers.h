/* The registers of the applet through which a board's four Ethernet ports are driven: names, widths and
 * directions. Whoever looks a register up, and whoever stands in for the board, goes by these tables; the
 * code names registers by the enumerators.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fpga {

enum class Access : std::uint8_t { None, Read, Write, ReadWrite };

struct Register {
    std::string_view name;
    std::uint8_t bits;
    Access access; // None: it exists by name only
};

// Each port has these; a register's full name is the base name followed by the port's number.
// clang-format off
#define LIOMOL_PORT_REGISTERS(X) \
    X(TxStart,         "GigeTxStart",         8,  Write)     /* transmit enable of the port */ \
    X(HeartbeatEnable, "GigeHeartbeatEnable", 8,  ReadWrite) /* of the FPGA's own heartbeat */ \
    X(BufferReset,     "GigeBufferReset",     8,  Write)     /* strobe: empties the transmit buffer */ \
    X(WriteComplete,   "GigeWriteComplete",   8,  Write)     /* strobe: sends the loaded frame */ \
    X(WriteData,       "GigeWriteData",       16, Write)     /* the next two bytes of the outgoing frame */ \
    X(ReadComplete,    "GigeReadComplete",    8,  None)      /* frames come through the data queue */ \
    X(LineLength,      "CLSyncLen",           16, Write)     /* length of an image line */ \
    X(ReadLength,      "GigeReadLength",      16, None)      \
    X(ReadData,        "GigeReadData",        16, None)      \
    X(Status,          "GigeStatus",          32, Read)      \
    X(RequestIdLoad,   "GigeReqIdLoad",       32, Write)     /* sets the FPGA's own request id counter */ \
    X(RequestIdEnable, "GigeReqIdEnable",     32, Write)     /* has request ids stamped into the loaded frame */ \
    X(ImagePort,       "ImagePort",           16, Write)     /* UDP port that takes the image stream */ \
    X(ReceivedPackets, "GigeRecvPktCnt",      32, Read)      /* stream packets received */ \
    X(ReceiveErrors,   "GigeRecvErrCnt",      32, Read)      \
    X(ImagePackets,    "ImagePackets",        32, Read)

#define LIOMOL_BOARD_REGISTERS(X) \
    X(TxStart,             "GigE_TxStart",     8,  Write)     /* transmitter enable */ \
    X(TxCamEnable,         "GigE_TxCamEnable", 8,  ReadWrite) \
    X(RxEnable,            "GigE_RxEnable",    8,  Write)     /* receiver enable */ \
    X(MdioRead,            "GigE_MdioRD",      8,  Write)     /* strobe: starts an MDIO read */ \
    X(MdioWrite,           "GigE_MdioWR",      8,  Write)     /* strobe: starts an MDIO write */ \
    X(MdioData,            "GigE_Mdio",        16, Write)     /* the value of an MDIO write */ \
    X(MdioRegisterAddress, "GigE_MdioRegAddr", 8,  Write)     /* 0 to 31 */ \
    X(MdioPhyAddress,      "GigE_MdioPhyAddr", 8,  Write)     /* the PHY that MDIO talks to */ \
    X(MdioResult,          "MdioReadReg",      16, Read)      /* the value of an MDIO read */ \
    X(Reset,               "GigE_Reset",       8,  Write)     /* one bit a PHY: 0 holds it in reset */
// clang-format on

#define LIOMOL_REGISTER_ENUM(name, text, bits, access) name,
enum class PortRegister : std::uint8_t { LIOMOL_PORT_REGISTERS(LIOMOL_REGISTER_ENUM) Count };
enum class BoardRegister : std::uint8_t { LIOMOL_BOARD_REGISTERS(LIOMOL_REGISTER_ENUM) Count };
#undef LIOMOL_REGISTER_ENUM

// In the order of the enumerators.
#define LIOMOL_REGISTER_ROW(name, text, bits, access) Register{text, bits, Access::access},
inline constexpr std::array kPortRegisters{LIOMOL_PORT_REGISTERS(LIOMOL_REGISTER_ROW)};
inline constexpr std::array kBoardRegisters{LIOMOL_BOARD_REGISTERS(LIOMOL_REGISTER_ROW)};
#undef LIOMOL_REGISTER_ROW
#undef LIOMOL_PORT_REGISTERS
#undef LIOMOL_BOARD_REGISTERS

static_assert(kPortRegisters.size() == static_cast<std::size_t>(PortRegister::Count));
static_assert(kBoardRegisters.size() == static_cast<std::size_t>(BoardRegister::Count));

} // namespace fpga
