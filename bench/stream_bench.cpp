// Images over a virtual wire: what the image path costs beside a bare reader that copies each payload once
// into place and does nothing else, in turns in one run. The figures are processor time of the receiving
// process an image, and the time from the last packet's sending to the caller's return.
//   stream_bench [seconds [case]]   (of each run; cases count from 1; arguments that begin with -- are for
//   other programs)
#include "platform/image_path.h"
#include "platform/kemrt.h"
#include "platform/tavo_hw.h"
#include "protocol/gvsp.h"
#include "protocol/net.h"
#include "softboard/softboard.h"
#include "support/net_namespace.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;
using std::chrono::nanoseconds;
using test_support::NetNamespace;

// The image path is looked up: it is an optional part of a board.
const TavoImagePath& imagePath() {
    const auto call = reinterpret_cast<TavoImagePathCall>(dlsym(RTLD_DEFAULT, LIOMOL_IMAGE_PATH_CALL));
    return *call(LIOMOL_IMAGE_PATH_VERSION);
}

constexpr std::uint16_t kImagePort = 1520;
constexpr std::array<std::uint8_t, 6> kHostMac{2, 0, 0, 0, 0, 1};
constexpr std::array<std::uint8_t, 6> kCameraMac{2, 0, 0, 0, 0, 2};
constexpr std::array<std::uint8_t, 4> kHostIp{169, 254, 7, 42};
constexpr std::array<std::uint8_t, 4> kCameraIp{169, 254, 7, 100};
constexpr std::size_t kStamp = sizeof(std::uint64_t); // at the end of an image: when its last packets left

struct Case {
    std::uint32_t width;
    std::uint32_t height;
    std::size_t mtu;
    unsigned perSecond; // images; 0: as fast as they go

    std::size_t size() const { return std::size_t{width} * height; }
    std::size_t data() const { return mtu - gvsp::kPacketOverhead; }
};

constexpr Case kCases[] = {
    {640, 480, 1500, 0},   {640, 480, 1500, 200},   {640, 480, 9000, 0},    {640, 480, 9000, 200},
    {2048, 2048, 9000, 0}, {2048, 2048, 9000, 200}, {2048, 2048, 9000, 20},
};

// What a receiving process found.
struct Outcome {
    std::uint64_t images = 0;
    std::uint64_t lost = 0; // packets
    double cpuUs = 0;       // an image
    double wallUs = 0;
    double medianUs = 0; // of the time from the last packet to the caller
    double p90Us = 0;
};

[[noreturn]] void giveUp(const std::string& what) {
    std::fprintf(stderr, "stream_bench: %s\n", what.c_str());
    std::exit(1);
}

void require(bool good, const std::string& what) {
    good ? void() : giveUp(what);
}

std::uint64_t nowNs() {
    return static_cast<std::uint64_t>(nanoseconds(Clock::now().time_since_epoch()).count());
}

void put(Bytes& bytes, std::size_t at, std::uint64_t value, unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
        bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    }
}

int packetSocket(const char* interface) {
    const int file = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface));
    require(file >= 0 && address.sll_ifindex != 0, std::string("no packet socket on ") + interface);
    require(bind(file, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    return file;
}

// --- The camera

Bytes packet(gvsp::Format format, std::size_t id, std::size_t data) {
    const std::size_t size = net::kUdpPayload + gvsp::kHeader + data;
    Bytes frame(std::max(size, net::kMinFrame));
    std::copy(kHostMac.begin(), kHostMac.end(), frame.begin() + net::kDestinationMac);
    std::copy(kCameraMac.begin(), kCameraMac.end(), frame.begin() + net::kSourceMac);
    put(frame, net::kEtherType, net::kEtherTypeIpv4, 2);
    frame[net::kIpVersion] = 0x45;
    put(frame, net::kIpTotalLength, size - net::kEthernetHeader, 2);
    frame[net::kIpTimeToLive] = 64;
    frame[net::kIpProtocol] = net::kIpProtocolUdp;
    std::copy(kCameraIp.begin(), kCameraIp.end(), frame.begin() + net::kSourceIp);
    std::copy(kHostIp.begin(), kHostIp.end(), frame.begin() + net::kDestinationIp);
    put(frame, net::kUdpSourcePort, 50000, 2);
    put(frame, net::kUdpDestinationPort, kImagePort, 2);
    put(frame, net::kUdpLength, size - net::kUdpSourcePort, 2);
    frame[net::kUdpPayload + gvsp::kFormat] = static_cast<std::uint8_t>(format);
    put(frame, net::kUdpPayload + gvsp::kPacketId, id, 3);
    return frame;
}

std::vector<Bytes> image(const Case& c) {
    constexpr std::size_t kContent = net::kUdpPayload + gvsp::kHeader;
    std::vector<Bytes> frames = {packet(gvsp::Format::Leader, 0, gvsp::kImageLeader)};
    put(frames[0], kContent + gvsp::kLeaderPayloadType, 1, 2);
    put(frames[0], kContent + gvsp::kLeaderPixelFormat, 0x01080001, 4);
    put(frames[0], kContent + gvsp::kLeaderWidth, c.width, 4);
    put(frames[0], kContent + gvsp::kLeaderHeight, c.height, 4);
    for (std::size_t at = 0; at < c.size(); at += c.data()) {
        frames.push_back(packet(gvsp::Format::Payload, frames.size(), std::min(c.data(), c.size() - at)));
    }
    frames.push_back(packet(gvsp::Format::Trailer, frames.size(), gvsp::kImageTrailer));
    put(frames.back(), kContent + gvsp::kTrailerPayloadType, 1, 2);
    put(frames.back(), kContent + gvsp::kTrailerHeight, c.height, 4);
    return frames;
}

void sendAll(int file, std::vector<mmsghdr>& messages, std::size_t first, std::size_t end) {
    while (first < end) {
        const int sent = sendmmsg(file, &messages[first], static_cast<unsigned>(end - first), 0);
        first += sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }
}

// In the camera's network. Block 0 is left out: it marks test packets.
void sendImages(const Case& c, Clock::time_point end) {
    const int file = packetSocket("camera0");
    std::vector<Bytes> frames = image(c);
    std::vector<iovec> places;
    std::vector<mmsghdr> messages(frames.size());
    for (Bytes& frame : frames) {
        places.push_back({frame.data(), frame.size()});
    }
    for (std::size_t i = 0; i < frames.size(); ++i) {
        messages[i].msg_hdr.msg_iov = &places[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    Bytes& last = frames[frames.size() - 2];
    const auto interval = nanoseconds(c.perSecond != 0 ? 1000000000 / c.perSecond : 0);
    auto next = Clock::now();
    for (std::uint64_t block = 1; Clock::now() < end; block = block % gvsp::kLastShortBlock + 1) {
        for (Bytes& frame : frames) {
            put(frame, net::kUdpPayload + gvsp::kBlockId, block, 2);
        }
        std::this_thread::sleep_until(next);
        next += interval;
        sendAll(file, messages, 0, frames.size() - 2);
        const std::uint64_t stamp = nowNs();
        std::memcpy(last.data() + last.size() - kStamp, &stamp, kStamp);
        sendAll(file, messages, frames.size() - 2, frames.size());
    }
}

// --- The receivers

// Latencies of images and the time that the process took, from the first image on.
class Meter {
public:
    explicit Meter(const Case& c) : m_case(c) { m_latencies.reserve(1U << 20); }

    void image(const std::uint8_t* data) {
        std::uint64_t sent = 0;
        std::memcpy(&sent, data + m_case.size() - kStamp, kStamp);
        m_last = nowNs();
        m_latencies.push_back(static_cast<double>(m_last - sent) / 1000);
        if (m_latencies.size() == 1) {
            m_first = m_last;
            m_cpuUs = processUs();
        }
    }
    bool quiet() const { return !m_latencies.empty() && nowNs() - m_last > kQuietNs; }

    Outcome outcome(std::uint64_t lost) {
        Outcome result;
        require(m_latencies.size() > 1, "no images came");
        const auto images = static_cast<double>(m_latencies.size() - 1);
        result.images = m_latencies.size();
        result.lost = lost;
        result.cpuUs = (processUs() - m_cpuUs) / images;
        result.wallUs = static_cast<double>(m_last - m_first) / 1000 / images;
        std::sort(m_latencies.begin(), m_latencies.end());
        result.medianUs = m_latencies[m_latencies.size() / 2];
        result.p90Us = m_latencies[m_latencies.size() * 9 / 10];
        return result;
    }

private:
    static constexpr std::uint64_t kQuietNs = 300000000;

    static double processUs() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
               static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
    }

    const Case m_case;
    std::vector<double> m_latencies;
    std::uint64_t m_first = 0;
    std::uint64_t m_last = 0;
    double m_cpuUs = 0;
};

// Whole blocks of packets at a time, which is what costs least: the kernel hands one over when it is full or
// a millisecond old.
class BareReader {
public:
    BareReader() : m_file(packetSocket("host0")) {
        const int version = TPACKET_V3;
        require(setsockopt(m_file, SOL_PACKET, PACKET_VERSION, &version, sizeof version) == 0, "version");
        tpacket_req3 ring{};
        ring.tp_block_size = kBlock;
        ring.tp_block_nr = kBlocks;
        ring.tp_frame_size = 16384;
        ring.tp_frame_nr = kBlock / ring.tp_frame_size * kBlocks;
        ring.tp_retire_blk_tov = 1;
        require(setsockopt(m_file, SOL_PACKET, PACKET_RX_RING, &ring, sizeof ring) == 0, "ring");
        m_memory = static_cast<std::uint8_t*>(
            mmap(nullptr, std::size_t{kBlock} * kBlocks, PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0));
        require(m_memory != MAP_FAILED, "memory of the ring");
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(ETH_P_ALL);
        address.sll_ifindex = static_cast<int>(if_nametoindex("host0"));
        require(bind(m_file, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    }

    Outcome run(const Case& c) {
        Meter meter(c);
        Bytes buffer(c.size());
        while (!meter.quiet()) {
            while (takeBlock(c, buffer, meter)) {
            }
            pollfd waiting{m_file, POLLIN, 0};
            poll(&waiting, 1, 100);
        }
        tpacket_stats_v3 lost{};
        socklen_t size = sizeof lost;
        getsockopt(m_file, SOL_PACKET, PACKET_STATISTICS, &lost, &size);
        return meter.outcome(lost.tp_drops);
    }

private:
    static constexpr unsigned kBlock = 256U << 10;
    static constexpr unsigned kBlocks = 128;

    bool takeBlock(const Case& c, Bytes& buffer, Meter& meter) {
        auto& block = reinterpret_cast<tpacket_block_desc*>(m_memory + std::size_t{m_next} * kBlock)->hdr.bh1;
        const std::atomic_ref status(block.block_status);
        if ((status.load(std::memory_order_acquire) & TP_STATUS_USER) == 0) {
            return false;
        }
        auto* at = m_memory + std::size_t{m_next} * kBlock + block.offset_to_first_pkt;
        for (unsigned i = 0; i < block.num_pkts; ++i) {
            const auto& header = *reinterpret_cast<const tpacket3_hdr*>(at);
            takePacket(at + header.tp_mac, header.tp_snaplen, c, buffer, meter);
            at += header.tp_next_offset;
        }
        status.store(TP_STATUS_KERNEL, std::memory_order_release);
        m_next = (m_next + 1) % kBlocks;
        return true;
    }

    static void
    takePacket(const std::uint8_t* frame, std::size_t size, const Case& c, Bytes& buffer, Meter& meter) {
        constexpr std::size_t kContent = net::kUdpPayload + gvsp::kHeader;
        const std::uint8_t* const header = frame + net::kUdpPayload;
        if (header[gvsp::kFormat] == static_cast<std::uint8_t>(gvsp::Format::Payload)) {
            const std::size_t id = std::size_t{header[5]} << 16 | std::size_t{header[6]} << 8 | header[7];
            std::memcpy(&buffer[(id - 1) * c.data()], frame + kContent, size - kContent);
        } else if (header[gvsp::kFormat] == static_cast<std::uint8_t>(gvsp::Format::Trailer)) {
            meter.image(buffer.data());
        }
    }

    const int m_file;
    std::uint8_t* m_memory = nullptr;
    unsigned m_next = 0;
};

Outcome runImagePath(const Case& c) {
    std::string error;
    require(softboard::loadConfiguration("[board 0]\n[board 0 port 0]\ninterface = host0\n", error), error);
    const QLdevice board = TavoInitAllHWEx(0);
    const fpga_design design = KemFirmwareTrampoline(
        TavoGetBoardInfoInt(board, "firmware/major"), TavoGetBoardInfoInt(board, "firmware/minor"));
    require(TavoConfigureFpga(board, design) == 0, "no board");
    TavoRegisterWrite(board, KemGetRegisterByName(design, "GigE_RxEnable"), 1);
    const TavoImagePath* const path = &imagePath();
    constexpr unsigned kBuffers = 32;
    std::vector<Bytes> memory(kBuffers, Bytes(c.size()));
    std::vector<void*> pieces;
    std::for_each(memory.begin(), memory.end(), [&](Bytes& piece) { pieces.push_back(piece.data()); });
    TavoImageSettings settings{};
    std::copy(kHostMac.begin(), kHostMac.end(), settings.hostMac);
    std::copy(kHostIp.begin(), kHostIp.end(), settings.hostIp);
    std::copy(kCameraMac.begin(), kCameraMac.end(), settings.cameraMac);
    std::copy(kCameraIp.begin(), kCameraIp.end(), settings.cameraIp);
    settings.udpPort = kImagePort;
    settings.buffers = kBuffers;
    settings.memory = pieces.data();
    settings.bufferSize = settings.payloadSize = c.size();
    settings.packetSize = static_cast<std::uint32_t>(c.mtu);
    TavoImageStream* stream = nullptr;
    require(path->open(&settings, &stream) == IMAGE_PATH_OK, "no stream");
    Meter meter(c);
    TavoImage got{};
    while (!meter.quiet()) {
        if (path->wait(stream, 100, &got) == IMAGE_PATH_OK) {
            meter.image(memory[got.buffer].data());
            path->giveBack(stream, got.buffer);
        }
    }
    TavoImageStatistics counts{};
    path->statistics(stream, &counts);
    // Closing, which gives the ring's memory back, is no part of receiving.
    const Outcome outcome = meter.outcome(counts.overrun + counts.missingPackets + counts.droppedArriving);
    path->close(stream);
    return outcome;
}

// --- In turns

// In a process of its own, within a network.
template<typename Work> pid_t inProcess(const NetNamespace& space, Work&& work) {
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        const NetNamespace::Inside inside(space);
        work();
        std::fflush(nullptr);
        _exit(0);
    }
    return process;
}

Outcome measure(const test_support::VirtualWire& wire, const Case& c, bool bare, double seconds) {
    int ends[2];
    require(pipe(ends) == 0, "pipe");
    const pid_t receiver = inProcess(wire.host, [&] {
        const Outcome outcome = bare ? BareReader().run(c) : runImagePath(c);
        require(write(ends[1], &outcome, sizeof outcome) == sizeof outcome, "pipe");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // until it listens
    const auto end =
        Clock::now() + std::chrono::duration_cast<nanoseconds>(std::chrono::duration<double>(seconds));
    const pid_t sender = inProcess(wire.camera, [&] { sendImages(c, end); });
    close(ends[1]);
    Outcome outcome;
    require(read(ends[0], &outcome, sizeof outcome) == sizeof outcome, "the receiver failed");
    close(ends[0]);
    waitpid(receiver, nullptr, 0);
    waitpid(sender, nullptr, 0);
    return outcome;
}

void print(const Case& c, const char* name, const Outcome& o) {
    std::printf(
        "%4ux%-4u %4zu %5s  %-10s %8.1f %9.1f %7llu %6llu %8.1f %8.1f\n", c.width, c.height, c.mtu,
        c.perSecond == 0 ? "full" : std::to_string(c.perSecond).c_str(), name, o.cpuUs, 1e6 / o.wallUs,
        static_cast<unsigned long long>(o.images), static_cast<unsigned long long>(o.lost), o.medianUs,
        o.p90Us);
    std::fflush(stdout);
}

// The run in the middle by processor time.
Outcome middle(std::vector<Outcome> runs) {
    std::sort(runs.begin(), runs.end(), [](const Outcome& a, const Outcome& b) { return a.cpuUs < b.cpuUs; });
    return runs[runs.size() / 2];
}

void run(const test_support::VirtualWire& wire, const Case& c, double seconds) {
    constexpr int kRounds = 3;
    const std::string mtu = std::to_string(c.mtu);
    require(
        wire.host.shell("ip link set host0 mtu " + mtu) &&
            wire.camera.shell("ip link set camera0 mtu " + mtu),
        "MTU");
    std::vector<Outcome> bare;
    std::vector<Outcome> path;
    for (int round = 0; round < kRounds; ++round) {
        bare.push_back(measure(wire, c, true, seconds));
        path.push_back(measure(wire, c, false, seconds));
    }
    print(c, "bare", middle(bare));
    print(c, "image path", middle(path));
    std::printf("%35s %8.2f\n", "ratio", middle(path).cpuUs / middle(bare).cpuUs);
}

} // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 && argv[1][0] != '-' ? std::atof(argv[1]) : 1;
    const test_support::VirtualWire wire;
    require(wire.error().empty(), wire.error());
    std::printf("image      MTU  /s     who          CPU us  images/s  images   lost  median/us  p90/us\n");
    const std::size_t only = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0;
    for (std::size_t i = 0; i < std::size(kCases); ++i) {
        if (only == 0 || only == i + 1) {
            run(wire, kCases[i], seconds);
        }
    }
    return 0;
}
