// Finding out which packets pass from a camera to this host, by having it send test packets.
#pragma once

#include "streaming/CameraRegisters.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace streaming {

// What of the camera's test packets has arrived so far.
struct TestPackets {
    std::uint64_t count = 0;
    unsigned largest = 0; // bytes, all headers included
};
using LookForTestPackets = std::function<TestPackets()>;

// Finds the largest packet of at most `most` bytes that passes, and leaves the camera sending such ones; when
// no test packet arrives at all, it leaves the size as it was, as far as the camera can. Takes less than a
// second with a camera that answers promptly.
void findPacketSize(const CameraRegisters& registers, unsigned most, const LookForTestPackets& look);

// Whether a test packet of this size arrives; nothing when the camera refuses to send one. It keeps the size.
std::optional<bool>
testPacketArrives(const CameraRegisters& registers, unsigned size, const LookForTestPackets& look);

} // namespace streaming
