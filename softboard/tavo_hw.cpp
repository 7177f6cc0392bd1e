// The hardware library's calls: handles and arguments are checked here, everything else is the board's.
#pragma GCC visibility push(default)
#include "platform/tavo_hw.h"
#pragma GCC visibility pop

#include "softboard/Hardware.h"
#include "softboard/hw_results.h"

#include <cstring>

using softboard::Hardware;
using softboard::kPorts;

QLdevice TavoInitAllHWEx(int board) {
    return Hardware::instance().open(board);
}

int TavoFreeHW(QLdevice board) {
    return board != nullptr && Hardware::instance().close(board) ? softboard::kSuccess
                                                                 : softboard::kBadHandle;
}

const char* TavoGetBoardInfoString(QLdevice board, const char* key) {
    const bool known = board != nullptr && key != nullptr && std::strcmp(key, "board/caminterface") == 0;
    return known ? board->board->camInterface().c_str() : nullptr;
}

int TavoGetBoardInfoInt(QLdevice board, const char* key) {
    constexpr struct {
        const char* key;
        int (softboard::Board::*value)() const;
    } rows[] = {
        {"board/serial", &softboard::Board::serial},
        {"firmware/major", &softboard::Board::firmwareMajor},
        {"firmware/minor", &softboard::Board::firmwareMinor},
    };
    for (const auto& row : rows) {
        if (board != nullptr && key != nullptr && std::strcmp(key, row.key) == 0) {
            return (board->board.get()->*row.value)();
        }
    }
    return 0;
}

int TavoConfigureFpga(QLdevice board, KemDesign* design) {
    if (board == nullptr) {
        return softboard::kBadHandle;
    }
    return design != nullptr ? board->board->configure(*design) : static_cast<int>(softboard::kWrongApplet);
}

int TavoRegisterRead(QLdevice board, int reg, uint64_t* value) {
    if (board == nullptr) {
        return softboard::kBadHandle;
    }
    return value != nullptr ? board->board->read(reg, *value) : static_cast<int>(softboard::kBadArgument);
}

int TavoRegisterWrite(QLdevice board, int reg, uint64_t value) {
    return board != nullptr ? board->board->write(reg, value) : static_cast<int>(softboard::kBadHandle);
}

int TavoDataQueueReadBufferLong(
    QLdevice board, unsigned channel, void* buffer, unsigned bytes, int timeoutMs) {
    if (board == nullptr || channel >= kPorts || (buffer == nullptr && bytes > 0)) {
        return softboard::kQueueUnknown;
    }
    const auto keep = board->board; // the handle may be released while the read waits
    return keep->port(channel).queue().read(buffer, bytes, timeoutMs);
}

int TavoDataQueueClear(QLdevice board, unsigned channel) {
    if (board == nullptr || channel >= kPorts) {
        return softboard::kQueueUnknown;
    }
    board->board->port(channel).queue().clear();
    return softboard::kSuccess;
}
