// Features through the exported calls, as an application sees them: on the frame grabber in software, with
// the camera in software behind port 0 and the service in a process of its own.
#include "liomol/gige.h"

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

[[noreturn]] void giveUp(const std::string& what, int code) {
    std::fprintf(stderr, "features_bench: %s: %s (%d)\n", what.c_str(), Gbe_getErrorDescription(code), code);
    std::exit(1);
}

void require(int code, const std::string& what) {
    if (code < 0) {
        giveUp(what, code);
    }
}

// Files and the service's socket lie in a folder of their own, which is the working directory meanwhile.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "liomol-bench-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr || chdir(name.c_str()) != 0) {
            giveUp("no temporary folder", 0);
        }
        m_path = name;
        std::ofstream("boards.conf") << "[board 0]\n[board 0 port 0 camera]\n";
        setenv("LIOMOL_SOFTBOARD", (m_path / "boards.conf").c_str(), 1);
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

class Service {
public:
    Service() : m_process(fork()) {
        if (m_process == 0) {
            execl(
                LIOMOL_BENCH_SERVICE, LIOMOL_BENCH_SERVICE, "--boards", "0", "--state", "addresses", nullptr);
            _exit(127);
        }
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }

private:
    pid_t m_process;
};

BoardHandle* openBoard() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (;;) {
        BoardHandle* board = nullptr;
        const int code = Gbe_initBoard(0, 0, &board);
        if (code == 0) {
            return board;
        }
        if (code != GBE_ERROR_BOARD_INITIALIZATION /* until the service answers */ ||
            std::chrono::steady_clock::now() > deadline) {
            giveUp("opening the board", code);
        }
        usleep(20000);
    }
}

CameraHandle* g_camera = nullptr;

void readCached(benchmark::State& state) {
    long long value = 0;
    for (auto _ : state) {
        require(Gbe_getIntegerValue(g_camera, "Width", &value), "Width");
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
}

// Only the read counts; what forgetting takes is measured below.
void readUncached(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    long long value = 0;
    for (auto _ : state) {
        require(Gbe_invalidateCache(g_camera), "forgetting");
        const auto start = Clock::now();
        require(Gbe_getIntegerValue(g_camera, "Width", &value), "Width");
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.SetItemsProcessed(state.iterations());
}

void forgetCached(benchmark::State& state) {
    for (auto _ : state) {
        require(Gbe_invalidateCache(g_camera), "forgetting");
    }
    state.SetItemsProcessed(state.iterations());
}

void writeInteger(benchmark::State& state) {
    long long value = 64;
    for (auto _ : state) {
        value = value == 64 ? 128 : 64;
        require(Gbe_setIntegerValue(g_camera, "Width", value), "Width");
    }
    state.SetItemsProcessed(state.iterations());
}

// A value beyond the limits, with the sentence that says so.
void writeRefused(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Gbe_setIntegerValue(g_camera, "Width", 1000000));
    }
    state.SetItemsProcessed(state.iterations());
}

// Every node that has an integer, by name, once round; a few are read from the camera whenever their polling
// time has passed.
void readAllIntegers(benchmark::State& state) {
    std::vector<std::string> names;
    long long value = 0;
    for (int i = 0; i < Gbe_getFeatureCount(g_camera); ++i) {
        const char* name = nullptr;
        require(Gbe_getFeatureName(g_camera, static_cast<unsigned>(i), &name), "a name");
        if (Gbe_getIntegerValue(g_camera, name, &value) == 0) {
            names.emplace_back(name);
        }
    }
    for (auto _ : state) {
        for (const std::string& name : names) {
            benchmark::DoNotOptimize(Gbe_getIntegerValue(g_camera, name.c_str(), &value));
        }
    }
    state.counters["features"] = static_cast<double>(names.size());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(names.size()));
}

// All names, in their order.
void listFeatures(benchmark::State& state) {
    const int count = Gbe_getFeatureCount(g_camera);
    for (auto _ : state) {
        const char* name = nullptr;
        for (int i = 0; i < count; ++i) {
            require(Gbe_getFeatureName(g_camera, static_cast<unsigned>(i), &name), "a name");
            benchmark::DoNotOptimize(name);
        }
    }
    state.counters["features"] = count;
    state.SetItemsProcessed(state.iterations() * count);
}

CameraHandle* connectCamera(BoardHandle* board) {
    CameraHandle* camera = nullptr;
    require(Gbe_scanNetwork(board, 0, 0), "scanning");
    require(Gbe_getFirstCamera(board, 0, &camera), "the first camera");
    require(Gbe_connectCamera(camera), "connecting");
    return camera;
}

} // namespace

BENCHMARK(readCached)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(readAllIntegers)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(listFeatures)->Unit(benchmark::kMicrosecond);
BENCHMARK(readUncached)->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(writeInteger)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(writeRefused)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(forgetCached)->Unit(benchmark::kMicrosecond)->UseRealTime();

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const Folder folder;
    const Service service;
    BoardHandle* board = openBoard();
    g_camera = connectCamera(board);
    benchmark::RunSpecifiedBenchmarks();
    Gbe_freeCamera(g_camera);
    Gbe_freeBoard(board);
    return 0;
}
