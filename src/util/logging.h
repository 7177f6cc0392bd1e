// The library's diagnostic output. All of it may be called from any thread.
#pragma once

#include "liomol/export.h"

class QDateTime;

extern "C" {

// Formats into "log.txt" of the working directory (emptied by the first call of a process, flushed by every
// call) and to standard output. Returns 0, also when the file cannot be opened. One call's text is never
// split by another's.
LIOMOL_API int lprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Hooks for diagnostic builds; empty here.
void ipdprintf(...);
void log_packet(int direction, int port, void* data, unsigned length);

} // extern "C"

// A sample of a port's packet counters, as `get_packet_counter` reads them.
struct PacketCounters {
    unsigned imagePackets = 0;
    unsigned receivedPackets = 0;
    unsigned receiveErrors = 0;
    unsigned reserved = 0;
};

// Called for each failed attempt (1 or 2) of a port access with the transport's result, the counters and the
// times around it. Empty here; a diagnostic build records transport failures in it.
void log_transport_layer_exception(
    int port, long long address, long long length, bool isRead, int result, int attempt,
    const PacketCounters& before, const PacketCounters& after, const QDateTime& beforeTime,
    const QDateTime& afterTime);
