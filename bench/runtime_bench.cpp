// Nodes over a memory: how changes spread and are told, and what reads of cached values cost by themselves,
// side by side in threads, and all in a row.
#include "genicam/device/ImplGenICamCamera.h"
#include "genicam/nodes/node_interfaces.h"
#include "liomol/signals.h"

#include "generated_description.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "runtime_bench: %s\n", what);
    std::exit(1);
}

// A camera whose memory holds the registers of a generated description, all zero at first.
class Memory : public tavo::GenICamPortInterface {
public:
    void read(unsigned char* buffer, long long address, long long length) override {
        std::copy_n(place(address, length), length, buffer);
    }
    void write(unsigned char* buffer, long long address, long long length) override {
        std::copy_n(buffer, length, place(address, length));
    }
    void setConnection(int, int, unsigned) override {}

private:
    unsigned char* place(long long address, long long length) {
        const long long offset = address - generated::kFirstAddress;
        if (offset < 0 || offset + length > static_cast<long long>(m_bytes.size())) {
            giveUp("an access outside of the memory");
        }
        return m_bytes.data() + offset;
    }
    std::vector<unsigned char> m_bytes = std::vector<unsigned char>(0x10000);
};

struct Device {
    explicit Device(const std::string& description) {
        camera.setPort(&memory, "Device");
        auto text = std::make_unique<char[]>(description.size() + 1);
        std::memcpy(text.get(), description.c_str(), description.size() + 1);
        camera.retrieveRegisterDescriptionFromMemory(text.release());
        if (camera.waitForConnection() != 1) {
            giveUp("a description did not load");
        }
    }

    tavo::GenICamNode& node(const std::string& name) {
        tavo::GenICamNode* const found = camera.getNodeByName(name);
        if (found == nullptr) {
            giveUp(name.c_str());
        }
        return *found;
    }
    tavo::ImplGenICamIntegerInterface& integer(const std::string& name) {
        return dynamic_cast<tavo::ImplGenICamIntegerInterface&>(node(name));
    }

    Memory memory;
    tavo::ImplGenICamCamera camera;
};

// ---- Changes ---------------------------------------------------------------------------------------------

// One register with so many integers over it: side by side, or each over the one before.
std::string integersOverOne(int count, bool inChain) {
    std::string text = "<RegisterDescription><Port Name='Device'/>" + generated::featureRegister(0);
    std::string below = "Register0";
    for (int i = 0; i < count; ++i) {
        const std::string name = "Integer" + std::to_string(i);
        text += "<Integer Name='" + name + "'><pValue>" + below + "</pValue></Integer>";
        below = inChain ? name : below;
    }
    return text + "</RegisterDescription>";
}

// A write to the register, after which every node is stale.
void invalidate(benchmark::State& state, bool inChain) {
    constexpr int kCount = 10'000;
    Device device(integersOverOne(kCount, inChain));
    tavo::GenICamIntegerInterface& below = device.integer("Register0");
    std::int64_t value = 0;
    for (auto _ : state) {
        below.setValue(++value & 0xFF);
    }
    state.counters["per_node"] = benchmark::Counter(
        kCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// From the write to the last listener, which the signalling thread calls.
void deliverSignals(benchmark::State& state) {
    constexpr int kCount = 1000;
    Device device(integersOverOne(kCount, false));
    std::atomic<std::int64_t> delivered = 0;
    for (int i = 0; i < kCount; ++i) {
        using Signals = tavo::ImplGenICamIntegerInterfaceSignals;
        Signals* const signals = device.integer("Integer" + std::to_string(i)).getIntegerSignals();
        QObject::connect(signals, &Signals::signal_ValueChanged, [&delivered] {
            if (++delivered % kCount == 0) {
                delivered.notify_one();
            }
        });
    }
    device.camera.enableSignalling(true);
    tavo::GenICamIntegerInterface& below = device.integer("Register0");
    std::int64_t value = 0;
    for (auto _ : state) {
        below.setValue(++value & 0xFF);
        for (std::int64_t seen = delivered; seen < value * kCount; seen = delivered) {
            delivered.wait(seen);
        }
    }
    state.SetItemsProcessed(state.iterations() * kCount);
    device.camera.enableSignalling(false);
}

// ---- Cached reads ----------------------------------------------------------------------------------------

// By name, as the exported calls do it; all threads read one device, or each its own.
void readCached(benchmark::State& state, bool sharing) {
    constexpr int kMostThreads = 4;
    static std::array<Device, kMostThreads> devices = {
        Device(integersOverOne(1, false)), Device(integersOverOne(1, false)),
        Device(integersOverOne(1, false)), Device(integersOverOne(1, false))};
    Device& device = devices[sharing ? 0 : static_cast<std::size_t>(state.thread_index())];
    for (auto _ : state) {
        benchmark::DoNotOptimize(device.camera.getNodeByName("Integer0")->asInteger()->getValue());
    }
    state.SetItemsProcessed(state.iterations());
}

// The value of a feature of whichever kind, as a byte of it, so that no read can be left out.
unsigned char readFeature(tavo::GenICamNode& node) {
    if (auto* const integer = node.asInteger()) {
        return static_cast<unsigned char>(integer->getValue());
    }
    if (auto* const real = node.asFloat()) {
        return real->getValue() > 0 ? 1 : 0;
    }
    if (auto* const enumeration = node.asEnumeration()) {
        return static_cast<unsigned char>(enumeration->getIntValue());
    }
    if (auto* const boolean = node.asBoolean()) {
        return boolean->getValue() ? 1 : 0;
    }
    return node.asCommand()->isDone() ? 1 : 0;
}

// Integers, floats behind converters, enumerations, Booleans and commands in equal parts, by name.
void readAllFeatures(benchmark::State& state) {
    constexpr int kCount = 5000;
    Device device(generated::description(kCount));
    std::vector<std::string> names;
    for (int i = 0; i < kCount; ++i) {
        names.push_back(generated::featureName(i));
        readFeature(device.node(names.back())); // brings the value into the cache
    }
    for (auto _ : state) {
        for (const std::string& name : names) {
            benchmark::DoNotOptimize(readFeature(*device.camera.getNodeByName(name)));
        }
    }
    state.counters["per_feature"] = benchmark::Counter(
        kCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK_CAPTURE(invalidate, fan_of_10000, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(invalidate, chain_of_10000, true)->Unit(benchmark::kMicrosecond);
BENCHMARK(deliverSignals)->Unit(benchmark::kMicrosecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(readCached, one_device, true)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK_CAPTURE(readCached, own_devices, false)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(readAllFeatures)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
