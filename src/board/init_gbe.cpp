#include "board/init_gbe.h"

#include "board/host_locks.h"
#include "platform/kemrt.h"
#include "platform/tavo_hw.h"
#include "transport/GigeCamera.h"
#include "util/error_detail.h"

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

namespace {

constexpr int kVersionMask = 0xFF;
constexpr std::chrono::milliseconds kPhySettleTime{200};

bool isEthernetBoard(QLdevice hardware) {
    const char* interface = TavoGetBoardInfoString(hardware, "board/caminterface");
    return interface != nullptr && std::strcmp(interface, "GigE") == 0;
}

fpga_design loadApplet(QLdevice hardware) {
    const int major = TavoGetBoardInfoInt(hardware, "firmware/major") & kVersionMask;
    const int minor = TavoGetBoardInfoInt(hardware, "firmware/minor") & kVersionMask;
    fpga_design applet = KemFirmwareTrampoline(major, minor);
    if (applet != nullptr && TavoConfigureFpga(hardware, applet) != 0) {
        KemUnloadKemFile(applet);
        return nullptr;
    }
    return applet;
}

bool resetPhys(GigeCamera& board, int number) {
    const board::PhySequence phys(number);
    if (!phys) {
        return false;
    }
    board.PhyHardwareReset();
    std::this_thread::sleep_for(kPhySettleTime);
    for (unsigned phy = 0; phy < GigeCamera::kPorts; ++phy) {
        board.PhyReset(phy, false);
    }
    return true;
}

} // namespace

GigeCamera* init_gbe(int board, int resetPhy) {
    QLdevice hardware = TavoInitAllHWEx(board);
    const std::string name = "board " + std::to_string(board);
    if (hardware == nullptr) {
        util::setErrorDetail("there is no " + name + ", or the hardware library cannot open it");
        return nullptr;
    }
    const bool isEthernet = isEthernetBoard(hardware);
    fpga_design applet = isEthernet ? loadApplet(hardware) : nullptr;
    if (applet == nullptr) {
        util::setErrorDetail(name + (isEthernet ? " takes no applet for its firmware" : " is no GigE board"));
        TavoFreeHW(hardware);
        return nullptr;
    }
    auto* gbe = new GigeCamera(applet, hardware);
    if (resetPhy != 0 && !resetPhys(*gbe, board)) {
        util::setErrorDetail("another program has kept the PHYs of " + name + " for 30 seconds");
        gbe->deinit();
        delete gbe;
        return nullptr;
    }
    return gbe;
}
