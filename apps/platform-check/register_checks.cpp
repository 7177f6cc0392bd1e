// Registers by name, and the PHYs behind them.
#include "Platform.h"
#include "Report.h"

#include "platform/fpga_registers.h"

#include <chrono>
#include <thread>

namespace platform_check {
namespace {

using fpga::Access;
using fpga::BoardRegister;

constexpr unsigned kPhyWithoutChip = 31;
constexpr std::chrono::milliseconds kMdioPause{100}; // the FPGA shows no busy flag

// What can be said of one register without changing what the board does.
void checkRegister(const Board& board, const fpga::Register& entry, const std::string& name, Report& report) {
    report.calling("KemGetRegisterByName");
    const int id = board.calls.registerId(board.applet, name.c_str());
    if (id < 0) {
        report.expect(entry.access == Access::None, name + " has an id");
        return;
    }
    if (entry.access != Access::Read && entry.access != Access::ReadWrite) {
        return;
    }
    report.calling("TavoRegisterRead");
    std::uint64_t value = ~std::uint64_t{0};
    const bool good = board.calls.read(board.device, id, &value) == 0;
    report.expect(
        good && value >> entry.bits == 0,
        name + " is read, with zeros above its " + std::to_string(entry.bits) + " bits");
}

// The one register that may be written without an effect on the wire.
void checkWriting(const Board& board, Report& report) {
    report.calling("TavoRegisterWrite");
    const std::string name = "GigeHeartbeatEnable" + std::to_string(board.port);
    const int id = board.calls.registerId(board.applet, name.c_str());
    std::uint64_t before = 0;
    std::uint64_t after = 0;
    const bool written = board.calls.read(board.device, id, &before) == 0 &&
                         board.calls.write(board.device, id, 0x155) == 0 &&
                         board.calls.read(board.device, id, &after) == 0;
    report.expect(
        written && after == 0x55, name + " keeps the low 8 bits of what is written, and ignores the others");
    board.calls.write(board.device, id, before);
}

void checkUnknown(const Board& board, Report& report) {
    report.calling("KemGetRegisterByName");
    const int none = board.calls.registerId(board.applet, "NoSuchRegister");
    std::uint64_t value = 0;
    report.expect(
        board.calls.read(board.device, none, &value) != 0 && board.calls.write(board.device, none, 0) != 0,
        "an unknown name gives an id that cannot be read or written");
}

class Mdio {
public:
    explicit Mdio(const Board& board) : m_board(board) {}

    std::uint64_t read(unsigned phy, unsigned reg) const {
        write(BoardRegister::MdioPhyAddress, phy);
        write(BoardRegister::MdioRegisterAddress, reg);
        write(BoardRegister::MdioRead, 0);
        std::uint64_t value = 0;
        m_board.calls.read(m_board.device, id(BoardRegister::MdioResult), &value);
        return value;
    }

private:
    int id(BoardRegister reg) const {
        const std::string name(fpga::kBoardRegisters[static_cast<std::size_t>(reg)].name);
        return m_board.calls.registerId(m_board.applet, name.c_str());
    }
    void write(BoardRegister reg, unsigned value) const {
        m_board.calls.write(m_board.device, id(reg), value);
        std::this_thread::sleep_for(kMdioPause);
    }

    const Board& m_board;
};

} // namespace

void checkRegisters(const Board& board, Report& report) {
    for (const fpga::Register& entry : fpga::kBoardRegisters) {
        checkRegister(board, entry, std::string(entry.name), report);
    }
    for (unsigned port = 0; port < kPorts; ++port) {
        for (const fpga::Register& entry : fpga::kPortRegisters) {
            checkRegister(board, entry, std::string(entry.name) + std::to_string(port), report);
        }
    }
    checkUnknown(board, report);
    checkWriting(board, report);
}

void checkPhys(const Board& board, Report& report) {
    constexpr unsigned kControl = 0;
    constexpr unsigned kStatus = 1;
    constexpr std::uint64_t kNobody = 0xFFFF;
    constexpr std::uint64_t kResetting = 0x8000;
    constexpr std::uint64_t kLink = 1U << 2;
    report.calling("MDIO (GigE_Mdio..., MdioReadReg)");
    const Mdio mdio(board);
    for (unsigned phy = 0; phy < kPorts; ++phy) {
        const std::uint64_t control = mdio.read(phy, kControl);
        const std::uint64_t status = mdio.read(phy, kStatus);
        report.expect(
            control != kNobody && status != kNobody, "the PHY of port " + std::to_string(phy) + " answers");
        if (control != kNobody && (control & kResetting) != 0) {
            report.note("it is being reset: Gbe_initBoard with flags waits for its end");
        }
        report.note("port " + std::to_string(phy) + ((status & kLink) != 0 ? ": link up" : ": no link"));
    }
    report.expect(mdio.read(kPhyWithoutChip, kStatus) == kNobody, "an address without a PHY reads 0xFFFF");
}

} // namespace platform_check
