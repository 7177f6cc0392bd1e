// The camera as a station: which frames it takes for datagrams to it and which it lets pass, how it answers
// ARP, and the annotated frames byte for byte.
#include "harness.h"
#include "support/golden.h"

#include <functional>

namespace {

using namespace simcam_test;

constexpr std::uint32_t kHostIp = 0xA9FE072A;

// A sound frame after a change, and whether the camera still answers it.
struct Change {
    const char* name;
    std::function<void(Bytes&)> change;
    bool answered;
};

void tryAll(const std::vector<Change>& rows, const Bytes& sound) {
    for (const Change& row : rows) {
        Bench bench;
        Bytes frame = sound;
        row.change(frame);
        EXPECT_EQ(bench.exchange(frame).size(), row.answered ? 1u : 0u) << row.name;
    }
}

void addOptions(Bytes& frame) {
    frame.resize(54);
    frame.insert(frame.begin() + 34, {1, 1, 1, 1});
    frame[14] = 0x46;
    frame[17] = static_cast<std::uint8_t>(frame[17] + 4);
    sealIp(frame);
}

TEST(SimcamStation, TakesSoundFramesForItAndNoOthers) {
    const std::vector<Change> rows{
        {"as it is", [](Bytes&) {}, true},
        {"padded further", [](Bytes& f) { f.resize(90, 0xEE); }, true},
        {"without padding", [](Bytes& f) { f.resize(54); }, true},
        {"IP header with options", addOptions, true},
        {"for another MAC", [](Bytes& f) { f[5] ^= 1; }, false},
        {"broadcast MAC, own IP", [](Bytes& f) { std::fill_n(f.begin(), 6, std::uint8_t{0xFF}); }, true},
        {"for another IP", [](Bytes& f) { f[33] ^= 1, f[40] = f[41] = 0, sealIp(f); }, false},
        {"IP checksum wrong", [](Bytes& f) { f[24] ^= 1; }, false},
        {"UDP checksum wrong", [](Bytes& f) { f[40] ^= 1; }, false},
        {"no UDP checksum", [](Bytes& f) { f[40] = f[41] = 0; }, true},
        {"IPv6", [](Bytes& f) { f[14] = 0x65, sealIp(f); }, false},
        {"header too short", [](Bytes& f) { f[14] = 0x44, sealIp(f); }, false},
        {"TCP", [](Bytes& f) { f[23] = 6, f[40] = f[41] = 0, sealIp(f); }, false},
        {"first fragment", [](Bytes& f) { f[20] = 0x20, sealIp(f); }, false},
        {"later fragment", [](Bytes& f) { f[21] = 1, sealIp(f); }, false},
        {"IP length beyond the frame", [](Bytes& f) { f[17] = 200, sealIp(f); }, false},
        {"IP length below its header", [](Bytes& f) { f[17] = 19, sealIp(f); }, false},
        {"UDP length beyond IP", [](Bytes& f) { f[39] = 21, f[40] = f[41] = 0; }, false},
        {"UDP length below its header", [](Bytes& f) { f[39] = 7, f[40] = f[41] = 0; }, false},
        {"another port", [](Bytes& f) { f[37] ^= 1, f[40] = f[41] = 0; }, false},
        {"VLAN", [](Bytes& f) { f[12] = 0x81, f[13] = 0; }, false},
    };
    const Bench bench;
    tryAll(rows, bench.frame(bench.host, Bench::message(0x80, 1, be32(0x0A00))));
}

TEST(SimcamStation, AnswersArpForItsAddressOnly) {
    const std::vector<Change> rows{
        {"request", [](Bytes&) {}, true},
        {"to its MAC alone", [](Bytes& f) { std::copy_n("\x02\x11\x22\x33\x44\x55", 6, f.begin()); }, true},
        {"for another address", [](Bytes& f) { f[41] ^= 1; }, false},
        {"reply", [](Bytes& f) { f[21] = 2; }, false},
        {"probe without sender", [](Bytes& f) { std::fill_n(f.begin() + 28, 4, std::uint8_t{0}); }, true},
        {"not for Ethernet", [](Bytes& f) { f[15] = 6; }, false},
        {"not for IPv4", [](Bytes& f) { f[16] = 0x86; }, false},
        {"other sizes", [](Bytes& f) { f[18] = 8; }, false},
        {"cut short", [](Bytes& f) { f.resize(41); }, false},
    };
    tryAll(rows, golden::load("arp_request_to_camera"));
}

TEST(SimcamStation, LearnsItsNeighboursAndAsksForThem) {
    simcam::Station station(0x021122334455, {0xA9FE0764, 0xFFFF0000, 0});
    Bytes request = golden::load("arp_request_to_camera");
    station.receive(request);
    for (unsigned i = 0; i < 1000; ++i) { // a neighbourhood larger than memory is for
        request[30] = static_cast<std::uint8_t>(i >> 8);
        request[31] = static_cast<std::uint8_t>(i);
        station.receive(request);
    }
    EXPECT_EQ(station.neighbour(kHostIp), std::optional<simcam::Mac>(0x020000000001));
    request = golden::load("arp_request_to_camera");
    request[27] = 9; // a known address may move
    station.receive(request);
    EXPECT_EQ(station.neighbour(kHostIp), std::optional<simcam::Mac>(0x020000000009));
    EXPECT_FALSE(station.neighbour(0xA9FE0000 | 999));
    EXPECT_EQ(station.arpRequest(kHostIp), golden::load("arp_request"));
}

TEST(SimcamStation, NeverSendsAChecksumOfNone) {
    const simcam::Station station(0x021122334455, {0xA9FE0764, 0xFFFF0000, 0});
    int allOnes = 0;
    for (unsigned i = 0; i < 0x10000; ++i) { // every value of a word passes every sum
        const Bytes payload = be16(static_cast<std::uint16_t>(i));
        const Bytes checksum = part(station.datagram({1, kHostIp, 3015}, 3956, payload), 40, 2);
        ASSERT_NE(checksum, be16(0)) << i;
        allOnes += checksum == be16(0xFFFF);
    }
    EXPECT_EQ(allOnes, 1);
}

// The camera takes each command as the host sends it and answers with exactly the annotated bytes.
TEST(SimcamGolden, EachCommandGetsItsAcknowledgement) {
    const ethernet::Settings settings{
        {"registers", "plain"},
        {"vendor", "Golden Optics"},
        {"model", "GO-1"},
        {"info", "annotated"},
        {"serial", "G0001"},
        {"name", "left"},
        {"first-url", "Local:go.zip;40000000;1A2B"}};
    const struct {
        const char* command;
        const char* answer;
        bool controlled; // the host has taken control before
    } rows[] = {
        {"arp_request_to_camera", "arp_reply_of_camera", false},
        {"discovery_cmd", "discovery_ack", false},
        {"forceip_cmd", "forceip_ack", false},
        {"readreg_cmd", "readreg_ack", true},
        {"readregs_cmd", "readregs_ack", true},
        {"readregs_part_cmd", "readregs_part_ack", true},
        {"writereg_cmd", "writereg_ack", false},
        {"readmem_cmd", "readmem_ack", false},
        {"writemem_cmd", "writemem_ack", true},
    };
    for (const auto& row : rows) {
        Bench bench(settings);
        bench.host.nextId = 0x7000;
        if (row.controlled) {
            bench.takeControl();
        }
        const std::vector<Bytes> answer{golden::load(row.answer)};
        EXPECT_EQ(bench.exchange(golden::load(row.command)), answer) << row.command;
    }
}

} // namespace
