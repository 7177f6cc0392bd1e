// Images of cameras in software over virtual wires that lose, repeat and mix up packets, for as long as
// asked: whether all of them come, once, in order and whole, what that costs, and how much memory the process
// has.
//
//     images_soak [seconds [MB/s [percent [cameras]]]]     60, 100, 1 and 1 at first
//
// The rate is that of each camera; so many percent of the packets are lost, come twice, come late. A line
// every ten seconds, then the verdict, which is also the exit status. Every camera has a port, each port a
// wire.
#include "liomol/features.h"
#include "liomol/images.h"
#include "simcam/encoded_pattern.h"
#include "softboard/softboard.h"

#include "support/fake_service.h"
#include "support/net_namespace.h"
#include "support/wired_camera.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;
using test_support::NetNamespace;
using test_support::VirtualWire;

constexpr unsigned kWidth = 1024;
constexpr unsigned kHeight = 1024;
constexpr unsigned kMostCameras = 4;
constexpr int kTailMs = 2000;         // so long nothing comes when everything has come
constexpr std::size_t kGrowth = 2048; // KiB that allocators may take once all is running

struct Wish {
    int seconds = 60;
    double rate = 100; // MB/s
    double percent = 1;
    unsigned cameras = 1;
};

[[noreturn]] void giveUp(const std::string& what) {
    std::fprintf(stderr, "images_soak: %s\n", what.c_str());
    std::_Exit(1);
}

void require(bool good, const std::string& what) {
    good ? void() : giveUp(what);
}

void must(const char* what, int code) {
    require(code == 0, std::string(what) + ": " + Gbe_getErrorDescription(code));
}

double processSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

std::size_t residentKib() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

// --- The cameras, in a process of their own until it is told to end

std::string name(const char* end, unsigned port) {
    return end + std::to_string(port);
}

void addWires(const VirtualWire& wire, unsigned cameras) {
    require(wire.error().empty(), wire.error());
    for (unsigned port = 0; port < cameras; ++port) {
        const std::string host = name("host", port);
        const std::string camera = name("camera", port);
        const bool made = port == 0 || wire.host.shell(
                                           "ip link add " + host + " type veth peer name " + camera +
                                           " netns " + wire.camera.path());
        require(
            made && wire.host.shell("ip link set " + host + " mtu 9000 up") &&
                wire.camera.shell("ip link set " + camera + " mtu 9000 up"),
            "no wire " + host);
    }
}

class Cameras {
public:
    Cameras(const VirtualWire& wire, unsigned count) {
        require(pipe(m_ends) == 0, "pipe");
        std::fflush(nullptr);
        m_process = fork();
        if (m_process != 0) {
            return;
        }
        close(m_ends[1]);
        std::vector<std::unique_ptr<WiredCamera>> cameras;
        for (unsigned port = 0; port < count; ++port) {
            cameras.push_back(std::make_unique<WiredCamera>(
                wire.camera, name("camera", port),
                ethernet::Settings{{"ip", "169.254." + std::to_string(port + 1) + ".65"}}));
        }
        char end = 0;
        [[maybe_unused]] const ssize_t told = read(m_ends[0], &end, 1);
        std::_Exit(0);
    }
    ~Cameras() {
        close(m_ends[1]);
        waitpid(m_process, nullptr, 0);
    }
    Cameras(const Cameras&) = delete;
    Cameras& operator=(const Cameras&) = delete;

private:
    int m_ends[2] = {-1, -1};
    pid_t m_process = -1;
};

// --- One of them

class Line {
public:
    Line(BoardHandle* board, unsigned port, const Wish& wish) : m_port(port) {
        must("scanning", Gbe_scanNetwork(board, static_cast<int>(port), 0));
        must("finding the camera", Gbe_getFirstCamera(board, port, &m_camera));
        must("connecting", Gbe_connectCamera(m_camera));
        must("TestPattern", Gbe_setEnumerationValue(m_camera, "TestPattern", "Encoded"));
        must("Width", Gbe_setIntegerValue(m_camera, "Width", kWidth));
        must("Height", Gbe_setIntegerValue(m_camera, "Height", kHeight));
        must("ExposureTime", Gbe_setFloatValue(m_camera, "ExposureTime", 100));
        GbeStreamOptions options;
        Gbe_initStreamOptions(&options);
        options.buffers = 64;
        options.dropOldest = 0;
        must("opening the stream", Gbe_openStream(m_camera, &options, &m_stream));
        must("AcquisitionFrameRateEnable", Gbe_setBooleanValue(m_camera, "AcquisitionFrameRateEnable", 1));
        must(
            "AcquisitionFrameRate",
            Gbe_setFloatValue(m_camera, "AcquisitionFrameRate", wish.rate * 1e6 / kWidth / kHeight));
        softboard::FaultPlan plan;
        plan.seed = port + 1;
        plan.receive.drop = plan.receive.duplicate = plan.receive.reorder = wish.percent / 100;
        plan.receive.reorderHold = std::chrono::milliseconds(1);
        softboard::setFaultPlan(0, static_cast<int>(port), plan);
    }
    ~Line() {
        softboard::setFaultPlan(0, static_cast<int>(m_port), {});
        Gbe_closeStream(m_stream);
        Gbe_freeCamera(m_camera);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void start() {
        must("StatisticsReset", Gbe_executeCommand(m_camera, "StatisticsReset"));
        must("starting", Gbe_startAcquisition(m_camera));
        m_thread = std::thread([this] { fetch(); });
    }
    void finish() {
        must("stopping", Gbe_stopAcquisition(m_camera));
        m_last = true;
        m_thread.join();
        Gbe_invalidateCache(m_camera);
        must("StreamFrameCount", Gbe_getIntegerValue(m_camera, "StreamFrameCount", &m_sent));
    }

    std::uint64_t images() const { return m_images; }
    std::uint64_t wrong() const { return m_wrong; }
    std::uint64_t sent() const { return static_cast<std::uint64_t>(m_sent); }
    GbeStreamStatistics statistics() const {
        GbeStreamStatistics now{};
        must("statistics", Gbe_getStreamStatistics(m_stream, &now));
        return now;
    }

private:
    void fetch() {
        std::uint64_t before = 0;
        GbeImage image{};
        int code = 0;
        while ((code = Gbe_waitImage(m_stream, kTailMs, &image)) == 0 || !m_last) {
            if (code == 0) {
                m_wrong +=
                    image.status == GBE_IMAGE_COMPLETE && image.blockId > before && isRight(image) ? 0 : 1;
                ++m_images;
                before = image.blockId;
                Gbe_giveBackImage(m_stream, image.id);
            } else {
                require(code == GBE_ERROR_TIMEOUT, "an image does not come");
            }
        }
    }

    // Some bytes of every packet; others in every image.
    static bool isRight(const GbeImage& image) {
        constexpr std::size_t kStep = 251;
        const auto* const bytes = static_cast<const unsigned char*>(image.data);
        for (std::size_t i = image.blockId % kStep; i < image.size; i += kStep) {
            if (bytes[i] != simcam::encodedSample(image.blockId, i, 8)) {
                return false;
            }
        }
        return image.size == std::size_t{kWidth} * kHeight;
    }

    const unsigned m_port;
    CameraHandle* m_camera = nullptr;
    GbeStream* m_stream = nullptr;
    long long m_sent = 0;
    std::atomic<bool> m_last{false};
    std::atomic<std::uint64_t> m_images{0};
    std::atomic<std::uint64_t> m_wrong{0}; // incomplete, out of order, twice, or with another byte
    std::thread m_thread;
};

using Lines = std::vector<std::unique_ptr<Line>>;

// --- All of them

template<typename Value> std::uint64_t sum(const Lines& lines, Value&& value) {
    std::uint64_t all = 0;
    for (const auto& line : lines) {
        all += value(*line);
    }
    return all;
}

struct Look {
    Clock::time_point time = Clock::now();
    std::uint64_t images = 0;
    double cpu = processSeconds();
    std::size_t kib = residentKib();
};

Look print(const Lines& lines, Clock::time_point start, const Look& before) {
    Look now;
    now.images = sum(lines, [](const Line& line) { return line.images(); });
    const auto counted = [&](auto field) {
        return static_cast<unsigned long long>(
            sum(lines, [field](const Line& line) { return line.statistics().*field; }));
    };
    const double time = std::chrono::duration<double>(now.time - before.time).count();
    const auto images = static_cast<double>(now.images - before.images);
    std::printf(
        "%6.0f %9.1f %7.1f %8.0f %8llu %10llu %10llu %7llu %7llu %8zu\n",
        std::chrono::duration<double>(now.time - start).count(), images / time,
        images * kWidth * kHeight / 1e6 / time, images > 0 ? (now.cpu - before.cpu) * 1e6 / images : 0,
        counted(&GbeStreamStatistics::resentPackets), counted(&GbeStreamStatistics::duplicates),
        counted(&GbeStreamStatistics::incomplete), counted(&GbeStreamStatistics::overrun),
        static_cast<unsigned long long>(sum(lines, [](const Line& line) { return line.wrong(); })), now.kib);
    std::fflush(stdout);
    return now;
}

int verdict(const Lines& lines, const Look& first, const Look& last) {
    const std::uint64_t sent = sum(lines, [](const Line& line) { return line.sent(); });
    const std::uint64_t images = sum(lines, [](const Line& line) { return line.images(); });
    const std::uint64_t wrong = sum(lines, [](const Line& line) { return line.wrong(); });
    const std::size_t grown = last.kib > first.kib ? last.kib - first.kib : 0;
    std::printf(
        "sent %llu, received %llu, wrong %llu, memory grew by %zu KiB\n",
        static_cast<unsigned long long>(sent), static_cast<unsigned long long>(images),
        static_cast<unsigned long long>(wrong), grown);
    const bool good = sent == images && sent > 0 && wrong == 0 && grown <= kGrowth;
    std::printf("%s\n", good ? "good" : "NOT GOOD");
    return good ? 0 : 1;
}

int run(const Wish& wish) {
    const VirtualWire wire;
    addWires(wire, wish.cameras);
    const Cameras cameras(wire, wish.cameras);
    const NetNamespace::Inside inside(wire.host);
    std::string board = "[board 0]\n";
    for (unsigned port = 0; port < wish.cameras; ++port) {
        board += "[board 0 port " + std::to_string(port) + "]\ninterface = " + name("host", port) + "\n";
    }
    std::string error;
    require(softboard::loadConfiguration(board, error), error);
    const FakeService service;
    BoardHandle* handle = nullptr;
    must("opening the board", Gbe_initBoard(0, 0, &handle));
    Lines lines;
    for (unsigned port = 0; port < wish.cameras; ++port) {
        lines.push_back(std::make_unique<Line>(handle, port, wish));
    }
    std::printf(
        "     s  images/s    MB/s   CPU us   resent duplicates incomplete overrun   wrong  RSS KiB\n");
    const auto start = Clock::now();
    std::for_each(lines.begin(), lines.end(), [](const auto& line) { line->start(); });
    const seconds step(std::clamp(wish.seconds / 4, 1, 10));
    Look first;
    Look last;
    for (int at = 0; at + step.count() <= wish.seconds; at += static_cast<int>(step.count())) {
        std::this_thread::sleep_for(step);
        last = print(lines, start, last);
        first = at == 0 ? last : first;
    }
    std::for_each(lines.begin(), lines.end(), [](const auto& line) { line->finish(); });
    const int result = verdict(lines, first, last);
    lines.clear();
    Gbe_freeBoard(handle);
    return result;
}

} // namespace

int main(int argc, char** argv) {
    Wish wish;
    const auto number = [&](int i, double otherwise) { return argc > i ? std::atof(argv[i]) : otherwise; };
    wish.seconds = static_cast<int>(number(1, wish.seconds));
    wish.rate = number(2, wish.rate);
    wish.percent = number(3, wish.percent);
    wish.cameras = static_cast<unsigned>(number(4, wish.cameras));
    if (wish.seconds < 1 || wish.rate <= 0 || wish.percent < 0 || wish.percent > 50 || wish.cameras < 1 ||
        wish.cameras > kMostCameras) {
        giveUp("usage: images_soak [seconds [MB/s [percent [cameras]]]]");
    }
    return run(wish);
}
