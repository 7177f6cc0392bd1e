// What an application does with a camera, from opening the board to the last free, through exported calls
// only.
#include "system/session.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace {

std::string textOf(CameraHandle* camera, const char* feature) {
    unsigned size = 0;
    EXPECT_EQ(Gbe_getValueAsString(camera, feature, nullptr, &size), 0) << feature;
    std::string text(size, '?');
    EXPECT_EQ(Gbe_getValueAsString(camera, feature, text.data(), &size), 0) << feature;
    EXPECT_EQ(std::strlen(text.c_str()) + 1, size) << feature;
    text.resize(size == 0 ? 0 : size - 1);
    return text;
}

// The camera in software with the description that it is built with, fetched as a zip from its memory.
class MainJobTest : public testing::Test {
protected:
    void SetUp() override {
        station = session.rig.hang(0, 0, {{"name", "by the door"}, {"model", "SimCam 2M"}});
        camera = session.connectFirst();
    }

    Session session;
    std::shared_ptr<simcam::Camera> station;
    CameraHandle* camera = nullptr;
};

TEST_F(MainJobTest, ReadsAndWritesFeaturesOfEachKind) {
    long long integer = 0;
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &integer), 0);
    EXPECT_EQ(integer, 1920);
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Width", 640), 0);
    EXPECT_EQ(station->peekRegister(0xA110), 640U);
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &integer), 0);
    EXPECT_EQ(integer, 640);
    EXPECT_EQ(textOf(camera, "Width"), "640");

    const char* mono = nullptr;
    const char* packed = nullptr;
    EXPECT_EQ(Gbe_getEnumerationValue(camera, "PixelFormat", &mono), 0);
    EXPECT_EQ(Gbe_setEnumerationValue(camera, "PixelFormat", "Mono12Packed"), 0);
    EXPECT_EQ(station->peekRegister(0xA134), 0x010C0006U);
    EXPECT_EQ(Gbe_getEnumerationValue(camera, "PixelFormat", &packed), 0);
    EXPECT_STREQ(packed, "Mono12Packed");
    EXPECT_STREQ(mono, "Mono8") << "an entry's text stays";

    const char* text = nullptr;
    EXPECT_EQ(Gbe_getStringValue(camera, "DeviceModelName", &text), 0);
    EXPECT_STREQ(text, "SimCam 2M");
    EXPECT_EQ(Gbe_setStringValue(camera, "DeviceUserID", "at the window"), 0);
    const char* name = nullptr;
    EXPECT_EQ(Gbe_getStringValue(camera, "DeviceUserID", &name), 0);
    EXPECT_STREQ(name, "at the window");
    EXPECT_STREQ(text, "SimCam 2M") << "another feature's text stays";

    double number = 0;
    EXPECT_EQ(Gbe_setFloatValue(camera, "Gain", 6.5), 0);
    EXPECT_EQ(Gbe_getFloatValue(camera, "Gain", &number), 0);
    EXPECT_DOUBLE_EQ(number, 6.5);
    int flag = -1;
    EXPECT_EQ(Gbe_setBooleanValue(camera, "ReverseX", 5), 0);
    EXPECT_EQ(Gbe_getBooleanValue(camera, "ReverseX", &flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(textOf(camera, "ReverseX"), "true");
    EXPECT_EQ(Gbe_getFloatValue(camera, "Width", &number), GBE_ERROR_ILLEGAL_NODE) << "which is an integer";
    char three[3] = {};
    unsigned size = sizeof three;
    EXPECT_EQ(Gbe_getValueAsString(camera, "PixelFormat", three, &size), GBE_ERROR_BUFFER_TOO_SMALL);
    EXPECT_EQ(size, sizeof "Mono12Packed");
    EXPECT_EQ(Gbe_startAcquisition(camera), 0);
    EXPECT_TRUE(eventually([&] { return Gbe_isCommandDone(camera, "AcquisitionStart") == 1; }));
}

TEST_F(MainJobTest, GivesTheDescriptionAsItIs) {
    unsigned size = 0;
    ASSERT_EQ(Gbe_getGenICamXML(camera, nullptr, &size), 0);
    ASSERT_GT(size, 1000U);
    std::string text(size, '?');
    unsigned tooSmall = size - 1;
    EXPECT_EQ(Gbe_getGenICamXML(camera, text.data(), &tooSmall), GBE_ERROR_BUFFER_TOO_SMALL);
    EXPECT_EQ(Gbe_getGenICamXML(camera, text.data(), &size), 0);
    EXPECT_EQ(text.find("<?xml"), 0U);
    EXPECT_EQ(text.find('\0'), size - 1U);
    EXPECT_NE(text.find("</RegisterDescription>"), text.npos);
}

TEST_F(MainJobTest, ListsFeaturesInOrderWithTheirKinds) {
    const int count = Gbe_getFeatureCount(camera);
    ASSERT_GT(count, 150);
    std::vector<std::string> names;
    std::set<int> kinds;
    for (int index = 0; index < count; ++index) {
        const char* name = nullptr;
        int kind = -1;
        ASSERT_EQ(Gbe_getFeatureName(camera, static_cast<unsigned>(index), &name), 0);
        ASSERT_EQ(Gbe_getFeatureKind(camera, name, &kind), 0);
        names.emplace_back(name);
        kinds.insert(kind);
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    for (int kind = GBE_KIND_INTEGER; kind <= GBE_KIND_REGISTER; ++kind) {
        EXPECT_EQ(kinds.count(kind), 1U) << kind;
    }
    const char* none = nullptr;
    int kind = -1;
    EXPECT_EQ(Gbe_getFeatureName(camera, static_cast<unsigned>(count), &none), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_getFeatureKind(camera, "Nothing", &kind), GBE_ERROR_ILLEGAL_NODE);
}

// The features that the plain camera has and the other one has not.
TEST(PlainCamera, RefusesToStartWhileLockedAfterTheLineLengthWasSet) {
    Session session;
    const auto station = session.rig.hang(0, 2, plainCamera());
    CameraHandle* camera = session.connectFirst(2);
    station->pokeRegister(plain::kWidth, 1000);
    station->pokeRegister(plain::kLocked, 1);
    ASSERT_EQ(Gbe_enableChecks(camera, 1), 0);
    ASSERT_EQ(Gbe_setEnumerationValue(camera, "PixelFormat", "Mono12Packed"), 0);
    EXPECT_EQ(Gbe_startAcquisition(camera), GBE_ERROR_LOCKED);
    EXPECT_EQ(softboard::portState(0, 2).lineLength, 1500U);
    EXPECT_EQ(station->peekRegister(plain::kCommand), 0U);
    station->pokeRegister(plain::kLocked, 0);
    EXPECT_EQ(Gbe_invalidateCache(camera), 0);
    EXPECT_EQ(Gbe_startAcquisition(camera), 0);
    EXPECT_EQ(station->peekRegister(plain::kCommand), 1U);
    EXPECT_EQ(Gbe_isCommandDone(camera, "AcquisitionStart"), 0) << "plain memory never clears it";
}

} // namespace
