// Which frames the camera takes for datagrams to it and which it lets pass, and how it answers ARP.
#include "harness.h"
#include "support/golden.h"

#include <functional>

namespace {

using namespace simcam_test;

// Recomputes the IPv4 header checksum of a frame whose header was changed.
void mendIpChecksum(Bytes& frame) {
    frame[24] = frame[25] = 0;
    std::uint32_t sum = 0;
    for (std::size_t i = 14; i < 14u + frame[14] % 16 * 4; i += 2) {
        sum += static_cast<std::uint32_t>(frame[i] << 8 | frame[i + 1]);
    }
    sum = (sum & 0xFFFF) + (sum >> 16);
    sum = ~((sum & 0xFFFF) + (sum >> 16));
    frame[24] = static_cast<std::uint8_t>(sum >> 8);
    frame[25] = static_cast<std::uint8_t>(sum);
}

TEST(SimcamStation, TakesSoundFramesForItAndNoOthers) {
    const struct {
        const char* name;
        std::function<void(Bytes&)> change;
        bool answered;
    } rows[] = {
        {"as it is", [](Bytes&) {}, true},
        {"padded further", [](Bytes& f) { f.resize(90, 0xEE); }, true},
        {"without padding", [](Bytes& f) { f.resize(54); }, true},
        {"for another MAC", [](Bytes& f) { f[5] ^= 1; }, false},
        {"broadcast MAC, own IP", [](Bytes& f) { std::fill_n(f.begin(), 6, std::uint8_t{0xFF}); }, true},
        {"for another IP", [](Bytes& f) { f[33] ^= 1, mendIpChecksum(f); }, false},
        {"IP checksum wrong", [](Bytes& f) { f[24] ^= 1; }, false},
        {"UDP checksum wrong", [](Bytes& f) { f[40] ^= 1; }, false},
        {"no UDP checksum", [](Bytes& f) { f[40] = f[41] = 0; }, true},
        {"payload flipped", [](Bytes& f) { f[53] ^= 4; }, false},
        {"IPv6", [](Bytes& f) { f[14] = 0x65, mendIpChecksum(f); }, false},
        {"header too short", [](Bytes& f) { f[14] = 0x44, mendIpChecksum(f); }, false},
        {"TCP", [](Bytes& f) { f[23] = 6, mendIpChecksum(f); }, false},
        {"first fragment", [](Bytes& f) { f[20] = 0x20, mendIpChecksum(f); }, false},
        {"later fragment", [](Bytes& f) { f[21] = 1, mendIpChecksum(f); }, false},
        {"IP length beyond the frame", [](Bytes& f) { f[17] = 200, mendIpChecksum(f); }, false},
        {"IP length below its header", [](Bytes& f) { f[17] = 19, mendIpChecksum(f); }, false},
        {"UDP length beyond IP", [](Bytes& f) { f[39] = 21, f[40] = f[41] = 0; }, false},
        {"UDP length below its header", [](Bytes& f) { f[39] = 7, f[40] = f[41] = 0; }, false},
        {"another port", [](Bytes& f) { f[37] ^= 1, f[40] = f[41] = 0; }, false},
        {"VLAN", [](Bytes& f) { f[12] = 0x81, f[13] = 0; }, false},
    };
    for (const auto& row : rows) {
        Bench bench;
        Bytes frame = bench.frame(bench.host, Bench::message(0x80, 1, be32(0x0A00)));
        row.change(frame);
        EXPECT_EQ(bench.exchange(frame).size(), row.answered ? 1u : 0u) << row.name;
    }
}

TEST(SimcamStation, ReadsAnIpHeaderWithOptions) {
    Bench bench;
    Bytes frame = bench.frame(bench.host, Bench::message(0x80, 1, be32(0x0A00)), false);
    frame.resize(54);
    frame.insert(frame.begin() + 34, {1, 1, 1, 1});
    frame[14] = 0x46;
    frame[17] = static_cast<std::uint8_t>(frame[17] + 4);
    mendIpChecksum(frame);
    EXPECT_EQ(bench.exchange(frame).size(), 1u);
}

TEST(SimcamStation, AnswersArpForItsAddressOnly) {
    const struct {
        const char* name;
        std::function<void(Bytes&)> change;
        bool answered;
    } rows[] = {
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
    for (const auto& row : rows) {
        Bench bench;
        Bytes frame = golden::load("arp_request_to_camera");
        row.change(frame);
        EXPECT_EQ(bench.exchange(frame).size(), row.answered ? 1u : 0u) << row.name;
    }
}

TEST(SimcamStation, LearnsItsNeighboursAndAsksForThem) {
    simcam::Station station(0x021122334455, {0xA9FE0764, 0xFFFF0000, 0});
    EXPECT_FALSE(station.neighbour(0xA9FE072A));
    station.receive(golden::load("arp_request_to_camera"));
    EXPECT_EQ(station.neighbour(0xA9FE072A), std::optional<simcam::Mac>(0x020000000001));
    EXPECT_EQ(station.arpRequest(0xA9FE072A), golden::load("arp_request"));

    Bytes flood = golden::load("arp_request_to_camera"); // a neighbourhood larger than memory is for
    for (unsigned i = 0; i < 1000; ++i) {
        flood[30] = static_cast<std::uint8_t>(i >> 8);
        flood[31] = static_cast<std::uint8_t>(i);
        station.receive(flood);
    }
    EXPECT_EQ(station.neighbour(0xA9FE072A), std::optional<simcam::Mac>(0x020000000001));
    EXPECT_FALSE(station.neighbour(0xA9FE0000 | 999));
}

TEST(SimcamStation, NeverSendsAChecksumOfNone) {
    const simcam::Station station(0x021122334455, {0xA9FE0764, 0xFFFF0000, 0});
    int allOnes = 0;
    for (unsigned i = 0; i < 0x10000; ++i) { // every value of a word passes every sum
        const Bytes frame =
            station.datagram({1, 0xA9FE072A, 3015}, 3956, be16(static_cast<std::uint16_t>(i)));
        ASSERT_FALSE(frame[40] == 0 && frame[41] == 0) << i;
        allOnes += frame[40] == 0xFF && frame[41] == 0xFF;
    }
    EXPECT_EQ(allOnes, 1);
}

} // namespace
