#include "streaming/stream_channel.h"

namespace streaming {

using namespace bootstrap;

ChannelFacts readFacts(const CameraRegisters& registers) {
    ChannelFacts facts;
    facts.canResend = (registers.read(kCapability).value_or(0) & kPacketResendBit) != 0;
    const auto high = registers.read(kTimestampTickFrequencyHigh);
    const auto low = registers.read(kTimestampTickFrequencyLow);
    if (high && low) {
        facts.tickFrequency = std::uint64_t{*high} << 32 | *low;
    }
    return facts;
}

void sendTo(const CameraRegisters& registers, const Destination& destination) {
    registers.mustWrite(kStreamChannelDestination, destination.ip.number());
    registers.mustWrite(kStreamChannelPort, destination.udpPort);
}

std::optional<Destination> readDestination(const CameraRegisters& registers) {
    const auto ip = registers.read(kStreamChannelDestination);
    const auto udpPort = registers.read(kStreamChannelPort);
    if (!ip || !udpPort) {
        return std::nullopt;
    }
    return Destination{net::Ipv4::fromNumber(*ip), static_cast<std::uint16_t>(*udpPort)};
}

void close(const CameraRegisters& registers) {
    registers.write(kStreamChannelPort, 0);
}

namespace {

// A camera without the register refuses to read it, or reads zeros and forgets what is written.
void setBit(const CameraRegisters& registers, Address address, std::uint32_t bit, bool on) {
    const auto value = registers.read(address);
    if (value && ((*value & bit) != 0) != on) {
        registers.write(address, *value ^ bit);
    }
}

} // namespace

void chooseIds(const CameraRegisters& registers, bool extended) {
    setBit(registers, kGvspConfiguration, kLongBlockIdsBit, extended);
    if ((registers.read(kStreamChannelCapability).value_or(0) & kExtendedChunkDataBit) != 0) {
        setBit(registers, kStreamChannelConfiguration, kExtendedChunkDataBit, true);
    }
}

unsigned readPacketSize(const CameraRegisters& registers) {
    return registers.read(kStreamChannelPacketSize).value_or(0) & kPacketSizeMask;
}

namespace {

// The order of a pixel's bytes stays what it was.
std::uint32_t packetWord(const CameraRegisters& registers, unsigned size) {
    const std::uint32_t before = registers.read(kStreamChannelPacketSize).value_or(0);
    return (before & kPixelEndiannessBit) | kDoNotFragmentBit | (size & kPacketSizeMask);
}

} // namespace

std::optional<unsigned> writePacketSize(const CameraRegisters& registers, unsigned size) {
    if (!registers.write(kStreamChannelPacketSize, packetWord(registers, size))) {
        return std::nullopt;
    }
    return readPacketSize(registers);
}

bool fireTestPacket(const CameraRegisters& registers, unsigned size) {
    return registers.write(kStreamChannelPacketSize, packetWord(registers, size) | kFireTestPacketBit);
}

} // namespace streaming
