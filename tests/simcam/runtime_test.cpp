// The camera's description in this library's node runtime: every feature is read and written through
// commands, as the library's transport would send them, and does in the camera what its name says.
#include "harness.h"

#include "genicam/device_fixture.h"

#include <set>

namespace {

using namespace simcam_test;

// The port bridge of the library in short: 4 bytes are a register, others memory in blocks rounded up to 8.
class GvcpPort : public tavo::GenICamPortInterface {
public:
    explicit GvcpPort(Bench& bench) : m_bench(bench) {}

    void read(unsigned char* buffer, long long address, long long length) override {
        const Bytes from = be32(static_cast<std::uint32_t>(address));
        const Bytes count = be32(static_cast<std::uint32_t>((length + 7) / 8 * 8));
        const Bytes& got = length == 4 ? access(0x80, from) : access(0x84, from + count);
        std::copy_n(got.begin() + (length == 4 ? 0 : 4), length, buffer);
    }
    void write(unsigned char* buffer, long long address, long long length) override {
        EXPECT_TRUE(length % 4 == 0 && length <= 512) << length;
        const Bytes to = be32(static_cast<std::uint32_t>(address));
        access(length == 4 ? 0x82 : 0x86, to + Bytes(buffer, buffer + length));
    }
    void setConnection(int, int, unsigned) override {}

private:
    const Bytes& access(std::uint16_t code, const Bytes& payload) {
        m_last = m_bench.command(code, payload);
        if (m_last.status != 0) {
            throw tavo::GicTransportLayerException();
        }
        return m_last.payload;
    }

    Bench& m_bench;
    Ack m_last;
};

// The library's node runtime with its own caches on a camera.
class Runtime : public test_support::Device {
public:
    explicit Runtime(Bench& bench) : Device(text()), m_gvcp(bench) {
        camera.setPort(&m_gvcp, "Device");
        camera.enableChecking(true);
    }

    template<class Interface> Interface* find(const std::string& name) {
        return dynamic_cast<Interface*>(&node(name));
    }

    // The names of all features; each is in one category.
    std::vector<std::string> features() {
        std::vector<std::string> names;
        for (auto* category : find<tavo::GenICamCategoryInterface>("Root")->getFeatures()) {
            for (auto* feature : dynamic_cast<tavo::GenICamCategoryInterface&>(*category).getFeatures()) {
                names.push_back(dynamic_cast<tavo::GenICamNodeInterface&>(*feature).getName());
            }
        }
        return names;
    }

    // Another value that the feature might take, as text; none for commands and the like.
    std::string another(const std::string& name) {
        const std::string now = get(name);
        std::string value;
        test_support::codeOf([&] {
            if (auto* e = find<tavo::GenICamEnumerationInterface>(name)) {
                const auto& entries = e->getEntries();
                const std::string last = entries.back()->getSymbol();
                value = now == last ? entries.front()->getSymbol() : last;
            } else if (find<tavo::GenICamBooleanInterface>(name) != nullptr) {
                value = now == "true" ? "false" : "true";
            } else if (auto* i = find<tavo::GenICamIntegerInterface>(name)) {
                value = std::to_string(now == std::to_string(i->getMin()) ? i->getMax() : i->getMin());
            } else if (auto* f = find<tavo::GenICamFloatInterface>(name)) {
                value = std::to_string((f->getMin() + f->getMax()) / 2);
            } else {
                value = find<tavo::GenICamStringInterface>(name) != nullptr ? "another" : "";
            }
        });
        return value;
    }

private:
    static std::string text() {
        const auto view = simcam::builtInDescription();
        return {view.begin(), view.end()};
    }

    GvcpPort m_gvcp;
};

class SimcamRuntime : public testing::Test {
protected:
    SimcamRuntime() {
        bench.takeControl();
        EXPECT_EQ(bench.write(0x0938, 100000), 0); // within the feature's limits
    }

    Bench bench;
    Runtime runtime{bench};
    const std::vector<std::string> names = runtime.features();
};

// What cannot be read says why; the rest holds a value that it would itself take.
TEST_F(SimcamRuntime, EveryFeatureReadsOrSaysWhyNot) {
    runtime.expect(
        "ActionUnconditionalMode -> feature not implemented; "
        "AcquisitionFrameCount -> feature not available; ChunkFrameID -> port not available; BinningMode -> feature not available; "
        "DeviceLinkThroughputLimit -> feature not available; Gamma -> feature not available; "
        "TriggerSoftware -> feature not available; "
        "UserSetSave -> feature not available; GevPrimaryApplicationSwitchoverKey -> feature not readable; "
        "GevTimestampControlLatch -> inactive; GevTimestampControlReset -> inactive");
    int unreadable = 0;
    for (const std::string& name : names) {
        std::string value;
        if (test_support::codeOf([&] { value = runtime.node(name).getValueAsString(); }) != 0) {
            ++unreadable;
        } else if (!runtime.another(name).empty() && name != "CommandCount") {
            const int result = runtime.set(name, value);
            EXPECT_TRUE(result == 0 || result == status::NotWritable || result == status::Locked)
                << name << result;
            EXPECT_EQ(runtime.get(name), value) << name;
        }
    }
    EXPECT_EQ(unreadable, 11);
    EXPECT_GE(names.size(), 150u);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

// Another runtime, which has read nothing before, sees the same values. It gets the selectors, which are the
// description's own and not the camera's.
TEST_F(SimcamRuntime, NothingIsKeptThatAnotherFeatureChanged) {
    const std::set<std::string> untouched{
        "GevCCP", "TLParamsLocked", "CommandCount",       // these would end or disturb the test
        "StatisticsVisible", "DeviceLinkCommandTimeout"}; // the description's own
    int changed = 0;
    for (int round = 0; round < 3; ++round) {
        for (const std::string& name : names) {
            const std::string value = round == 1 || untouched.count(name) > 0 ? "" : runtime.another(name);
            changed += !value.empty() && runtime.set(name, value) == 0;
        }
        EXPECT_EQ(round == 1 ? runtime.set("UserSetLoad", "") : 0, 0);
        Runtime fresh(bench);
        for (const std::string& name : names) {
            if (name.ends_with("Selector") || name.ends_with("Index")) {
                fresh.set(name, runtime.get(name));
            }
        }
        for (const std::string& name : names) {
            const std::string value = fresh.get(name);
            EXPECT_TRUE(runtime.get(name) == value || name == "CommandCount") << name << " " << value;
        }
    }
    EXPECT_GE(changed, 150);
}

// What the description adds to the registers: names, units, limits, who depends on whom.
TEST_F(SimcamRuntime, FeaturesBehave) {
    runtime.expect( // one after the other
        "Width=640; PayloadSize -> 768000; Width=642 -> illegal value; PixelFormat=Mono12; PixelSize -> Bpp16; "
        "PixelDynamicRangeMax -> 4095; TLParamsLocked=1; Width=320 -> feature locked; TLParamsLocked=0; "
        "SensorTiltX -> -3; ExposureTime=1000.1; ExposureTimeRaw -> 10001; ExposureAuto=Continuous; "
        "ExposureTime=100 -> feature locked; GainSelector=Red; Gain=3.5; GainSelector=All; Gain -> 0; "
        "Gain=24.5 -> illegal value; BlackLevel=-12.25; BlackLevel -> -12.25; LUTSelector=Blue; LUTIndex=127; "
        "LUTValue=7; LUTSelector=Red; LUTValue -> 4095; LineSelector=Line0; LineMode=Output -> feature locked; "
        "UserOutputSelector=UserOutput1; UserOutputValue=1; UserOutput0=true; UserOutputValueAll -> 3; "
        "TriggerSelector=FrameStart; TriggerMode=On; TriggerSoftware -> inactive; AcquisitionStart=; "
        "DeviceStatusAcquiring -> true; TriggerMode=Off -> feature locked; AcquisitionStop=; "
        "UserSetSelector=UserSet1; UserSetSave=; UserSetSelector=Default; UserSetSave -> feature not available; "
        "DeviceLinkHeartbeatTimeout=30000000; GevHeartbeatTimeout -> 30000; "
        "GevSupportedOptionSelector=ManifestTable; GevSupportedOption -> false; "
        "GevSupportedOptionSelector=WriteMem; GevSupportedOption -> true; GevMACAddress -> 2272611484757");
    auto* data = runtime.find<tavo::GenICamRegisterInterface>("UserData");
    runtime.expect("UserDataLength=24");
    Bytes bytes(24, 0x5A);
    data->set(bytes.data(), 24);
    EXPECT_EQ(bench.read(0xA080, 32), Bytes(24, 0x5A) + Bytes(8));
}

} // namespace
