// The first stream channel of a camera, in its bootstrap registers (GigE Vision, chapter 27): where its
// images go, and in what packets. All throw what CameraRegisters throws.
#pragma once

#include "protocol/addresses.h"
#include "streaming/CameraRegisters.h"

#include <cstdint>
#include <optional>

namespace streaming {

// Where a stream goes.
struct Destination {
    net::Ipv4 ip;
    std::uint16_t udpPort = 0;
    bool operator==(const Destination&) const = default;
};

// What the camera can, as its registers say it.
struct ChannelFacts {
    bool canResend = false;
    std::uint64_t tickFrequency = 0; // of its timestamps, ticks a second; 0 when it does not tell
};

ChannelFacts readFacts(const CameraRegisters& registers);

void sendTo(const CameraRegisters& registers, const Destination& destination);
// Nothing when the camera does not tell.
std::optional<Destination> readDestination(const CameraRegisters& registers);
void close(const CameraRegisters& registers);

// Where the camera has the choice, and chunks as images with chunks behind them where it can.
void chooseIds(const CameraRegisters& registers, bool extended);

// --- The packet size, bytes with IP, UDP and stream headers
inline constexpr unsigned kLeastPacketSize = 64; // holds every leader
inline constexpr unsigned kMostPacketSize = 65535;

// 0 when the camera does not tell.
unsigned readPacketSize(const CameraRegisters& registers);
// Packets are never broken up on their way. The result is what the camera has made of the size; nothing when
// it refuses.
std::optional<unsigned> writePacketSize(const CameraRegisters& registers, unsigned size);
// Has the camera send one packet of this size. False when it refuses.
bool fireTestPacket(const CameraRegisters& registers, unsigned size);

} // namespace streaming
