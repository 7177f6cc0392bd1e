// Register access, MDIO and the PHYs of a GigeCamera.
#include "transport/fpga_registers.h"
#include "transport/GigeCamera.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

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

constexpr std::uint16_t kFirstImagePort = 1520;

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

int lookUp(fpga_design design, std::string_view baseName, int port) {
    char name[64];
    std::snprintf(name, sizeof(name), "%s%i", std::string(baseName).c_str(), port);
    return KemGetRegisterByName(design, name);
}

} // namespace

// A name that the applet does not know gives an id whose accesses fail; nobody looks at that here.
void GigeCamera::lookUpRegisters() {
    for (int port = 0; port < kPorts; ++port) {
        for (std::size_t i = 0; i < fpga::kPortRegisters.size(); ++i) {
            m_ports[port].registers[i] = lookUp(m_design, fpga::kPortRegisters[i].name, port);
        }
    }
    for (std::size_t i = 0; i < fpga::kBoardRegisters.size(); ++i) {
        m_registers[i] = KemGetRegisterByName(m_design, std::string(fpga::kBoardRegisters[i].name).c_str());
    }
}

void GigeCamera::enablePorts() {
    WriteFpgaRegister8(id(BoardRegister::TxStart), 1);
    WriteFpgaRegister8(id(BoardRegister::RxEnable), 1);
    for (int port = 0; port < kPorts; ++port) {
        WriteFpgaRegister8(id(port, PortRegister::TxStart), 1);
        WriteFpgaRegister32(id(port, PortRegister::RequestIdLoad), 1);
        WriteFpgaRegister32(id(port, PortRegister::RequestIdEnable), 0);
        WriteFpgaRegister16(
            id(port, PortRegister::ImagePort), static_cast<unsigned short>(kFirstImagePort + port));
    }
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
    WriteFpgaRegister8(id(BoardRegister::MdioPhy), phy);
    pause(kMdioWritePause);
}

int GigeCamera::ReadMdioData(unsigned char reg, unsigned short* value) {
    WriteFpgaRegister8(id(BoardRegister::MdioRegister), reg);
    WriteFpgaRegister8(id(BoardRegister::MdioRead), 0);
    pause(kMdioReadPause);
    const int result = ReadFpgaRegister16(id(BoardRegister::MdioResult), value);
    pause(kMdioReadPause);
    return result;
}

void GigeCamera::WriteMdioData(unsigned char reg, unsigned short value) {
    WriteFpgaRegister8(id(BoardRegister::MdioRegister), reg);
    WriteFpgaRegister16(id(BoardRegister::MdioData), value);
    WriteFpgaRegister8(id(BoardRegister::MdioWrite), 0);
    pause(kMdioWritePause);
}

void GigeCamera::PhyHardwareReset() {
    WriteFpgaRegister8(id(BoardRegister::PhyReset), kAllPhysInReset);
    pause(kResetPause);
    WriteFpgaRegister8(id(BoardRegister::PhyReset), kAllPhysReleased);
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
    do {             // without limit, deliberately: a board is of no use before its PHYs are up
        control = 0; // what cannot be read does not keep anyone waiting
        result = ReadMdioData(kControlRegister, &control);
    } while ((control & kControlResetting) != 0);
    return result;
}
