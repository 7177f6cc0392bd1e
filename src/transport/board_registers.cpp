// A GigeCamera as a board: its life, registers, MDIO and the PHYs.
#include "transport/GigeCamera.h"

#include <array>
#include <chrono>
#include <string>
#include <thread>

using fpga::BoardRegister;

namespace {

using std::chrono::milliseconds;

// The FPGA shows no busy flag for MDIO, so every step just waits long enough.
constexpr milliseconds kMdioReadPause{50};
constexpr milliseconds kMdioWritePause{100};
constexpr milliseconds kResetPause{100};

constexpr unsigned char kAllPhysInReset = 0;
constexpr unsigned char kAllPhysReleased = 15;

constexpr unsigned char kControlRegister = 0;
constexpr unsigned short kControlResetting = 0x8000;
// Software reset, auto-negotiation enabled and restarted, full duplex, 1000 Mbit/s
constexpr unsigned short kControlRestart = 0x9140;

// Register 29 of the PHY selects one of its extended registers, register 30 carries that one's value.
constexpr unsigned char kExtendedSelect = 29;
constexpr unsigned char kExtendedValue = 30;

struct MdioWrite {
    unsigned char reg;
    unsigned short value;
};

constexpr std::array kPhySetup{
    MdioWrite{kExtendedSelect, 0x001B}, MdioWrite{kExtendedValue, 0x418F},
    MdioWrite{kExtendedSelect, 0x0016}, MdioWrite{kExtendedValue, 0xA2DA},
    MdioWrite{kExtendedSelect, 0x000B},
};
constexpr unsigned short kLastSettingWithFlag = 0x8004;
constexpr unsigned short kLastSettingWithoutFlag = 0x0004;

void pause(milliseconds time) {
    std::this_thread::sleep_for(time);
}

template<class Value> int readRegister(QLdevice board, int reg, Value* value) {
    std::uint64_t scratch = 0;
    const int result = TavoRegisterRead(board, reg, &scratch);
    if (result == 0) {
        *value = static_cast<Value>(scratch);
    }
    return result;
}

} // namespace

// A name that the applet does not know gives an id whose accesses fail; nobody looks at that here.
GigeCamera::GigeCamera(fpga_design design, QLdevice board)
    : m_design(design),
      m_board(board), m_ports{
                          {{0, design, board}, {1, design, board}, {2, design, board}, {3, design, board}}} {
    for (std::size_t i = 0; i < fpga::kBoardRegisters.size(); ++i) {
        m_registers[i] = KemGetRegisterByName(m_design, std::string(fpga::kBoardRegisters[i].name).c_str());
    }
    WriteFpgaRegister8(id(BoardRegister::TxStart), 1);
    WriteFpgaRegister8(id(BoardRegister::RxEnable), 1);
    for (PortPlace& place : m_ports) {
        place.port.enable();
    }
}

GigeCamera::~GigeCamera() = default;

int GigeCamera::deinit() {
    KemUnloadKemFile(m_design);
    const int result = TavoFreeHW(m_board);
    m_design = nullptr;
    m_board = nullptr;
    return result;
}

int GigeCamera::ReadFpgaRegister32(int reg, unsigned int* value) {
    return readRegister(m_board, reg, value);
}

int GigeCamera::ReadFpgaRegister16(int reg, unsigned short* value) {
    return readRegister(m_board, reg, value);
}

int GigeCamera::ReadFpgaRegister8(int reg, unsigned char* value) {
    return readRegister(m_board, reg, value);
}

int GigeCamera::WriteFpgaRegister32(int reg, unsigned int value) {
    return TavoRegisterWrite(m_board, reg, value);
}

int GigeCamera::WriteFpgaRegister16(int reg, unsigned short value) {
    return TavoRegisterWrite(m_board, reg, value);
}

int GigeCamera::WriteFpgaRegister8(int reg, unsigned char value) {
    return TavoRegisterWrite(m_board, reg, value);
}

void GigeCamera::SetMdioPhyAddress(unsigned char phy) {
    WriteFpgaRegister8(id(BoardRegister::MdioPhyAddress), phy);
    pause(kMdioWritePause);
}

int GigeCamera::ReadMdioData(unsigned char reg, unsigned short* value) {
    WriteFpgaRegister8(id(BoardRegister::MdioRegisterAddress), reg);
    WriteFpgaRegister8(id(BoardRegister::MdioRead), 0);
    pause(kMdioReadPause);
    const int result = ReadFpgaRegister16(id(BoardRegister::MdioResult), value);
    pause(kMdioReadPause);
    return result;
}

void GigeCamera::WriteMdioData(unsigned char reg, unsigned short value) {
    WriteFpgaRegister8(id(BoardRegister::MdioRegisterAddress), reg);
    WriteFpgaRegister16(id(BoardRegister::MdioData), value);
    WriteFpgaRegister8(id(BoardRegister::MdioWrite), 0);
    pause(kMdioWritePause);
}

void GigeCamera::PhyHardwareReset() {
    WriteFpgaRegister8(id(BoardRegister::Reset), kAllPhysInReset);
    pause(kResetPause);
    WriteFpgaRegister8(id(BoardRegister::Reset), kAllPhysReleased);
    pause(kResetPause);
}

int GigeCamera::PhyReset(unsigned int phy, bool flag) {
    SetMdioPhyAddress(static_cast<unsigned char>(phy));
    for (const MdioWrite& step : kPhySetup) {
        WriteMdioData(step.reg, step.value);
    }
    WriteMdioData(kExtendedValue, flag ? kLastSettingWithFlag : kLastSettingWithoutFlag);
    WriteMdioData(kControlRegister, kControlRestart);
    int result = 0;
    unsigned short control = 0;
    do {             // without limit: a board is of no use before its PHYs are up
        control = 0; // what cannot be read does not keep anyone waiting
        result = ReadMdioData(kControlRegister, &control);
    } while ((control & kControlResetting) != 0);
    return result;
}
