// A camera's features as a text: what a file keeps, a camera gets back.
#include "liomol/features.h"
#include "liomol/settings.h"
#include "protocol/bootstrap.h"
#include "system/session.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SettingsTest : public testing::Test {
protected:
    void SetUp() override { Gbe_enableStandardBehaviour(camera, 1); }
    ~SettingsTest() override { Gbe_freeCamera(camera); }

    std::string save() {
        std::string text(std::size_t{256} << 10, '\0');
        auto size = static_cast<unsigned>(text.size());
        EXPECT_EQ(Gbe_saveSettings(camera, 0, text.data(), &size), 0);
        return text.c_str();
    }
    // The report, and the counts in `counts`.
    std::string load(const std::string& text, int options = 0, int expected = 0) {
        const char* report = nullptr;
        EXPECT_EQ(
            Gbe_loadSettings(
                camera, text.data(), static_cast<unsigned>(text.size()), options, &counts, &report),
            expected);
        return report;
    }
    std::vector<std::string> list(const std::string& name, int which) {
        char names[4096];
        unsigned size = sizeof names;
        std::vector<std::string> all;
        if (Gbe_getFeatureList(camera, name.c_str(), which, names, &size) == 0) {
            for (const char* one = names; *one != '\0'; one += std::strlen(one) + 1) {
                all.emplace_back(one);
            }
        }
        return all;
    }
    std::string text(const char* name) {
        char value[256];
        unsigned size = sizeof value;
        EXPECT_EQ(Gbe_getValueAsString(camera, name, value, &size), 0) << name;
        return value;
    }

    Session session;
    std::shared_ptr<simcam::Camera> station = session.rig.hang(0, 0, {});
    CameraHandle* camera = session.connectFirst();
    GbeLoadCounts counts{};
};

// Changes features as somebody does who does not care what for.
class Meddler {
public:
    Meddler(CameraHandle* camera, std::vector<std::string> features, unsigned seed)
        : m_camera(camera), m_features(std::move(features)), m_random(seed) {}

    // True when the camera took it.
    bool change(const std::string& name) {
        const char* feature = name.c_str();
        GbeFeatureInfo info{};
        long long low = 0;
        long long high = 1;
        long long step = 1;
        double least = 0;
        double most = 1;
        EXPECT_EQ(Gbe_getFeatureInfo(m_camera, feature, &info), 0);
        switch (info.kind) {
        case GBE_KIND_INTEGER:
            Gbe_getIntegerLimits(m_camera, feature, &low, &high, &step);
            return Gbe_setIntegerValue(m_camera, feature, low + step * pick((high - low) / step + 1)) == 0;
        case GBE_KIND_FLOAT:
            Gbe_getFloatLimits(m_camera, feature, &least, &most);
            return Gbe_setFloatValue(
                       m_camera, feature, std::uniform_real_distribution<>(least, most)(m_random)) == 0;
        case GBE_KIND_BOOLEAN:
            return Gbe_setBooleanValue(m_camera, feature, static_cast<int>(pick(2))) == 0;
        default:
            return changeEnumeration(feature);
        }
    }
    // As many as the camera took, each in a position of its selectors that happens to be.
    void changeMany(int count, const std::function<std::vector<std::string>(const std::string&)>& selectors) {
        while (count > 0) {
            const std::string& name =
                m_features[static_cast<std::size_t>(pick(static_cast<long long>(m_features.size())))];
            for (const std::string& selector : selectors(name)) {
                EXPECT_TRUE(change(selector)) << selector;
            }
            count -= change(name) ? 1 : 0;
        }
    }

private:
    long long pick(long long below) {
        return std::uniform_int_distribution<long long>(0, below - 1)(m_random);
    }
    bool changeEnumeration(const char* feature) {
        std::vector<std::string> entries;
        char names[4096];
        unsigned size = sizeof names;
        EXPECT_EQ(Gbe_getFeatureList(m_camera, feature, GBE_LIST_AVAILABLE_ENTRIES, names, &size), 0)
            << feature;
        for (const char* one = names; *one != '\0'; one += std::strlen(one) + 1) {
            entries.emplace_back(one);
        }
        const std::string& entry =
            entries[static_cast<std::size_t>(pick(static_cast<long long>(entries.size())))];
        return Gbe_setEnumerationValue(m_camera, feature, entry.c_str()) == 0;
    }

    CameraHandle* m_camera;
    std::vector<std::string> m_features;
    std::mt19937 m_random;
};

// What of a file must be so again: all but what was locked.
std::string bound(const std::string& text) {
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
        const std::string line = text.substr(at, text.find('\n', at) - at + 1);
        lines += line.find("?=") == line.npos ? line : "";
    }
    return lines;
}

TEST_F(SettingsTest, AFileRestoresEveryStreamableFeature) {
    std::vector<std::string> features;
    const int count = Gbe_getFeatureCount(camera);
    for (int i = 0; i < count; ++i) {
        const char* name = nullptr;
        GbeFeatureInfo info{};
        Gbe_getFeatureName(camera, static_cast<unsigned>(i), &name);
        if (Gbe_getFeatureInfo(camera, name, &info) == 0 && info.streamable == 1) {
            features.emplace_back(name);
        }
    }
    ASSERT_GT(features.size(), 45U);
    const auto selectors = [&](const std::string& name) { return list(name, GBE_LIST_SELECTING); };
    for (const unsigned seed : {1U, 2U, 3U, 4U, 5U}) {
        SCOPED_TRACE(seed);
        ASSERT_EQ(Gbe_enableChecks(camera, 1), 0);
        Meddler meddler(camera, features, seed);
        meddler.changeMany(30, selectors);
        const std::string file = save();
        EXPECT_THAT(file, Not(HasSubstr("#! ")));
        for (const std::string& name : features) {
            GbeFeatureInfo info{};
            Gbe_getFeatureInfo(camera, name.c_str(), &info);
            const bool isThere = info.access == GBE_ACCESS_READ_WRITE;
            EXPECT_TRUE(!isThere || file.find('\n' + name + (info.locked != 0 ? "?=" : "=")) != file.npos)
                << name;
        }
        ASSERT_EQ(Gbe_disconnectCamera(camera), 0);
        station->reboot(std::chrono::milliseconds(0));
        ASSERT_TRUE(eventually([&] { return Gbe_connectCamera(camera) == 0; }));
        ASSERT_EQ(Gbe_enableChecks(camera, 1), 0);
        meddler.changeMany(50, selectors);
        const std::string before = text("TriggerSelector") + text("ChunkSelector") + text("CounterSelector");
        const std::string report = load(file, GBE_LOAD_VERIFY);
        EXPECT_EQ(counts.refused + counts.different, 0U) << report << file;
        EXPECT_EQ(counts.values, counts.same + counts.changed + counts.left);
        EXPECT_GT(counts.changed, 20U);
        EXPECT_EQ(bound(save()), bound(file));
        EXPECT_EQ(text("TriggerSelector") + text("ChunkSelector") + text("CounterSelector"), before);
    }
}

TEST_F(SettingsTest, LoadsWhatPeopleAndOtherToolsWriteAndSaysWhatItCouldNot) {
    ASSERT_EQ(load("OffsetX=1000\nWidth=320"), "");
    const struct {
        const char* what;
        const char* text;
        int options;
        const char* report;
        std::vector<unsigned> counts; // values, same, changed, refused, left, different
    } rows[] = {
        {"a limit that moves on the way", "Width=1920\nOffsetX=0\n", GBE_LOAD_VERIFY, "", {2, 0, 2, 0, 0, 0}},
        {"a dry run",
         "Width=1920\nOffsetX=16\nReverseX=1",
         GBE_LOAD_DRY_RUN,
         "line 2: OffsetX: 0 would become 16\nline 3: ReverseX: false would become 1\n",
         {3, 1, 2, 0, 0, 0}},
        {"nothing of it was set", "OffsetX=0\nReverseX=false", 0, "", {2, 2, 0, 0, 0, 0}},
        {"lines of no use",
         "Widht=4\nWidth=broad\nPixelFormat=Mono7\nAcquisitionStop=1\nWidth[1]",
         -1,
         "line 5: no \"=\" behind \"Width\"",
         {0, 0, 0, 0, 0, 0}},
        {"values of no use",
         "Widht=4\n\nWidth=broad\nTriggerMode=Maybe\nAcquisitionStop=1\nWidth=17\nWidthMax=5\n"
         "ExposureAuto=Continuous\nExposureTime=2000\nGamma=2\n",
         0,
         "line 1: Widht: illegal node (-40007): the camera has no such feature\n"
         "line 4: TriggerMode: illegal value (-40006): Maybe is none of Off, On\n"
         "line 5: AcquisitionStop: illegal node (-40007): is a command, which has no value\n"
         "line 6: Width: illegal value (-40006): 17 is not within 16..1920 px in steps of 4; 16 and 20 are\n"
         "line 7: WidthMax: feature not writable (-40005): read-only because WidthMaxReg is\n"
         "line 9: ExposureTime: feature locked (-40003): locked while ExposureIsAutomatic is 1 "
         "(ExposureAuto is Continuous)\n"
         "line 10: Gamma: feature not available (-40002): not available while GammaEnable is false\n",
         {8, 0, 1, 7, 0, 0}},
        {"locked when it was saved",
         "ExposureTime?=2000\nExposureAuto=Continuous\nExposureAuto=Off",
         0,
         "",
         {2, 0, 2, 0, 0, 0}},
        {"selectors as values, tabs",
         "# {05D8}\r\nTriggerSelector\tFrameStart\r\nTriggerMode\tOn\r\nTriggerSelector\tAcquisitionStart\r\n"
         "TriggerMode\tOff\r\nTriggerSelector\tFrameBurstStart\r\n",
         GBE_LOAD_VERIFY,
         "",
         {3, 1, 2, 0, 0, 0}},
        {"addresses, and texts that look like numbers",
         "GevPersistentIPAddress=192.168.7.9\nGevPersistentDefaultGateway=0xC0A80701\nDeviceUserID=007\n"
         "Width=1.2.3.4\n",
         GBE_LOAD_VERIFY,
         "line 4: Width: illegal value (-40006): \"1.2.3.4\" is no integer\n",
         {4, 0, 3, 1, 0, 0}},
        {"in other words",
         "GevPersistentIPAddress=3232237321\nGevPersistentDefaultGateway=192.168.7.1\nDeviceUserID=7\n",
         0,
         "",
         {3, 2, 1, 0, 0, 0}},
        {"a position that there is not",
         "[TriggerSelector=LineStart]\nTriggerMode=Off\n",
         0,
         "line 2: TriggerMode[TriggerSelector=LineStart]: illegal value (-40006): TriggerSelector does not go to "
         "LineStart: LineStart is none of AcquisitionStart, FrameStart, FrameBurstStart\n",
         {1, 0, 0, 1, 0, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const bool isBad = row.options < 0;
        EXPECT_EQ(
            load(row.text, isBad ? 0 : row.options, isBad ? GBE_ERROR_ILLEGAL_PARAMETER : 0), row.report);
        EXPECT_THAT(
            (std::vector{
                counts.values, counts.same, counts.changed, counts.refused, counts.left, counts.different}),
            row.counts);
    }
    EXPECT_EQ(text("TriggerSelector"), "FrameBurstStart") << "the file's last word";
    EXPECT_THAT(save(), HasSubstr("[TriggerSelector=FrameStart]\nTriggerMode=On\n"));
}

TEST_F(SettingsTest, ManyValuesComeWithEachCommand) {
    // Beside the heartbeat's, which are below the features' addresses.
    const auto reads = [&] {
        const auto events = station->log().events();
        return std::ranges::count_if(events, [](const auto& event) {
            return event.address >= bootstrap::kManufacturerSpecific &&
                   (event.command == gvcp::Command::ReadRegCmd || event.command == gvcp::Command::ReadMemCmd);
        });
    };
    const std::string file = save();
    Gbe_invalidateCache(camera);
    station->log().clear();
    EXPECT_EQ(save(), file);
    const auto saved = reads();
    station->log().clear();
    EXPECT_EQ(load(file, GBE_LOAD_VERIFY), "");
    EXPECT_LT(saved, counts.values * 3 / 4);
    EXPECT_LT(reads(), counts.values) << "twice each value";
}

TEST_F(SettingsTest, ComparesFilesAndTheCamera) {
    const auto compare = [&](const std::string& a, const char* b) {
        const char* differences = nullptr;
        EXPECT_EQ(
            Gbe_compareSettings(
                camera, a.data(), static_cast<unsigned>(a.size()), b,
                b != nullptr ? static_cast<unsigned>(std::strlen(b)) : 0, &differences),
            0);
        return std::string(differences);
    };
    const std::string file = save();
    EXPECT_EQ(compare(file, nullptr), "");
    ASSERT_EQ(load("[TriggerSelector=FrameBurstStart]\nTriggerDelay=13\n[]\nGammaEnable=1\n"), "");
    EXPECT_THAT(
        compare(file, nullptr), AllOf(
                                    HasSubstr("TriggerDelay[TriggerSelector=FrameBurstStart]\t0\t13\n"),
                                    HasSubstr("GammaEnable\tfalse\ttrue\n"), HasSubstr("\nGamma\t\t1\n")));
    EXPECT_EQ(
        compare(
            "A=\"007\"\nB=\"1\"\nC=10.0.0.1\nD=02:00:00:00:00:0a",
            "A=\"7\"\nB=1\nC=0xA000001\nD=2199023255562"),
        "A\t\"007\"\t\"7\"\n");
    EXPECT_EQ(compare("A=16\nB=\"\"\nB=x y\nC=1.50", "C=1.5\nA 0x10\nB=\"\"\n"), "B (2)\tx y\t\n");
}

TEST(SettingsOfKinds, AddressesAndTextsComeBackAsTheyWere) {
    auto settings = plainCamera();
    std::string& description = settings.at("description-text");
    const std::string end = "</RegisterDescription>";
    description.replace(description.find(end), end.npos, R"(
  <StringReg Name="Label"><Streamable>Yes</Streamable><Address>0x10010</Address><Length>16</Length>
    <AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>
  <Integer Name="Peer"><Streamable>Yes</Streamable><Value>0</Value>
    <Representation>IPV4Address</Representation></Integer>
  <Integer Name="Station"><Streamable>Yes</Streamable><Value>0</Value>
    <Representation>MACAddress</Representation></Integer>
  <Integer Name="Mask"><Streamable>Yes</Streamable><Value>0</Value>
    <Representation>HexNumber</Representation></Integer>)" + end);
    Session session;
    const auto station = session.rig.hang(0, 0, settings);
    CameraHandle* const camera = session.connectFirst();
    const auto saved = [&] {
        std::string text(4096, '\0');
        unsigned size = 4096;
        EXPECT_EQ(Gbe_saveSettings(camera, 0, text.data(), &size), 0);
        return std::string(text.c_str());
    };
    const auto set = [&](long long peer, long long other, const char* label) {
        EXPECT_EQ(Gbe_setIntegerValue(camera, "Peer", peer), 0);
        EXPECT_EQ(Gbe_setIntegerValue(camera, "Station", other), 0);
        EXPECT_EQ(Gbe_setIntegerValue(camera, "Mask", other), 0);
        EXPECT_EQ(Gbe_setStringValue(camera, "Label", label), 0);
    };
    set(0xC0A80009, 0x02000000000A, "1.50");
    const std::string file = saved();
    EXPECT_THAT(
        file, AllOf(
                  HasSubstr("\nLabel=\"1.50\"\n"), HasSubstr("\nPeer=192.168.0.9\n"),
                  HasSubstr("\nStation=02:00:00:00:00:0a\n"), HasSubstr("\nMask=0x2000000000a\n")));
    set(-1, 1LL << 48, "1.5");
    EXPECT_THAT(saved(), AllOf(HasSubstr("\nPeer=-1\n"), HasSubstr("\nStation=281474976710656\n")));
    GbeLoadCounts counts{};
    EXPECT_EQ(
        Gbe_loadSettings(
            camera, file.data(), static_cast<unsigned>(file.size()), GBE_LOAD_VERIFY, &counts, nullptr),
        0);
    EXPECT_EQ(counts.changed, 4U);
    EXPECT_EQ(saved(), file);
    Gbe_freeCamera(camera);
}

} // namespace
