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

// What a port may be besides: it can read many places with few accesses. A class that derives from this as
// well as from GenICamPortInterface is asked to when the values of many features are wanted; with any other
// port they are read one by one.
class LIOMOL_API GenICamBatchReadInterface {
public:
    struct Place {
        unsigned char* buffer; // the caller's, of `length` bytes
        long long address;
        long long length;
        bool isRead; // false at first
    };

    // Reads what it can of the places, in their order, and sets `isRead` where the buffer was filled. What is
    // left is no failure: it is read by itself when somebody wants it. Places that follow each other without
    // a gap may be read as one; nothing but the places themselves may be read. False when asking for more is
    // of no use now. Throws, as read() would, what stands against every access. Any thread.
    virtual bool readMany(Place* places, unsigned count) = 0;

    virtual ~GenICamBatchReadInterface();
};

} // namespace tavo
