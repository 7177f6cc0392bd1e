// How long connecting takes over a virtual wire, beside what the wire and the camera need for the same
// commands, and on wires that lose frames in both directions.
//
//     connect_bench [tries]       50 of each kind at first
#include "liomol/gige.h"

#include "softboard/softboard.h"

#include "protocol/gvcp.h"
#include "protocol/net.h"

#include "support/fake_service.h"
#include "support/net_namespace.h"
#include "support/wired_camera.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using Bytes = std::vector<std::uint8_t>;
using test_support::NetNamespace;

const char* const kBoard = "[board 0]\n[board 0 port 0]\ninterface = host0\n";
const char* const kCapture = "connect.pcap";

std::uint32_t little32(const Bytes& bytes, std::size_t at) {
    return bytes[at] | std::uint32_t{bytes[at + 1]} << 8 | std::uint32_t{bytes[at + 2]} << 16 |
           std::uint32_t{bytes[at + 3]} << 24;
}

// The commands of a recording, in order.
std::vector<Bytes> commandsOf(const char* fileName) {
    constexpr std::size_t kFileHeader = 24;
    constexpr std::size_t kRecordHeader = 16;
    std::ifstream file(fileName, std::ios::binary);
    const Bytes all{std::istreambuf_iterator<char>(file), {}};
    std::vector<Bytes> commands;
    for (std::size_t at = kFileHeader; at + kRecordHeader <= all.size();) {
        const std::size_t size = little32(all, at + 8);
        const auto begin = all.begin() + static_cast<std::ptrdiff_t>(at + kRecordHeader);
        const Bytes frame(begin, begin + static_cast<std::ptrdiff_t>(size));
        if (frame[net::kUdpDestinationPort] << 8 == (gvcp::kPort & 0xFF00) &&
            frame[net::kUdpDestinationPort + 1] == (gvcp::kPort & 0xFF)) {
            commands.push_back(frame);
        }
        at += kRecordHeader + size;
    }
    return commands;
}

// The same commands once more, from another UDP port and each as soon as the one before is acknowledged.
Milliseconds bare(const std::vector<Bytes>& commands) {
    std::string error;
    netif::ControlTraffic traffic;
    std::copy_n(commands.front().begin() + net::kSourceMac, net::kMacSize, traffic.mac.begin());
    std::copy_n(commands.front().begin() + net::kSourceIp, net::kIpSize, traffic.address.begin());
    traffic.udpPort = 3999;
    const auto socket =
        netif::PacketSocket::create("host0", {netif::controlFilter(traffic), false, {}}, error);
    const auto start = Clock::now();
    for (Bytes command : commands) {
        command[net::kUdpSourcePort] = static_cast<std::uint8_t>(traffic.udpPort >> 8);
        command[net::kUdpSourcePort + 1] = static_cast<std::uint8_t>(traffic.udpPort);
        command[net::kUdpChecksum] = command[net::kUdpChecksum + 1] = 0;
        socket->send(command.data(), command.size());
        while (socket->receive(Clock::now() + std::chrono::seconds(1)).empty()) {
        }
    }
    return Clock::now() - start;
}

struct Connects {
    int good = 0;
    std::vector<double> times;

    double mean() const {
        return std::accumulate(times.begin(), times.end(), 0.0) / static_cast<double>(times.size());
    }
    double median() {
        std::nth_element(
            times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
        return times[times.size() / 2];
    }
    double worst() const { return *std::max_element(times.begin(), times.end()); }
};

Connects connectOften(CameraHandle* camera, int tries, double loss) {
    softboard::FaultPlan plan;
    plan.send.drop = plan.receive.drop = loss;
    Connects result;
    for (int i = 0; i < tries; ++i) {
        plan.seed = static_cast<std::uint64_t>(i + 1);
        softboard::setFaultPlan(0, 0, plan);
        const auto start = Clock::now();
        result.good += Gbe_connectCamera(camera) == 0 ? 1 : 0;
        result.times.push_back(Milliseconds(Clock::now() - start).count());
        softboard::setFaultPlan(0, 0, {});
        Gbe_disconnectCamera(camera);
    }
    return result;
}

int measure(CameraHandle* camera, int tries) {
    std::string error;
    softboard::startCapture(0, 0, kCapture, error);
    connectOften(camera, 1, 0);
    softboard::stopCapture(0, 0);
    const std::vector<Bytes> commands = commandsOf(kCapture);
    std::vector<double> bareTimes;
    for (int i = 0; i < tries; ++i) {
        bareTimes.push_back(bare(commands).count());
    }
    std::nth_element(bareTimes.begin(), bareTimes.begin() + tries / 2, bareTimes.end());
    std::printf(
        "%zu commands, bare: %.2f ms (median)\n", commands.size(),
        bareTimes[static_cast<std::size_t>(tries / 2)]);
    int failures = 0;
    for (const double loss : {0.0, 0.01, 0.05}) {
        Connects connects = connectOften(camera, tries, loss);
        std::printf(
            "loss %2.0f %% each way: %d of %d connected, mean %.1f ms, median %.1f ms, longest %.1f ms\n",
            loss * 100, connects.good, tries, connects.mean(), connects.median(), connects.worst());
        failures += tries - connects.good;
    }
    return failures;
}

} // namespace

int main(int argc, char** argv) {
    const int asked = argc > 1 ? std::atoi(argv[1]) : 0;
    const int tries = asked > 0 ? asked : 50;
    const test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        std::fprintf(stderr, "%s\n", wire.error().c_str());
        return 1;
    }
    const NetNamespace::Inside inside(wire.host);
    const FakeService service;
    const WiredCamera station(wire.camera, "camera0", {{"mac", "02:00:00:00:00:41"}, {"ip", "169.254.1.65"}});
    std::string error;
    BoardHandle* board = nullptr;
    CameraHandle* camera = nullptr;
    if (!softboard::loadConfiguration(kBoard, error) || Gbe_initBoard(0, 0, &board) != 0 ||
        Gbe_scanNetwork(board, 0, 0) != 0 || Gbe_getFirstCamera(board, 0, &camera) != 0) {
        std::fprintf(stderr, "no camera (%s)\n", error.c_str());
        return 1;
    }
    const int failures = measure(camera, tries);
    Gbe_freeCamera(camera);
    Gbe_freeBoard(board);
    return failures == 0 ? 0 : 1;
}
