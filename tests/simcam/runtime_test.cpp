// The camera's description in this library's node runtime: every feature is read and written through
// commands, as the library's transport would send them, and does in the camera what its name says.
#include "harness.h"

#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"

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

// An access's result; a failure as "!" and its code.
template<class Access> std::string outcome(Access access) {
    try {
        return access();
    } catch (const tavo::GenICamException& failure) {
        return "!" + std::to_string(failure.getErrno());
    } catch (const tavo::CoreException& failure) {
        return "!" + std::to_string(failure.getErrno());
    }
}

// The library's node runtime with its own caches on a camera.
class Runtime {
public:
    explicit Runtime(Bench& bench) : m_port(bench) {
        m_device.setPort(&m_port, "Device");
        m_device.enableChecking(true);
        const auto view = simcam::builtInDescription();
        auto* text = new char[view.size() + 1]();
        std::copy(view.begin(), view.end(), text);
        m_device.retrieveRegisterDescriptionFromMemory(text);
        EXPECT_EQ(m_device.waitForConnection(), 1);
    }
    ~Runtime() { m_device.stopAsyncMethods(); }

    template<class Interface> Interface* as(const std::string& name) {
        return dynamic_cast<Interface*>(m_device.getNodeByName(name));
    }

    // The value as text without padding.
    std::string get(const std::string& name) {
        return outcome([&] {
            const std::string text = as<tavo::GenICamNodeInterface>(name)->getValueAsString();
            return text.substr(0, text.find('\0'));
        });
    }

    std::string set(const std::string& name, const std::string& value) {
        return outcome([&] {
            if (auto* e = as<tavo::GenICamEnumerationInterface>(name)) {
                e->setStringValue(value);
            } else if (auto* b = as<tavo::GenICamBooleanInterface>(name)) {
                b->setValue(value == "true");
            } else if (auto* c = as<tavo::GenICamCommandInterface>(name)) {
                c->execute();
            } else if (auto* i = as<tavo::GenICamIntegerInterface>(name)) {
                i->setValue(std::stoll(value, nullptr, 0));
            } else if (auto* f = as<tavo::GenICamFloatInterface>(name)) {
                f->setValue(std::stod(value));
            } else if (auto* s = as<tavo::GenICamStringInterface>(name)) {
                s->setValue(value);
            } else {
                return std::string("cannot be set");
            }
            return std::string();
        });
    }

    // The names of all features; each is in one category.
    std::vector<std::string> features() {
        std::vector<std::string> names;
        for (auto* category : as<tavo::GenICamCategoryInterface>("Root")->getFeatures()) {
            for (auto* feature : dynamic_cast<tavo::GenICamCategoryInterface&>(*category).getFeatures()) {
                names.push_back(dynamic_cast<tavo::GenICamNodeInterface&>(*feature).getName());
            }
        }
        return names;
    }

    // Another value that the feature might take, as text; none for commands and the like.
    std::string another(const std::string& name) {
        const std::string now = get(name);
        if (auto* e = as<tavo::GenICamEnumerationInterface>(name)) {
            const auto& entries = e->getEntries();
            const std::string last = entries.back()->getSymbol();
            return now == last ? entries.front()->getSymbol() : last;
        }
        if (as<tavo::GenICamBooleanInterface>(name) != nullptr) {
            return now == "true" ? "false" : "true";
        }
        if (auto* i = as<tavo::GenICamIntegerInterface>(name)) {
            return outcome([&] {
                return std::to_string(now == std::to_string(i->getMin()) ? i->getMax() : i->getMin());
            });
        }
        if (auto* f = as<tavo::GenICamFloatInterface>(name)) {
            return outcome([&] { return std::to_string((f->getMin() + f->getMax()) / 2); });
        }
        return as<tavo::GenICamStringInterface>(name) != nullptr ? "another" : "";
    }

private:
    GvcpPort m_port;
    tavo::ImplGenICamCamera m_device;
};

class SimcamRuntime : public testing::Test {
protected:
    SimcamRuntime() {
        bench.takeControl();
        EXPECT_EQ(bench.write(0x0938, 100000), 0); // within the feature's limits
    }

    Subject features() {
        const auto read = [this](const std::string& name, const std::string&) { return runtime.get(name); };
        const auto write = [this](const std::string& name, const std::string& value) {
            return runtime.set(name, value);
        };
        return {write, read, [this](milliseconds time) { bench.pass(time); }};
    }

    Bench bench;
    Runtime runtime{bench};
    const std::vector<std::string> names = runtime.features();
};

// What cannot be read says why; the rest holds a value that it would itself take.
TEST_F(SimcamRuntime, EveryFeatureReadsOrSaysWhyNot) {
    run(features(), "unreadable",
        "ActionUnconditionalMode?!-40001; AcquisitionFrameCount?!-40002; BinningMode?!-40002;"
        "DeviceLinkThroughputLimit?!-40002; Gamma?!-40002; TriggerSoftware?!-40002; UserSetSave?!-40002;"
        "GevPrimaryApplicationSwitchoverKey?!-40004; GevTimestampControlLatch?!-40004;"
        "GevTimestampControlReset?!-40004");
    int unreadable = 0;
    for (const std::string& name : names) {
        const std::string value = runtime.get(name);
        if (value.starts_with("!")) {
            ++unreadable;
        } else if (!runtime.another(name).empty() && name != "CommandCount") {
            const std::string result = runtime.set(name, value);
            EXPECT_TRUE(result.empty() || result == "!-40005" || result == "!-40003") << name << result;
            EXPECT_EQ(runtime.get(name), value) << name;
        }
    }
    EXPECT_EQ(unreadable, 10);
    EXPECT_GE(names.size(), 150u);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size())
        << "in one category each";
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
            changed += !value.empty() && runtime.set(name, value).empty();
        }
        EXPECT_EQ(round == 1 ? runtime.set("UserSetLoad", "") : "", "");
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

TEST_F(SimcamRuntime, FeaturesBehave) {
    const struct {
        const char* name;
        const char* steps;
    } rows[] = {
        // one after the other
        {"image",
         "Width=640; PayloadSize?768000; Width=642!-40006; Width?640; OffsetX=1280; Width=644!-40006;"
         "PixelFormat=Mono12Packed; PayloadSize?1152000; PixelFormat=Mono12; PixelSize?Bpp16;"
         "PixelFormat=Mono8Signed!-40006; PixelDynamicRangeMax?4095; BinningHorizontal=4;"
         "WidthMax?480; BinningMode=Average; Width?480; DecimationVertical=2; HeightMax?600;"
         "ReverseY=true; BinningMode?Average; TLParamsLocked=1; ReverseY?true; Width=320!-40003;"
         "LinePitch?960; TLParamsLocked=0; TLParamsLocked?0; TestPattern=ColorBar;"
         "TestPattern?ColorBar"},
        {"device", "DeviceUserID=sixteen of these; DeviceUserID?sixteen of these; DeviceModelName=x!-40005;"
                   "DeviceModelName?SimCam 2M; SensorId=0!-40005; SensorId?673; SensorWidth=0!-40005;"
                   "SensorRevision?263; SensorTiltX?-3; DeviceLinkThroughputLimitMode=On;"
                   "DeviceLinkThroughputLimit?125000000"},
        {"exposure", "ExposureTime=1000.1; ExposureTimeRaw?10001; ExposureTime=9!-40006; ExposureTime?1000.1;"
                     "ExposureAuto=Once; ExposureTime?15000; ExposureAuto=Continuous;"
                     "ExposureAuto?Continuous; ExposureTime=100!-40003; ExposureTime?15000"},
        {"analog", "GainSelector=Red; Gain?0; Gain=3.5; Gain?3.5; GainSelector=All; Gain?0; Gain=24.5!-40006;"
                   "BlackLevel=-12.25; BlackLevel?-12.25; BalanceRatioSelector=Blue; BalanceRatio?1;"
                   "BalanceRatio=1.25; BalanceRatio?1.25; GammaEnable=true; Gamma?1; LUTIndex=127;"
                   "LUTValue?4095; LUTSelector=Blue; LUTValue=7; LUTValue?7; LUTSelector=Red; LUTValue?4095"},
        {"lines", "LineSelector=Line0; LineMode?Input; LineMode=Output!-40003; LineFormat?TTL;"
                  "LineSelector=Line3; LineMode?Output; LineSource=UserOutput1; LineStatus?false;"
                  "UserOutputSelector=UserOutput1; UserOutputValue?0; UserOutputValue=1; LineStatusAll?8;"
                  "UserOutput0=true; UserOutputValueAll?3"},
        {"counters", "CounterSelector=Counter1; CounterStatus?CounterIdle; CounterEventSource=FrameStart;"
                     "CounterStatus?CounterActive; CounterSelector=Counter0; CounterEventSource?Off;"
                     "TimerSelector=Timer1; TimerTriggerSource?Off; TimerDuration=2000; TimerDuration?2000;"
                     "TimerSelector=Timer0; TimerDuration?1000"},
        {"acquisition",
         "GevSCDA=0xA9FE072A; GevSCPHostPort=1520; TriggerSelector=FrameStart; TriggerMode?Off;"
         "TriggerMode=On; TriggerSoftware?inactive; TriggerDelay=250; AcquisitionStart=;"
         "DeviceStatusAcquiring?true; TriggerMode=Off!-40003; TriggerMode?On; TriggerSoftware=;"
         "+1; StreamFrameCount?1; StreamByteCount?590300; DeviceUptime?1000; CounterReset=;"
         "TimerReset=; UserSetLoad=!-40003; AcquisitionStop=; DeviceStatusAcquiring?false;"
         "StatisticsReset=; StreamFrameCount?0; AcquisitionMode=MultiFrame;"
         "AcquisitionFrameCount?1"},
        {"user sets", "UserSetSelector=UserSet1; UserSetDescription?User set 1; UserSetSave=; Width?480;"
                      "UserSetSelector=Default; UserSetSave?!-40002; UserSetLoad=; Width?1920;"
                      "AcquisitionMode?Continuous; AcquisitionFrameRate=12.5;"
                      "AcquisitionResultingFrameRate?12.5; AcquisitionFrameRateEnable=false;"
                      "AcquisitionFrameRate?!-40002"},
        {"transport", "DeviceLinkHeartbeatTimeout=30000000; GevHeartbeatTimeout?30000;"
                      "GevSCPSPacketSize=1504; GevSCPSDoNotFragment?true; GevSCPSFireTestPacket=;"
                      "GevSCPSPacketSize?1504; GevSupportedOptionSelector=ManifestTable;"
                      "GevSupportedOption?false; GevSupportedOptionSelector=WriteMem;"
                      "GevSupportedOption?true; GevTimestampControlLatch=;"
                      "GevTimestampTickFrequency?125000000; ActionUnconditionalMode=true!-40001;"
                      "GevMACAddress?2272611484757; GevGVCPPendingAck=true; GevGVCPHeartbeatDisable?false"},
    };
    for (const auto& row : rows) {
        run(features(), row.name, row.steps);
    }
}

TEST_F(SimcamRuntime, RegistersWithoutNumbers) {
    auto* data = runtime.as<tavo::GenICamRegisterInterface>("UserData");
    auto* lut = runtime.as<tavo::GenICamRegisterInterface>("LUTValueAll");
    ASSERT_TRUE(data && lut);
    EXPECT_EQ(data->getLength(), 16);
    EXPECT_EQ(runtime.set("UserDataLength", "24"), "");
    EXPECT_EQ(data->getLength(), 24);
    Bytes bytes(24, 0x5A);
    data->set(bytes.data(), 24);
    EXPECT_EQ(bench.read(0xA080, 32), Bytes(24, 0x5A) + Bytes(8));
    EXPECT_EQ(runtime.set("LUTSelector", "Green"), "");
    EXPECT_EQ(runtime.set("LUTIndex", "1"), "");
    EXPECT_EQ(runtime.get("LUTValue"), "32");
    Bytes table(512);
    table[7] = 99;
    lut->set(table.data(), 512);
    EXPECT_EQ(runtime.get("LUTValue"), "99");
    EXPECT_EQ(bench.read(0xC000 + 2 * 512 + 4, 4), be32(99));
}

} // namespace
