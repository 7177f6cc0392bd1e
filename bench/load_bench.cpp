// Descriptions: the time from a text in memory to a connected device, and what the device then holds of
// memory.
#include "genicam/device/ImplGenICamCamera.h"

#include "generated_description.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

namespace {

// Loads the text; the device must then have every feature.
std::unique_ptr<tavo::ImplGenICamCamera> load(const std::string& text, int features) {
    auto device = std::make_unique<tavo::ImplGenICamCamera>();
    auto copy = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    device->retrieveRegisterDescriptionFromMemory(copy.release());
    const bool isComplete = device->waitForConnection() == 1 &&
                            device->getNodeByName(generated::featureName(features - 1)) != nullptr;
    if (!isComplete) {
        std::fputs("the description did not load\n", stderr);
        std::exit(1);
    }
    return device;
}

struct Memory {
    double peak = 0; // MiB
    double kept = 0;
};

// A line of /proc/self/status, in MiB.
double statusLine(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == name + ":") {
            double kib = 0;
            status >> kib;
            return kib / 1024;
        }
    }
    return 0;
}

// How much resident memory grows over what the process holds with the text; the peak includes the parse. A
// small description before it brings the code in, which no description adds to.
Memory measure(int features) {
    load(generated::description(generated::kFeatureKinds), generated::kFeatureKinds);
    const std::string text = generated::description(features);
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak so far is that of the text's making
    const double before = statusLine("VmRSS");
    const auto device = load(text, features);
    const double peak = statusLine("VmHWM") - before;
    malloc_trim(0); // what the parse gave back to the heap is not kept
    return {peak, statusLine("VmRSS") - before};
}

// In a process of its own, so that no memory is taken from what an earlier measurement gave back.
Memory measureAlone(int features) {
    int ends[2];
    Memory memory;
    if (pipe(ends) != 0) {
        return memory;
    }
    const pid_t child = fork();
    if (child == 0) {
        memory = measure(features);
        _exit(write(ends[1], &memory, sizeof memory) == sizeof memory ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &memory, sizeof memory) != sizeof memory) {
        std::fputs("no memory figures\n", stderr);
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return memory;
}

void loadDescription(benchmark::State& state, int features, Memory memory) {
    const std::string text = generated::description(features);
    for (auto _ : state) {
        auto device = load(text, features);
        state.PauseTiming();
        device.reset();
        state.ResumeTiming();
    }
    state.counters["text_KiB"] = static_cast<double>(text.size()) / 1024;
    state.counters["peak_MiB"] = memory.peak;
    state.counters["kept_MiB"] = memory.kept;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (const int features : {500, 5000}) {
        const Memory memory = measureAlone(features);
        benchmark::RegisterBenchmark(
            ("load/" + std::to_string(features)).c_str(), loadDescription, features, memory)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->MeasureProcessCPUTime();
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
