// What the library adds to a round trip on a wire: reads of a camera's register and memory through GigeCamera
// and the software board's interface port, beside a bare exchange of equal frames between two raw sockets.
// Both go over the same virtual wire to the same far end, in turns of some dozens, so that what else the
// machine does meets both.
#include "transport/GigeCamera.h"

#include "softboard/InterfaceLink.h"
#include "softboard/softboard.h"

#include "protocol/gvcp.h"
#include "protocol/net.h"

#include "support/net_namespace.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <csignal>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;
using test_support::NetNamespace;

constexpr unsigned kTurn = 32;            // exchanges of one kind before those of the other
constexpr std::uint16_t kBarePort = 3016; // beside the library's 3015, so that the kernel tells them apart
constexpr std::uint32_t kAddress = 0x0000C000;

std::uint16_t big16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

void store16(std::uint8_t* bytes, std::size_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

// A raw socket of the plainest kind.
class RawSocket {
public:
    RawSocket(const NetNamespace& space, const char* interface, const netif::Filter& filter) {
        const NetNamespace::Inside inside(space);
        m_socket = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(0x0003));
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(0x0003); // all
        address.sll_ifindex = static_cast<int>(if_nametoindex(interface));
        const int on = 1;
        setsockopt(m_socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
        sock_fprog program{
            static_cast<unsigned short>(filter.size()), const_cast<sock_filter*>(filter.data())};
        setsockopt(m_socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
        const timeval patience{0, 200000};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        if (bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error(std::string("no raw socket: ") + std::strerror(errno));
        }
    }
    ~RawSocket() { close(m_socket); }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    void send(const std::uint8_t* frame, std::size_t size) const { ::send(m_socket, frame, size, 0); }
    ssize_t receive(std::uint8_t* buffer, std::size_t size, int flags = 0) const {
        return recv(m_socket, buffer, size, flags);
    }

private:
    int m_socket = -1;
};

// While it lives its thread has a processor to itself, as far as there are several and the rights suffice:
// like on a machine with nothing else to do, and a camera that is another machine.
class OwnProcessor {
public:
    OwnProcessor(bool wanted, unsigned processor) {
        sched_getaffinity(0, sizeof m_before, &m_before);
        if (wanted && processor < std::thread::hardware_concurrency()) {
            cpu_set_t set;
            CPU_ZERO(&set);
            CPU_SET(processor, &set);
            sched_setaffinity(0, sizeof set, &set);
            const sched_param first{1};
            sched_setscheduler(0, SCHED_FIFO, &first);
        }
    }
    ~OwnProcessor() {
        const sched_param none{0};
        sched_setscheduler(0, SCHED_OTHER, &none);
        sched_setaffinity(0, sizeof m_before, &m_before);
    }
    OwnProcessor(const OwnProcessor&) = delete;
    OwnProcessor& operator=(const OwnProcessor&) = delete;

private:
    cpu_set_t m_before;
};

// The far end: answers READREG and READMEM as a camera would, from a thread of its own that sleeps in
// between.
class FarEnd {
public:
    FarEnd(const NetNamespace& space, const netif::Mac& mac, bool apart)
        : m_socket(space, "camera0", netif::stationFilter({mac})), m_thread([this, apart] { run(apart); }) {}
    ~FarEnd() {
        m_stop = true;
        m_thread.join();
    }

private:
    void run(bool apart) {
        const OwnProcessor own(apart, 1);
        std::array<std::uint8_t, 2048> frame;
        while (!m_stop) {
            const ssize_t size = m_socket.receive(frame.data(), frame.size());
            if (size >= static_cast<ssize_t>(net::kUdpPayload + gvcp::kHeader + 8)) {
                m_socket.send(frame.data(), answer(frame.data()));
            }
        }
    }

    static void turnAround(std::uint8_t* frame) {
        std::swap_ranges(frame, frame + net::kMacSize, frame + net::kMacSize);
        std::swap_ranges(frame + net::kSourceIp, frame + net::kDestinationIp, frame + net::kDestinationIp);
        std::swap_ranges(
            frame + net::kUdpSourcePort, frame + net::kUdpDestinationPort, frame + net::kUdpDestinationPort);
    }

    // RFC 1624: the header's checksum changes by what the length does.
    static void setTotalLength(std::uint8_t* frame, std::size_t length) {
        std::size_t sum = (~big16(frame + net::kIpChecksum) & 0xFFFFU) +
                          (~big16(frame + net::kIpTotalLength) & 0xFFFFU) + length;
        sum = (sum & 0xFFFF) + (sum >> 16);
        store16(frame + net::kIpChecksum, ~((sum & 0xFFFF) + (sum >> 16)));
        store16(frame + net::kIpTotalLength, length);
    }

    // Turns a command into its acknowledgement; the size of that.
    static std::size_t answer(std::uint8_t* frame) {
        turnAround(frame);
        std::uint8_t* const message = frame + net::kUdpPayload;
        const bool memory = message[3] == static_cast<std::uint8_t>(gvcp::Command::ReadMemCmd);
        const std::size_t data = memory ? big16(message + gvcp::kPayload + 6) : 0;
        const std::size_t payload = 4 + data; // a register's value, or address and data
        store16(message, 0);
        ++message[3];
        store16(message + gvcp::kLength, payload);
        if (memory) {
            std::memset(message + gvcp::kPayload + 4, message[gvcp::kPayload + 3], data);
        }
        const std::size_t udp = net::kUdpHeader + gvcp::kHeader + payload;
        store16(frame + net::kUdpLength, udp);
        store16(frame + net::kUdpChecksum, 0);
        setTotalLength(frame, net::kIpHeader + udp);
        return std::max(net::kMinFrame, net::kUdpSourcePort + udp);
    }

    RawSocket m_socket;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

constexpr netif::Mac kHostMac = {2, 0, 0, 0, 0, 1};
constexpr netif::Mac kCameraMac = {2, 0x11, 0x22, 0x33, 0x44, 0x55};

// The far end as users have it: gbe-simcam, a process of its own.
class SoftwareCamera {
public:
    explicit SoftwareCamera(const NetNamespace& space) {
        const NetNamespace::Inside inside(space);
        m_process = fork();
        if (m_process == 0) {
            dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
            execl(
                LIOMOL_BENCH_SIMCAM, LIOMOL_BENCH_SIMCAM, "--interface", "camera0", "--camera",
                "mac=02:11:22:33:44:55,ip=169.254.7.100", nullptr);
            _exit(127);
        }
    }
    ~SoftwareCamera() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }
    SoftwareCamera(const SoftwareCamera&) = delete;
    SoftwareCamera& operator=(const SoftwareCamera&) = delete;

private:
    pid_t m_process = -1;
};

// The library's end on the wire: board 0, port 0 is the interface.
class Library {
public:
    Library(const NetNamespace& space, std::chrono::microseconds spin) {
        const NetNamespace::Inside inside(space);
        std::string error;
        if (!softboard::loadConfiguration(
                "[board 0]\n[board 0 port 0]\ninterface = host0\nspin_us = " + std::to_string(spin.count()),
                error)) {
            throw std::runtime_error(error);
        }
        const QLdevice board = TavoInitAllHWEx(0);
        const fpga_design design = KemFirmwareTrampoline(2, 0);
        TavoConfigureFpga(board, design);
        m_camera = std::make_unique<GigeCamera>(design, board);
        m_camera->SetMAC(0, kHostMac.data());
        DiscoveredCamera record{};
        std::copy(kCameraMac.begin(), kCameraMac.end(), std::begin(record.mac));
        const std::uint8_t ip[] = {169, 254, 7, 100};
        std::copy(std::begin(ip), std::end(ip), std::begin(record.ip));
        m_camera->selectCamera(0, record);
    }
    ~Library() { m_camera->deinit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    GigeCamera& camera() { return *m_camera; }

    // A command as the library builds it, from the port of the bare exchange.
    std::vector<std::uint8_t> command() {
        UDPPacket packet;
        unsigned short length = 0;
        m_camera->BuildGvcpReadRegisterPacket(0, &packet, &length, kAddress);
        store16(packet.at(net::kUdpSourcePort), kBarePort);
        return {packet.bytes.begin(), packet.bytes.begin() + net::kMinFrame};
    }

private:
    std::unique_ptr<GigeCamera> m_camera;
};

class Samples {
public:
    template<class Exchange> bool turn(Exchange exchange) {
        for (unsigned i = 0; i < kTurn; ++i) {
            const auto start = Clock::now();
            if (!exchange()) {
                return false;
            }
            m_times.push_back(Microseconds(Clock::now() - start).count());
        }
        return true;
    }
    double at(double share) {
        const auto place =
            m_times.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(m_times.size() - 1));
        std::nth_element(m_times.begin(), place, m_times.end());
        return *place;
    }

private:
    std::vector<double> m_times;
};

// `spin` in microseconds, 0 sleeps. The bare exchange sleeps in recv, or calls it again and again.
void readRegister(benchmark::State& state) {
    const test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        return state.SkipWithError(wire.error().c_str());
    }
    const bool spins = state.range(0) > 0;
    wire.host.shell("ip link set host0 address 02:00:00:00:00:01");
    const bool apart = state.range(1) != 0;
    const FarEnd farEnd(wire.camera, kCameraMac, apart);
    const OwnProcessor own(apart, 0);
    const netif::ControlTraffic traffic{kHostMac, {}, kBarePort, 0};
    const RawSocket bare(wire.host, "host0", netif::controlFilter(traffic));
    Library library(wire.host, std::chrono::microseconds(state.range(0)));
    const std::vector<std::uint8_t> command = library.command();
    Samples bareTimes;
    Samples libraryTimes;
    for (auto _ : state) {
        const bool good = bareTimes.turn([&] {
            std::array<std::uint8_t, 2048> frame;
            ssize_t size = -1;
            bare.send(command.data(), command.size());
            const auto end = Clock::now() + std::chrono::seconds(2);
            do {
                size = bare.receive(frame.data(), frame.size(), spins ? MSG_DONTWAIT : 0);
            } while (size < 0 && Clock::now() < end);
            return size > 0;
        }) && libraryTimes.turn([&] {
            int value = 0;
            return library.camera().ReadRegister(0, kAddress, &value) == 0;
        });
        if (!good) {
            return state.SkipWithError("an exchange failed");
        }
    }
    state.counters["bare_us"] = bareTimes.at(0.5);
    state.counters["library_us"] = libraryTimes.at(0.5);
    state.counters["library_p99_us"] = libraryTimes.at(0.99);
    state.counters["ratio"] = libraryTimes.at(0.5) / bareTimes.at(0.5);
}
BENCHMARK(readRegister)
    ->ArgNames({"spin_us", "apart"})
    ->ArgsProduct({{0, 50}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The same from the camera in software: with what that does for an answer.
void readSoftwareCamera(benchmark::State& state) {
    const test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        return state.SkipWithError(wire.error().c_str());
    }
    wire.host.shell("ip link set host0 address 02:00:00:00:00:01");
    const SoftwareCamera camera(wire.camera);
    Library library(wire.host, std::chrono::microseconds(state.range(0)));
    constexpr unsigned kVersionRegister = 0;
    int value = 0;
    for (int attempt = 0; library.camera().ReadRegister(0, kVersionRegister, &value) != 0; ++attempt) {
        if (attempt == 5) {
            return state.SkipWithError("the camera does not answer");
        }
    }
    Samples times;
    for (auto _ : state) {
        if (!times.turn([&] { return library.camera().ReadRegister(0, kVersionRegister, &value) == 0; })) {
            return state.SkipWithError("an exchange failed");
        }
    }
    state.counters["library_us"] = times.at(0.5);
    state.counters["library_p99_us"] = times.at(0.99);
}
BENCHMARK(readSoftwareCamera)
    ->ArgName("spin_us")
    ->Arg(0)
    ->Arg(50)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// 1 MB of a camera's memory, in blocks of 536 bytes.
void readMemory(benchmark::State& state) {
    const test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        return state.SkipWithError(wire.error().c_str());
    }
    wire.host.shell("ip link set host0 address 02:00:00:00:00:01");
    const bool apart = state.range(1) != 0;
    const FarEnd farEnd(wire.camera, kCameraMac, apart);
    const OwnProcessor own(apart, 0);
    Library library(wire.host, std::chrono::microseconds(state.range(0)));
    std::vector<char> memory(1000000);
    for (auto _ : state) {
        if (library.camera().ReadMemory(
                0, kAddress, static_cast<unsigned>(memory.size()), nullptr, memory.data()) != 0) {
            return state.SkipWithError("a read failed");
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(memory.size()) * state.iterations());
}
BENCHMARK(readMemory)
    ->ArgNames({"spin_us", "apart"})
    ->ArgsProduct({{0, 50}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
