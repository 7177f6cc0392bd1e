// A camera without thread or wire and hosts that speak to it, with a clock that stands still until it is
// moved. Hosts build their frames here, from the standards' field tables, with nothing of the camera's own
// code.
#pragma once

#include "simcam/CameraCore.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace simcam_test {

using simcam::Bytes;
using std::chrono::milliseconds;

struct Ack {
    std::uint16_t status = 0;
    std::uint16_t code = 0;
    std::uint16_t id = 0;
    Bytes payload;
};

class Bench {
public:
    explicit Bench(const ethernet::Settings& extra = {});

    // One host: its address and the id that its next command carries.
    struct Host {
        std::uint64_t mac = 0x020000000001;
        std::uint32_t ip = 0xA9FE072A;
        std::uint16_t port = 3015;
        std::uint16_t nextId = 1;
    };
    Host host;

    // A GVCP message from the host in a frame to the camera; checksum as asked.
    Bytes
    frame(const Host& from, const Bytes& message, bool udpChecksum = true, bool broadcast = false) const;
    static Bytes message(std::uint16_t code, std::uint16_t id, const Bytes& payload, std::uint8_t flags = 1);

    // Hands a frame over and returns what the camera sends at once.
    std::vector<Bytes> exchange(const Bytes& frame);
    // One command from `from`; the acknowledgement, or none when the camera stays silent.
    std::optional<Ack> command(Host& from, std::uint16_t code, const Bytes& payload);
    std::optional<Ack> command(std::uint16_t code, const Bytes& payload) {
        return command(host, code, payload);
    }

    // Registers through commands of `host`; a status other than success is `status`'s.
    std::uint32_t read(std::uint32_t address);
    std::uint16_t write(std::uint32_t address, std::uint32_t value) { return write(host, address, value); }
    std::uint16_t write(Host& from, std::uint32_t address, std::uint32_t value);
    Bytes readMemory(std::uint32_t address, std::uint16_t count);
    std::uint16_t writeMemory(std::uint32_t address, const Bytes& data);
    void takeControl() { ASSERT_EQ(write(0x0A00, 2), 0); }

    void pass(milliseconds time) { now += time; }
    std::vector<Bytes> due() { return camera->due(now); }

    simcam::Time now{std::chrono::hours(1)};
    std::unique_ptr<simcam::CameraCore> camera;
};

// The acknowledgement in a frame; fails the test when the frame or its checksums are not sound.
Ack ackOf(const Bytes& frame);
// Appends big-endian numbers of 2 or 4 bytes.
Bytes be16(std::uint16_t value);
Bytes be32(std::uint32_t value);
Bytes operator+(Bytes left, const Bytes& right);

} // namespace simcam_test
