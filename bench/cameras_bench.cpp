// 32 cameras on eight boards at once: every port is an interface of Linux with a camera process behind it, in
// another network namespace. A watcher at the cameras' end of the wires sees when heartbeats come.
//   cameras_bench [seconds]   (a phase; arguments that begin with -- are for other programs)
#include "liomol/gige.h"
#include "support/net_namespace.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using test_support::NetNamespace;

constexpr int kBoards = 8;
constexpr int kPorts = 4;
constexpr int kCameras = kBoards * kPorts;
constexpr double kHeartbeatMs = 1000;
constexpr std::chrono::milliseconds kPace{50}; // between the reads of one camera in the calm phase
constexpr std::chrono::seconds kPatience{60};  // for programs and cameras to be there

[[noreturn]] void giveUp(const std::string& what) {
    std::fprintf(stderr, "cameras_bench: %s\n", what.c_str());
    std::exit(1);
}

void require(bool good, const std::string& what) {
    good ? void() : giveUp(what);
}

void require(int code, const std::string& what) {
    require(code == 0, what + ": " + Gbe_getErrorDescription(code) + " (" + std::to_string(code) + ")");
}

template<typename Condition> void await(const std::string& what, Condition&& condition) {
    const auto deadline = Clock::now() + kPatience;
    while (!condition()) {
        require(Clock::now() < deadline, what);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// A temporary folder as the working directory.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "liomol-bench-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr && chdir(name.c_str()) == 0, "no temporary folder");
        m_path = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(m_path);
    }

private:
    std::filesystem::path m_path;
};

// A program in a network namespace, ended with this object.
class Process {
public:
    Process(const NetNamespace& space, std::vector<std::string> words) {
        const NetNamespace::Inside inside(space);
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        m_process = fork();
        if (m_process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);       // giving up leaves none behind
            std::freopen("/dev/null", "w", stdout); // what the cameras tell
            execv(arguments[0], arguments.data());
            _exit(127);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }

private:
    pid_t m_process;
};

// Two networks with a wire for each port: host0 and camera0, host1 and camera1...
struct Wires {
    Wires() {
        require(host.error().empty() && camera.error().empty(), host.error() + camera.error());
        std::ofstream inside("camera.batch");
        std::ofstream outside("host.batch");
        std::ofstream boards("board.conf");
        for (int i = 0; i < kCameras; ++i) {
            const std::string number = std::to_string(i);
            outside << "link add host" << number << " type veth peer name camera" << number << " netns "
                    << camera.path() << "\nlink set host" << number << " up\n";
            inside << "link set camera" << number << " up\n";
            boards << (i % kPorts == 0 ? "[board " + std::to_string(i / kPorts) + "]\n" : "") << "[board "
                   << i / kPorts << " port " << i % kPorts << "]\ninterface = host" << number << "\n";
        }
        outside.close();
        inside.close();
        require(
            host.shell("ip -batch host.batch") && camera.shell("ip -batch camera.batch") &&
                camera.shell("timeout 10 sh -c 'while ip link | grep -q NO-CARRIER; do :; done'"),
            "no virtual Ethernet");
    }
    const NetNamespace host;
    const NetNamespace camera;
};

// When each camera's heartbeats came: WRITEREG commands to the heartbeat time-out, seen where the wires enter
// the cameras' network.
class Watcher {
public:
    explicit Watcher(const NetNamespace& space) {
        const NetNamespace::Inside inside(space);
        m_socket = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_IP));
        require(m_socket >= 0, "no right to raw frames");
        // The command's code is 0x0082, its address 0x0938; everything else is dropped in the kernel.
        std::array<sock_filter, 6> program{
            {{BPF_LD | BPF_H | BPF_ABS, 0, 0, 44},
             {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, 0x0082},
             {BPF_LD | BPF_W | BPF_ABS, 0, 0, 50},
             {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0x0938},
             {BPF_RET | BPF_K, 0, 0, 0xFFFF},
             {BPF_RET | BPF_K, 0, 0, 0}}};
        const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
        setsockopt(m_socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter);
        m_thread = std::thread([this] { run(); });
    }
    ~Watcher() {
        m_stop = true;
        m_thread.join();
        close(m_socket);
    }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    struct Figures {
        std::size_t beats = 0;
        double longest = 0; // ms between two of one camera
        double late95 = 0;  // ms by which 95 % of them were no later than the period
        std::size_t cameras = 0;
    };
    // Of the heartbeats since the last call.
    Figures take() {
        const std::lock_guard lock(m_mutex);
        Figures figures;
        std::vector<double> gaps;
        for (auto& [index, times] : m_times) {
            figures.beats += times.size();
            figures.cameras += times.size() > 1 ? 1 : 0;
            for (std::size_t i = 1; i < times.size(); ++i) {
                gaps.push_back(Milliseconds(times[i] - times[i - 1]).count());
            }
        }
        m_times.clear();
        std::sort(gaps.begin(), gaps.end());
        if (!gaps.empty()) {
            figures.longest = gaps.back();
            figures.late95 = gaps[gaps.size() * 95 / 100] - kHeartbeatMs;
        }
        return figures;
    }

private:
    void run() {
        while (!m_stop) {
            pollfd watched{m_socket, POLLIN, 0};
            sockaddr_ll from{};
            socklen_t size = sizeof from;
            std::array<char, 128> frame{};
            if (poll(&watched, 1, 50) > 0 &&
                recvfrom(m_socket, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr*>(&from), &size) >
                    0 &&
                from.sll_pkttype != PACKET_OUTGOING) {
                const std::lock_guard lock(m_mutex);
                m_times[from.sll_ifindex].push_back(Clock::now());
            }
        }
    }

    int m_socket = -1;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::map<int, std::vector<Clock::time_point>> m_times; // by interface; guarded by m_mutex
    std::thread m_thread;
};

// What one thread got from its camera.
struct Place {
    unsigned board, port;
    CameraHandle* camera = nullptr;
    int features = 0, unreadable = 0, failures = 0;
    std::vector<double> latencies; // microseconds
};

template<typename Work> double onAll(std::vector<Place>& places, Work work) {
    const auto start = Clock::now();
    std::vector<std::thread> threads;
    for (Place& place : places) {
        threads.emplace_back([&place, &work] { work(place); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return Milliseconds(Clock::now() - start).count();
}

void readEveryFeature(Place& place) {
    place.features = Gbe_getFeatureCount(place.camera);
    for (int index = 0; index < place.features; ++index) {
        const char* name = nullptr;
        std::array<char, 65536> text{};
        unsigned size = text.size();
        Gbe_getFeatureName(place.camera, static_cast<unsigned>(index), &name);
        const int result = Gbe_getValueAsString(place.camera, name, text.data(), &size);
        place.unreadable += result != 0 ? 1 : 0; // commands, categories and what is not available
        place.failures += result == GBE_ERROR_TRANSPORT_LAYER ? 1 : 0; // no answer
    }
}

void readUntil(Place& place, Clock::time_point end, bool calm) {
    while (Clock::now() < end) {
        long long width = 0;
        Gbe_invalidateCache(place.camera);
        const auto start = Clock::now();
        place.failures += Gbe_getIntegerValue(place.camera, "Width", &width) != 0 ? 1 : 0;
        place.latencies.push_back(1000 * Milliseconds(Clock::now() - start).count());
        if (calm) {
            std::this_thread::sleep_for(kPace);
        }
    }
}

void phase(const char* name, std::vector<Place>& places, Watcher& watcher, int seconds, bool calm) {
    watcher.take();
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    const double time = onAll(places, [&](Place& place) { readUntil(place, end, calm); });
    std::vector<double> all;
    int failures = 0;
    for (Place& place : places) {
        all.insert(all.end(), place.latencies.begin(), place.latencies.end());
        failures += std::exchange(place.failures, 0);
        place.latencies.clear();
    }
    std::sort(all.begin(), all.end());
    const Watcher::Figures beats = watcher.take();
    std::printf(
        "%-28s %8.0f reads/s  median %5.0f us  99 %% %6.0f us  failed %d | heartbeats %zu of %zu cameras, "
        "longest gap %.0f ms, 95 %% at most %.0f ms late\n",
        name, 1000 * static_cast<double>(all.size()) / time, all[all.size() / 2], all[all.size() * 99 / 100],
        failures, beats.beats, beats.cameras, beats.longest, beats.late95);
    require(failures == 0, "reads have failed");
    require(seconds < 4 || beats.cameras == kCameras, "a camera without heartbeats");
}

std::vector<Place> connectAll(std::vector<BoardHandle*>& boards) {
    std::vector<Place> places;
    for (unsigned i = 0; i < kCameras; ++i) {
        places.push_back({i / kPorts, i % kPorts, nullptr, 0, 0, 0, {}});
    }
    for (int number = 0; number < kBoards; ++number) {
        boards.push_back(nullptr);
        await("a board does not open", [&] { return Gbe_initBoard(number, 0, &boards.back()) == 0; });
    }
    const auto start = Clock::now();
    for (Place& place : places) {
        await("a camera is not found", [&] {
            return Gbe_getCameraCount(boards[place.board], place.port) > 0 ||
                   (Gbe_scanNetwork(boards[place.board], -1, 0), false);
        });
        require(Gbe_getFirstCamera(boards[place.board], place.port, &place.camera), "look up");
    }
    const double found = Milliseconds(Clock::now() - start).count();
    const double connected = onAll(places, [](Place& place) {
        require(Gbe_connectCamera(place.camera), "connect");
        Gbe_enableChecks(place.camera, 1); // what cannot be read is not asked for
    });
    std::printf("%d cameras found in %.0f ms, connected in %.0f ms\n", kCameras, found, connected);
    return places;
}

void measure(int seconds, Watcher& watcher) {
    std::vector<BoardHandle*> boards;
    std::vector<Place> places = connectAll(boards);
    const double time = onAll(places, readEveryFeature);
    int features = 0;
    int unreadable = 0;
    for (Place& place : places) {
        features += place.features;
        unreadable += place.unreadable;
        require(std::exchange(place.failures, 0) == 0, "a feature got no answer");
    }
    std::printf(
        "%d features of all cameras read in %.0f ms, %d of them have no value now\n", features, time,
        unreadable);
    phase("20 reads a second each", places, watcher, seconds, true);
    phase("as fast as they can", places, watcher, seconds, false);
    for (const Place& place : places) {
        require(Gbe_setIntegerValue(place.camera, "Width", 640), "a camera is no longer controlled");
    }
    for (BoardHandle* board : boards) {
        Gbe_freeBoard(board); // and its cameras
    }
}

} // namespace

int main(int argc, char** argv) {
    int seconds = 10;
    for (int i = 1; i < argc; ++i) {
        seconds = argv[i][0] == '-' ? seconds : std::max(1, std::atoi(argv[i]));
    }
    const Folder folder;
    const Wires wires;
    const NetNamespace::Inside inside(wires.host);
    setenv("LIOMOL_SOFTBOARD", "board.conf", 1);
    std::vector<std::unique_ptr<Process>> programs;
    for (int i = 0; i < kCameras; ++i) {
        programs.push_back(std::make_unique<Process>(
            wires.camera, std::vector<std::string>{
                              LIOMOL_BENCH_CAMERA, "--interface", "camera" + std::to_string(i), "--camera",
                              "ip=169.254.100." + std::to_string(i + 1)}));
    }
    programs.push_back(std::make_unique<Process>(
        wires.host, std::vector<std::string>{
                        LIOMOL_BENCH_SERVICE, "--boards", "0,1,2,3,4,5,6,7", "--state", "addresses"}));
    Watcher watcher(wires.camera);
    measure(seconds, watcher);
}
