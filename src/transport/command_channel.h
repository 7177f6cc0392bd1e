// GVCP commands to a port's current camera, each waiting for its acknowledgement.
//
// Results: 0 is success, a positive number the status that the camera answered, a negative one an error of
// transport_error or the data queue's own code. The caller serialises what is done on one port.
//
// Within its 2 seconds a command goes out again after 100, 300 and 700 ms of silence, with its own id. Each
// call is an access by itself, or part of the one under way (exchange.h), and takes no longer than 8 seconds,
// or 60 when the camera asks for patience; for more than one block of memory the time starts again with each.
#pragma once

#include "transport/Port.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace transport {

int readRegister(Port& port, unsigned address, int* value);
// Several registers with one command, in their order: up to gvcp::kMaxRegisters, of a camera that takes more
// than one (bootstrap::kConcatenationBit); more are refused with kOversized. `values` has room for as many.
// `done` becomes how many values have come: with a status those of the registers before the one that the
// camera refused, as far as its answer tells which that is.
int readRegisters(
    Port& port, std::span<const std::uint32_t> addresses, std::uint32_t* values, std::size_t& done);
int writeRegister(Port& port, unsigned address, int value);
// Reads `count` bytes into `buffer`, in blocks of 536. 0, or 1 for any failure, with part of the buffer
// filled. `done` (which may be null) gets the low 16 bits of `count` on success.
int readMemory(Port& port, unsigned address, unsigned count, unsigned short* done, char* buffer);
// Writes up to 536 bytes; more are refused with kOversized.
int writeMemory(Port& port, unsigned address, const unsigned char* data, unsigned count);
// Loads a write that is not sent yet, and lets the FPGA stamp request ids into it when it sends it. Always 0.
int prepareWriteRegister(Port& port, unsigned address, unsigned value);

// --- The waiting halves of the commands above. `requestId` is the command's, as frame::rawRequestId gives it
// `value` is null for a write, whose acknowledgement brings none.
int receiveRegisterAck(Port& port, int* value, std::uint16_t requestId);
// `capacity` when the acknowledgement filled the buffer, else -1.
int receiveMemoryAck(Port& port, char* buffer, unsigned capacity);
int receiveMemoryWrittenAck(Port& port);

} // namespace transport
