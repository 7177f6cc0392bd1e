// The applet's registers: names, widths, directions, and the ids that stand for them. Shared by the applet
// runtime, which looks names up, and by the board, which carries out the accesses.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace softboard {

inline constexpr int kBoards = 8;
inline constexpr int kPorts = 4;

enum class Access : std::uint8_t { None, Read, Write, ReadWrite };

// One of each per port; the port's digit follows the name.
enum class PortRegister : std::uint8_t {
    TxStart,
    HeartbeatEnable,
    BufferReset,
    WriteComplete,
    WriteData,
    ReadComplete,
    LineLength,
    ReadLength,
    ReadData,
    Status,
    RequestIdLoad,
    RequestIdEnable,
    ImagePort,
    ReceivedPackets,
    ReceiveErrors,
    ImagePackets,
    Count
};

// One of each per board.
enum class BoardRegister : std::uint8_t {
    TxStart,
    TxCamEnable,
    RxEnable,
    MdioRead,
    MdioWrite,
    MdioData,
    MdioRegisterAddress,
    MdioPhyAddress,
    MdioResult,
    Reset,
    Count
};

struct RegisterInfo {
    std::string_view name;
    std::uint8_t bits;
    Access access;
};

inline constexpr auto kPortRegisterCount = static_cast<std::size_t>(PortRegister::Count);
inline constexpr auto kBoardRegisterCount = static_cast<std::size_t>(BoardRegister::Count);

// In the order of the enumerators. Registers without access exist by name only: frames are received through
// the data queue, so that nothing stands behind the old receive registers.
inline constexpr std::array<RegisterInfo, kPortRegisterCount> kPortRegisters{{
    {"GigeTxStart", 8, Access::Write},
    {"GigeHeartbeatEnable", 8, Access::ReadWrite},
    {"GigeBufferReset", 8, Access::Write},
    {"GigeWriteComplete", 8, Access::Write},
    {"GigeWriteData", 16, Access::Write},
    {"GigeReadComplete", 8, Access::None},
    {"CLSyncLen", 16, Access::Write},
    {"GigeReadLength", 16, Access::None},
    {"GigeReadData", 16, Access::None},
    {"GigeStatus", 32, Access::Read},
    {"GigeReqIdLoad", 32, Access::Write},
    {"GigeReqIdEnable", 32, Access::Write},
    {"ImagePort", 16, Access::Write},
    {"GigeRecvPktCnt", 32, Access::Read},
    {"GigeRecvErrCnt", 32, Access::Read},
    {"ImagePackets", 32, Access::Read},
}};

inline constexpr std::array<RegisterInfo, kBoardRegisterCount> kBoardRegisters{{
    {"GigE_TxStart", 8, Access::Write},
    {"GigE_TxCamEnable", 8, Access::ReadWrite},
    {"GigE_RxEnable", 8, Access::Write},
    {"GigE_MdioRD", 8, Access::Write},
    {"GigE_MdioWR", 8, Access::Write},
    {"GigE_Mdio", 16, Access::Write},
    {"GigE_MdioRegAddr", 8, Access::Write},
    {"GigE_MdioPhyAddr", 8, Access::Write},
    {"MdioReadReg", 16, Access::Read},
    {"GigE_Reset", 8, Access::Write},
}};

// GigeStatus
inline constexpr std::uint32_t kStatusLinkUp = 1;
inline constexpr std::uint32_t kStatusFrameWaiting = 2;

// Ids: the ports' registers, port after port, then the board's. They do not start at 0, so that a forgotten
// id is refused and not taken for a register.
inline constexpr int kUnknownRegister = -1;
inline constexpr int kFirstRegisterId = 0x100;
inline constexpr std::size_t kRegisterIds = kPorts * kPortRegisterCount + kBoardRegisterCount;

constexpr int registerId(PortRegister reg, int port) {
    return kFirstRegisterId + port * static_cast<int>(kPortRegisterCount) + static_cast<int>(reg);
}

constexpr int registerId(BoardRegister reg) {
    return kFirstRegisterId + kPorts * static_cast<int>(kPortRegisterCount) + static_cast<int>(reg);
}

// Id to register, walked on every access: the port is kPorts for the board's own registers.
struct RegisterSlot {
    std::uint64_t mask = 0;
    Access access = Access::None;
    std::uint8_t port = 0;
    std::uint8_t index = 0; // in kPortRegisters or kBoardRegisters
};

namespace detail {
constexpr std::array<RegisterSlot, kRegisterIds> makeRegisterSlots() {
    std::array<RegisterSlot, kRegisterIds> slots{};
    std::size_t next = 0;
    const auto add = [&](const RegisterInfo& info, std::size_t port, std::size_t index) {
        slots[next++] = {
            (std::uint64_t{1} << info.bits) - 1, info.access, static_cast<std::uint8_t>(port),
            static_cast<std::uint8_t>(index)};
    };
    for (std::size_t port = 0; port < kPorts; ++port) {
        for (std::size_t i = 0; i < kPortRegisterCount; ++i) {
            add(kPortRegisters[i], port, i);
        }
    }
    for (std::size_t i = 0; i < kBoardRegisterCount; ++i) {
        add(kBoardRegisters[i], kPorts, i);
    }
    return slots;
}
} // namespace detail

inline constexpr auto kRegisterSlots = detail::makeRegisterSlots();
static_assert(kPortRegisters.back().name == "ImagePackets" && kBoardRegisters.back().name == "GigE_Reset");

// The register of an id; null for an id that stands for none.
constexpr const RegisterSlot* findRegister(int id) {
    const unsigned index = static_cast<unsigned>(id) - static_cast<unsigned>(kFirstRegisterId);
    return index < kRegisterIds ? &kRegisterSlots[index] : nullptr;
}

// The id of a register name: a board register's own, or a port register's followed by the port's digit.
// kUnknownRegister for any other text.
constexpr int registerByName(std::string_view name) {
    for (std::size_t i = 0; i < kBoardRegisterCount; ++i) {
        if (name == kBoardRegisters[i].name) {
            return registerId(static_cast<BoardRegister>(i));
        }
    }
    if (name.empty() || name.back() < '0' || name.back() >= '0' + kPorts) {
        return kUnknownRegister;
    }
    const std::string_view base = name.substr(0, name.size() - 1);
    for (std::size_t i = 0; i < kPortRegisterCount; ++i) {
        if (base == kPortRegisters[i].name) {
            return registerId(static_cast<PortRegister>(i), name.back() - '0');
        }
    }
    return kUnknownRegister;
}

} // namespace softboard
