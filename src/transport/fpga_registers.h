// The names and widths of the FPGA registers through which a board's four Ethernet ports are driven.
//
// The tables are all that is known of a register by name; the code names them by the enumerators, and the ids
// are looked up in the loaded applet once, in the order of the tables.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// Each port has these; a register's full name is the base name followed by the port's number.
// clang-format off
#define LIOMOL_PORT_REGISTERS(X) \
    X(TxStart,         "GigeTxStart",         8)  /* transmit enable of the port */ \
    X(HeartbeatEnable, "GigeHeartbeatEnable", 0)  /* not used */ \
    X(BufferReset,     "GigeBufferReset",     8)  /* strobe: empties the transmit buffer */ \
    X(WriteComplete,   "GigeWriteComplete",   8)  /* strobe: sends the loaded frame */ \
    X(WriteData,       "GigeWriteData",       16) /* the next two bytes of the outgoing frame */ \
    X(ReadComplete,    "GigeReadComplete",    0)  /* not used: frames come through the data queue */ \
    X(SyncLength,      "CLSyncLen",           16) /* length of an image line */ \
    X(ReadLength,      "GigeReadLength",      0)  /* not used */ \
    X(ReadData,        "GigeReadData",        0)  /* not used */ \
    X(Status,          "GigeStatus",          0)  /* not used */ \
    X(RequestIdLoad,   "GigeReqIdLoad",       32) /* sets the FPGA's own request id counter */ \
    X(RequestIdEnable, "GigeReqIdEnable",     32) /* lets the FPGA stamp request ids into the loaded frame */ \
    X(ImagePort,       "ImagePort",           16) /* UDP port that takes the image stream */ \
    X(ReceivedPackets, "GigeRecvPktCnt",      32) /* stream packets received */ \
    X(ReceiveErrors,   "GigeRecvErrCnt",      32) /* receive errors */ \
    X(ImagePackets,    "ImagePackets",        32) /* image packets */

#define LIOMOL_BOARD_REGISTERS(X) \
    X(TxStart,         "GigE_TxStart",        8)  /* transmitter enable */ \
    X(TxCamEnable,     "GigE_TxCamEnable",    0)  /* not used */ \
    X(RxEnable,        "GigE_RxEnable",       8)  /* receiver enable */ \
    X(MdioRead,        "GigE_MdioRD",         8)  /* strobe: starts an MDIO read */ \
    X(MdioWrite,       "GigE_MdioWR",         8)  /* strobe: starts an MDIO write */ \
    X(MdioData,        "GigE_Mdio",           16) /* the value of an MDIO write */ \
    X(MdioRegister,    "GigE_MdioRegAddr",    8)  /* 0 to 31 */ \
    X(MdioPhy,         "GigE_MdioPhyAddr",    8)  /* the PHY that MDIO talks to */ \
    X(MdioResult,      "MdioReadReg",         16) /* the value of an MDIO read */ \
    X(PhyReset,        "GigE_Reset",          8)  /* one bit a PHY: 0 holds it in reset */
// clang-format on

#define LIOMOL_REGISTER_ENUM(name, text, width) name,
enum class PortRegister : std::size_t { LIOMOL_PORT_REGISTERS(LIOMOL_REGISTER_ENUM) Count };
enum class BoardRegister : std::size_t { LIOMOL_BOARD_REGISTERS(LIOMOL_REGISTER_ENUM) Count };
#undef LIOMOL_REGISTER_ENUM

namespace fpga {

struct Register {
    std::string_view name;
    int width; // bits of an access; 0 for a register that is looked up and never accessed
};

#define LIOMOL_REGISTER_ROW(name, text, width) Register{text, width},
inline constexpr std::array kPortRegisters{LIOMOL_PORT_REGISTERS(LIOMOL_REGISTER_ROW)};
inline constexpr std::array kBoardRegisters{LIOMOL_BOARD_REGISTERS(LIOMOL_REGISTER_ROW)};
#undef LIOMOL_REGISTER_ROW

static_assert(kPortRegisters.size() == static_cast<std::size_t>(PortRegister::Count));
static_assert(kBoardRegisters.size() == static_cast<std::size_t>(BoardRegister::Count));

// Ids of registers, as KemGetRegisterByName gives them, indexed by the enumerators.
using PortIds = std::array<int, kPortRegisters.size()>;
using BoardIds = std::array<int, kBoardRegisters.size()>;

} // namespace fpga
