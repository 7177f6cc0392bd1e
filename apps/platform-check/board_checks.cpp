// Boards and applets: opening, what they say of themselves, closing.
#include "Platform.h"
#include "Report.h"

#include <cstring>

namespace platform_check {
namespace {

constexpr int kBoards = 8;
constexpr int kNoFirmware = 9999; // a version that no board has

void checkInfo(const Platform& calls, QLdevice device, Report& report) {
    report.calling("TavoGetBoardInfoString");
    const char* const interface = calls.infoString(device, "board/caminterface");
    report.expect(
        interface != nullptr && std::strcmp(interface, "GigE") == 0, "\"board/caminterface\" is \"GigE\"");
    report.expect(calls.infoString(device, "no/such/key") == nullptr, "an unknown key gives null");
    report.calling("TavoGetBoardInfoInt");
    report.expect(
        calls.infoInt(device, "board/serial") != 0,
        "\"board/serial\" is not 0: the ports' addresses are made of it");
    report.expect(
        calls.infoInt(device, "firmware/major") > 0,
        "\"firmware/major\" is there: the applet is chosen by it");
    report.expect(calls.infoInt(device, "no/such/key") == 0, "an unknown key gives 0");
}

} // namespace

QLdevice checkOpening(const Platform& calls, int board, Report& report) {
    report.calling("TavoInitAllHWEx");
    report.expect(calls.init(-1) == nullptr && calls.init(kBoards) == nullptr, "boards -1 and 8 give null");
    const QLdevice device = calls.init(board);
    report.expect(device != nullptr, "board " + std::to_string(board) + " opens");
    if (device == nullptr) {
        return nullptr;
    }
    const QLdevice again = calls.init(board);
    report.expect(again != nullptr, "a board that is open can be opened again");
    if (again != nullptr) {
        report.calling("TavoFreeHW");
        report.expect(calls.free(again) == 0, "releases the second handle");
    }
    report.calling("TavoFreeHW");
    report.expect(calls.free(nullptr) != 0, "null is an error");
    checkInfo(calls, device, report);
    return device;
}

fpga_design checkApplet(const Platform& calls, QLdevice device, Report& report) {
    report.calling("KemFirmwareTrampoline");
    report.expect(calls.applet(kNoFirmware, 0) == nullptr, "a firmware that no board has gives null");
    const fpga_design applet =
        calls.applet(calls.infoInt(device, "firmware/major"), calls.infoInt(device, "firmware/minor"));
    report.expect(applet != nullptr, "there is an applet for the board's firmware");
    report.calling("KemUnloadKemFile");
    report.expect(calls.unload(nullptr) != 0, "null is an error");
    if (applet == nullptr) {
        return nullptr;
    }
    report.calling("TavoConfigureFpga");
    const bool loaded = calls.configure(device, applet) == 0;
    report.expect(loaded, "loads the applet");
    report.expect(calls.configure(device, applet) == 0, "loads it again: several programs may use a board");
    return loaded ? applet : nullptr;
}

void checkClosing(const Board& board, Report& report) {
    report.calling("KemUnloadKemFile");
    report.expect(board.calls.unload(board.applet) == 0, "unloads the applet");
    report.calling("TavoFreeHW");
    report.expect(board.calls.free(board.device) == 0, "releases the board");
    report.calling("TavoInitAllHWEx");
    const QLdevice again = board.calls.init(board.number);
    report.expect(again != nullptr, "the board opens again after that");
    if (again != nullptr) {
        board.calls.free(again);
    }
}

} // namespace platform_check
