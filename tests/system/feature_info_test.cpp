// What C callers can ask about features beside their values, and how they learn of changes.
#include "liomol/features.h"
#include "system/session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class FeatureInfoTest : public testing::Test {
protected:
    void SetUp() override {
        station = session.rig.hang(0, 0, {});
        camera = session.connectFirst();
    }
    ~FeatureInfoTest() override { Gbe_freeCamera(camera); }

    // The texts of a list behind each other, or the status.
    std::string list(const char* name, int which) {
        unsigned size = 0;
        int code = Gbe_getFeatureList(camera, name, which, nullptr, &size);
        std::string names(size, '?');
        if (code == 0) {
            unsigned tooSmall = size - 1;
            EXPECT_EQ(
                Gbe_getFeatureList(camera, name, which, names.data(), &tooSmall), GBE_ERROR_BUFFER_TOO_SMALL);
            code = Gbe_getFeatureList(camera, name, which, names.data(), &size);
        }
        std::string all;
        for (const char* one = names.c_str(); code == 0 && *one != '\0'; one += std::strlen(one) + 1) {
            all += all.empty() ? one : std::string(" ") + one;
        }
        return code == 0 ? all : Gbe_getErrorDescription(code);
    }

    Session session;
    std::shared_ptr<simcam::Camera> station;
    CameraHandle* camera = nullptr;
};

TEST_F(FeatureInfoTest, TellsWhatAFeatureIsAndWhatMayBeDoneNow) {
    const struct {
        const char* name;
        GbeFeatureInfo info;
        const char* unit;
    } rows[] = {
        {"Width",
         {GBE_KIND_INTEGER, GBE_ACCESS_READ_WRITE, 1, GBE_VISIBILITY_BEGINNER, GBE_REPRESENTATION_LINEAR, 1,
          0},
         "px"},
        {"ExposureTime",
         {GBE_KIND_FLOAT, GBE_ACCESS_READ_WRITE, 0, GBE_VISIBILITY_BEGINNER, GBE_REPRESENTATION_LOGARITHMIC,
          1, 0},
         "us"},
        {"DeviceTemperatureSelector",
         {GBE_KIND_ENUMERATION, GBE_ACCESS_READ_WRITE, 0, GBE_VISIBILITY_EXPERT, 0, 0, 1},
         ""},
        {"AcquisitionFrameCount",
         {GBE_KIND_INTEGER, GBE_ACCESS_NOT_AVAILABLE, 0, GBE_VISIBILITY_BEGINNER, 0, 1, 0},
         ""},
        {"ActionUnconditionalMode",
         {GBE_KIND_BOOLEAN, GBE_ACCESS_NOT_IMPLEMENTED, 0, GBE_VISIBILITY_GURU, 0, 0, 0},
         ""},
        {"ImageFormatControl", {GBE_KIND_CATEGORY, GBE_ACCESS_NONE, 0, 0, 0, 0, 0}, ""},
    };
    ASSERT_EQ(Gbe_lockTLParams(camera), 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        GbeFeatureInfo info{};
        const char* unit = nullptr;
        EXPECT_EQ(Gbe_getFeatureInfo(camera, row.name, &info), 0);
        EXPECT_EQ(std::memcmp(&info, &row.info, sizeof info), 0)
            << info.kind << info.access << info.locked << info.visibility << info.representation
            << info.streamable << info.selector;
        EXPECT_EQ(Gbe_getFeatureText(camera, row.name, GBE_TEXT_UNIT, &unit), 0);
        EXPECT_STREQ(unit, row.unit);
    }
    ASSERT_EQ(Gbe_enableChecks(camera, 1), 0);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Width", 640), GBE_ERROR_LOCKED);
    EXPECT_EQ(Gbe_unlockTLParams(camera), 0);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Width", 320), 0);
    const char* text = nullptr;
    EXPECT_EQ(Gbe_getFeatureText(camera, "Width", GBE_TEXT_TOOL_TIP, &text), 0);
    EXPECT_STREQ(text, "Width of the image");
    EXPECT_EQ(Gbe_getFeatureText(camera, "Width", GBE_TEXT_EVENT_ID + 1, &text), GBE_ERROR_ILLEGAL_PARAMETER);
}

TEST_F(FeatureInfoTest, TellsLimitsAndNeighbours) {
    long long min = 0;
    long long max = 0;
    long long step = 0;
    double low = 0;
    double high = 0;
    EXPECT_EQ(Gbe_getIntegerLimits(camera, "Width", &min, &max, &step), 0);
    EXPECT_THAT((std::vector{min, max, step}), ElementsAre(16, 1920, 4));
    EXPECT_EQ(Gbe_getFloatLimits(camera, "Gain", nullptr, &high), 0);
    EXPECT_EQ(Gbe_getFloatLimits(camera, "DeviceTemperature", &low, nullptr), 0);
    EXPECT_THAT((std::vector{low, high}), ElementsAre(-40, 24));
    EXPECT_EQ(Gbe_getStringLimit(camera, "DeviceUserID", &max), 0);
    EXPECT_EQ(Gbe_getEntryValue(camera, "PixelFormat", "Mono12Packed", &min), 0);
    EXPECT_THAT((std::vector{max, min}), ElementsAre(16, 0x010C0006));
    const struct {
        const char* name;
        int list;
        const char* names;
    } rows[] = {
        {"DeviceTemperatureSelector", GBE_LIST_ENTRIES, "Sensor Mainboard FPGA"},
        {"DeviceTemperatureSelector", GBE_LIST_SELECTED, "DeviceTemperature"},
        {"DeviceTemperature", GBE_LIST_SELECTING, "DeviceTemperatureSelector"},
        {"Width", GBE_LIST_SELECTED, ""},
        {"Width", GBE_LIST_MEMBERS, "illegal node"},
        {"Width", GBE_LIST_MEMBERS + 1, "illegal parameter"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(list(row.name, row.list), row.names) << row.name << row.list;
    }
    EXPECT_THAT(list("ImageFormatControl", GBE_LIST_MEMBERS), HasSubstr("HeightMax Width Height"));
    EXPECT_EQ(Gbe_getEntryValue(camera, "PixelFormat", "Mono7", &min), GBE_ERROR_ILLEGAL_VALUE);
}

TEST_F(FeatureInfoTest, ReadsAndWritesBytes) {
    constexpr unsigned kUserData = 0xA080;
    long long address = 0;
    long long length = 0;
    EXPECT_EQ(Gbe_setIntegerValue(camera, "UserDataLength", 24), 0);
    EXPECT_EQ(Gbe_getRegisterPlace(camera, "UserData", &address, &length), 0);
    EXPECT_EQ(address, kUserData);
    EXPECT_EQ(length, 24);
    std::string bytes(24, 'u');
    EXPECT_EQ(Gbe_setRegisterBytes(camera, "UserData", bytes.data(), 20), GBE_ERROR_ILLEGAL_REGISTER_LENGTH);
    EXPECT_EQ(Gbe_setRegisterBytes(camera, "UserData", bytes.data(), 24), 0);
    EXPECT_EQ(Gbe_writeMemory(camera, kUserData + 4, "four", 4), 0);
    EXPECT_EQ(Gbe_invalidateCache(camera), 0);
    unsigned size = 24;
    EXPECT_EQ(Gbe_getRegisterBytes(camera, "UserData", bytes.data(), &size), 0);
    EXPECT_EQ(bytes, "uuuufouruuuuuuuuuuuuuuuu");
    std::string memory(16, '?');
    EXPECT_EQ(Gbe_readMemory(camera, kUserData, memory.data(), 16), 0);
    EXPECT_EQ(memory, bytes.substr(0, 16));
    EXPECT_EQ(Gbe_readMemory(camera, 0xFFFFFFFC, memory.data(), 8), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_writeMemory(camera, 0x0048, "none", 4), GBE_ERROR_TRANSPORT_LAYER) << "read-only";
}

// What callbacks have told, in their order.
class Told {
public:
    static void feature(CameraHandle* camera, const char* name, int change, void* user) {
        long long value = 0;
        EXPECT_EQ(Gbe_getIntegerValue(camera, name, &value), 0);
        static_cast<Told*>(user)->add(
            std::string(name) + (change == GBE_CHANGE_VALUE ? "=" : "?") + std::to_string(value));
    }
    static void control(CameraHandle*, int loss, void* user) {
        static_cast<Told*>(user)->add("loss " + std::to_string(loss));
    }
    std::vector<std::string> all() {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }

private:
    void add(std::string what) {
        const std::lock_guard lock(m_mutex);
        m_told.push_back(std::move(what));
    }
    std::mutex m_mutex;
    std::vector<std::string> m_told;
};

TEST_F(FeatureInfoTest, TellsEachChangeOnceUntilTheWatchEnds) {
    Told told;
    EXPECT_EQ(Gbe_watchFeature(camera, "Nothing", Told::feature, &told), GBE_ERROR_ILLEGAL_NODE);
    ASSERT_EQ(Gbe_setIntegerValue(camera, "Height", 600), 0); // leaves room for offsets
    ASSERT_EQ(Gbe_setIntegerValue(camera, "Width", 640), 0);
    ASSERT_EQ(Gbe_watchFeature(camera, "OffsetY", Told::feature, &told), 0);
    ASSERT_EQ(Gbe_watchFeature(camera, "OffsetX", Told::feature, &told), 0);
    ASSERT_EQ(Gbe_watchControl(camera, Told::control, &told), 0);
    const auto tells = [&](const std::string& what) {
        return eventually([&] {
            return std::ranges::any_of(told.all(), [&](const auto& one) { return one.starts_with(what); });
        });
    };
    ASSERT_EQ(Gbe_setIntegerValue(camera, "OffsetY", 100), 0);
    EXPECT_TRUE(tells("OffsetY=100"));
    ASSERT_EQ(Gbe_watchFeature(camera, "OffsetY", nullptr, nullptr), 0);
    ASSERT_EQ(Gbe_setIntegerValue(camera, "OffsetY", 200), 0);
    ASSERT_EQ(Gbe_setIntegerValue(camera, "OffsetX", 64), 0);
    EXPECT_TRUE(tells("OffsetX=64"));
    ASSERT_TRUE(eventually([&] { return station->peekRegister(0x0938) == 8000; })) << "the first heartbeat";
    station->reboot(std::chrono::milliseconds(100));
    EXPECT_TRUE(tells("loss "));
    std::vector<std::string> values = told.all();
    std::erase_if(values, [](const std::string& one) { return one.find('=') == one.npos; });
    EXPECT_THAT(values, ElementsAre("OffsetY=100", "OffsetX=64"));
}

} // namespace
