// The door through which register nodes reach camera memory: all that the node runtime knows of a camera.
#pragma once

#include "liomol/export.h"

namespace tavo {

// Bytes are camera memory in address order at every length. Failures are thrown as exceptions of the
// GenICamException family. An implementation must bear calls from any thread; the caller keeps `buffer` alive
// and at least `length` bytes long during the call.
class LIOMOL_API GenICamPortInterface {
public:
    // Fills `buffer` with `length` bytes of camera memory starting at `address`.
    virtual void read(unsigned char* buffer, long long address, long long length) = 0;
    // Writes `length` bytes of `buffer` to camera memory starting at `address`. The buffer is not changed.
    virtual void write(unsigned char* buffer, long long address, long long length) = 0;
    // Passes connection parameters to the transport; board, port and IPv4 address for a frame grabber's port.
    virtual void setConnection(int board, int port, unsigned int ip) = 0;

    virtual ~GenICamPortInterface();
};

} // namespace tavo
