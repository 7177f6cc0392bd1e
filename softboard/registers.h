// The ids that stand for the applet's registers. Shared by the applet runtime, which looks names up, and by
// the board, which carries out the accesses.
#pragma once

#include "platform/fpga_registers.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace softboard {

inline constexpr int kBoards = 8;
inline constexpr int kPorts = 4;

using fpga::Access;
using fpga::BoardRegister;
using fpga::kBoardRegisters;
using fpga::kPortRegisters;
using fpga::PortRegister;

inline constexpr std::size_t kPortRegisterCount = kPortRegisters.size();
inline constexpr std::size_t kBoardRegisterCount = kBoardRegisters.size();

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
    const auto add = [&](const fpga::Register& info, std::size_t port, std::size_t index) {
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
