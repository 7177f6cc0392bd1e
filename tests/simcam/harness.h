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
    explicit Bench(const ethernet::Settings& extra = {}, simcam::NoticeSink notices = {});

    // One host: its address and the id that its next command carries.
    struct Host {
        std::uint64_t mac = 0x020000000001;
        std::uint32_t ip = 0xA9FE072A;
        std::uint16_t port = 3015;
        std::uint16_t nextId = 1;
    };
    Host host;
    Host other{0x020000000002, 0xA9FE072B, 3015, 100};
    std::uint32_t cameraIp = 0xA9FE0764;                   // where the hosts send to
    Host neighbour{0x020000000001, 0xA9FE072A, 3016, 200}; // another application on `host`

    // A GVCP message from the host in a frame to the camera.
    Bytes frame(const Host& from, const Bytes& message, bool broadcast = false) const;
    static Bytes message(std::uint16_t code, std::uint16_t id, const Bytes& payload, std::uint8_t flags = 1);

    // Hands a frame over and returns what the camera sends at once.
    std::vector<Bytes> exchange(const Bytes& frame);
    // One command; the acknowledgement, or one with the status 0xFFFF when the camera stays silent.
    Ack command(Host& from, std::uint16_t code, const Bytes& payload);
    Ack command(std::uint16_t code, const Bytes& payload) { return command(host, code, payload); }

    std::uint16_t write(std::uint32_t address, std::uint32_t value);
    Bytes read(std::uint32_t address, std::uint16_t count); // through READMEM
    void takeControl(); // and keeps it, however long the test lets the clock run

    // The camera's registers under their names in the table, an element as "Name#1". Numbers are those of the
    // bytes in their order, except for floats; `like` shows the notation in which one is wanted. "2:Name" is
    // accessed by `other`, "3:Name" by `neighbour`. What is refused gives "!" and the code.
    std::string writeNamed(const std::string& name, const std::string& value);
    std::string readNamed(const std::string& name, const std::string& like);

    void pass(milliseconds time) { now += time; }
    std::vector<Bytes> due() { return camera->due(now); }
    // Time passes, and the camera does what falls due meanwhile; what it sends.
    std::vector<Bytes> live(milliseconds time);

    simcam::Time now{std::chrono::hours(1)};
    std::unique_ptr<simcam::CameraCore> camera;

private:
    struct Target {
        Host& who;
        const simcam::RegisterFact& row;
        Bytes address;
    };
    Target target(std::string name);
};

// Takes the steps of a script, which are separated by ';': "Name=value" writes, "Name=value!code" is refused,
// "Name?value" or "Name?!code" reads, "+250" lets 250 ms pass. Failures name the script and the step.
void run(Bench& bench, const std::string& name, const std::string& steps);

// The acknowledgement in a frame; fails the test when the frame or its checksums are not sound.
Ack ackOf(const Bytes& frame);
// Recomputes the IPv4 header checksum of a frame whose header was changed.
void sealIp(Bytes& frame);
Bytes part(const Bytes& data, std::size_t at, std::size_t count);
Bytes be16(std::uint16_t value);
Bytes be32(std::uint32_t value);
Bytes operator+(Bytes left, const Bytes& right);

} // namespace simcam_test
