/* A hardware library with one fault: the board in software, but for what the environment variable FAULT
 * names. */
#define _GNU_SOURCE
#include "platform/kemrt.h"
#include "platform/tavo_hw.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>

static int is(const char* fault) {
    const char* named = getenv("FAULT");
    return named != NULL && strcmp(named, fault) == 0;
}

static void* real(const char* name) {
    static void* library;
    if (library == NULL) {
        library = dlopen(SOFTBOARD, RTLD_NOW);
    }
    return library != NULL ? dlsym(library, name) : NULL;
}

#define FORWARD(result, name, parameters, arguments, fault)                                                  \
    __attribute__((visibility("default"))) result name parameters {                                          \
        result(*call) parameters;                                                                            \
        void* found = real(#name);                                                                           \
        memcpy(&call, &found, sizeof call);                                                                  \
        fault;                                                                                               \
        return call arguments;                                                                               \
    }

FORWARD(QLdevice, TavoInitAllHWEx, (int board), (board), board = is("opens any board") ? 0 : board)
FORWARD(int, TavoFreeHW, (QLdevice board), (board), (void)0)
FORWARD(const char*, TavoGetBoardInfoString, (QLdevice board, const char* key), (board, key), (void)0)
FORWARD(
    int, TavoGetBoardInfoInt, (QLdevice board, const char* key), (board, key),
    if (is("no serial number") && strcmp(key, "board/serial") == 0) return 0)
FORWARD(int, TavoConfigureFpga, (QLdevice board, fpga_design design), (board, design), (void)0)
FORWARD(
    int, TavoRegisterRead, (QLdevice board, int reg, uint64_t* value), (board, reg, value),
    if (is("bits above a register") && call(board, reg, value) == 0) return (int)(*value |= 0x100) * 0)
FORWARD(
    int, TavoRegisterWrite, (QLdevice board, int reg, uint64_t value), (board, reg, value),
    if (is("writes nothing")) return 0)
FORWARD(
    int, TavoDataQueueReadBufferLong,
    (QLdevice board, unsigned channel, void* buffer, unsigned bytes, int timeoutMs),
    (board, channel, buffer, bytes, timeoutMs), timeoutMs = is("does not wait") ? 0 : timeoutMs)
FORWARD(int, TavoDataQueueClear, (QLdevice board, unsigned channel), (board, channel), (void)0)
FORWARD(fpga_design, KemFirmwareTrampoline, (int major, int minor), (major, minor), (void)0)
FORWARD(int, KemUnloadKemFile, (fpga_design design), (design), if (is("crashes") && design == NULL) abort())
FORWARD(
    int, KemGetRegisterByName, (fpga_design design, const char* name), (design, name),
    if (is("knows every register") && strncmp(name, "NoSuch", 6) == 0) name = "GigeHeartbeatEnable0")
