// What is told of failures on the way to a camera (util/error_detail.h). Nothing of it runs where nothing
// fails.
#pragma once

#include "board/CameraPort.h"

#include <cstdint>
#include <string>

namespace board {

// "board 0 port 2"
std::string placeText(const CameraPort& place);

// "gbe, process 4711": who holds a lock of this computer; "another program" where it cannot be told.
std::string holderText(const std::string& lockName);

// Who controls the camera that a look has found in somebody else's hands.
std::string otherText(const ControlReading& reading);

// Why a device has lost control of its camera, as far as its accesses know.
std::string lossSentence(const Device& device);
// GicConnectionException with it.
[[noreturn]] void failAsLost(const Device& device);

// What the transport's result says of a camera: "it answers GEV_STATUS_BUSY (0x8007)".
std::string resultText(int result);

// An access of `length` bytes at an address; `result` is the transport's.
std::string accessSentence(bool isRead, std::uint32_t address, std::uint32_t length, int result);

} // namespace board
