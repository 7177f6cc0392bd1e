/* The frame grabber's hardware access library: just the calls that liomol imports.
 *
 * Results: 0 is success unless said otherwise; failures are non-zero for register calls and negative for
 * the data queue. Threads: calls on different boards, and calls for different ports of one board, may run
 * at the same time; the calls that transmit or receive on one port must be serialised by the caller.
 */
#ifndef TAVO_HW_H
#define TAVO_HW_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An open board. Opaque; valid from TavoInitAllHWEx to TavoFreeHW. */
typedef struct TavoBoard* QLdevice;

/* A loaded applet, as kemrt.h hands it out. */
struct KemDesign;

/* Opens board number `board` (0 to 7). Null when there is no such board. A board may be opened several
 * times, by several processes too; every successful call wants its own TavoFreeHW. */
QLdevice TavoInitAllHWEx(int board);

/* Releases a board. Null is an error. The handle is dead afterwards, whatever the result. */
int TavoFreeHW(QLdevice board);

/* A text property of the board, for example "board/caminterface" ("GigE" on Ethernet boards).
 * The text belongs to the board and lives as long as the handle. Null for an unknown key. */
const char* TavoGetBoardInfoString(QLdevice board, const char* key);

/* A number property of the board: "board/serial", "firmware/major", "firmware/minor". 0 for an unknown key.
 */
int TavoGetBoardInfoInt(QLdevice board, const char* key);

/* Loads an applet into the board's FPGA. The registers that the applet names exist from then on. */
int TavoConfigureFpga(QLdevice board, struct KemDesign* design);

/* Reads the register `reg` (an id of KemGetRegisterByName) into `*value`, zero-extended to 64 bits. */
int TavoRegisterRead(QLdevice board, int reg, uint64_t* value);

/* Writes the register `reg`; bits above the register's width are ignored. */
int TavoRegisterWrite(QLdevice board, int reg, uint64_t value);

/* Takes up to `bytes` bytes from the data queue channel `channel` (one channel an Ethernet port, numbered as
 * the ports) into `buffer`, in units of 32-bit words, waiting at most `timeoutMs` milliseconds for the first
 * of them; 0 returns at once. Returns the count of bytes stored, or a negative code: time-out, or a closed
 * or unknown channel. */
int TavoDataQueueReadBufferLong(
    QLdevice board, unsigned channel, void* buffer, unsigned bytes, int timeoutMs);

/* Throws away everything that waits in a data queue channel. */
int TavoDataQueueClear(QLdevice board, unsigned channel);

#ifdef __cplusplus
}
#endif

#endif
