// Reading features ahead, from the exported call to the camera.
#include "liomol/features.h"
#include "protocol/bootstrap.h"
#include "system/session.h"

#include <algorithm>
#include <map>

namespace {

// Name, and what users can read of the feature.
using Shown = std::map<std::string, std::string>;

std::string shown(CameraHandle* camera, const char* name) {
    GbeFeatureInfo info{};
    std::string text(8192, '\0');
    unsigned size = 8192;
    long long low = 0, high = 0, step = 0;
    double min = 0, max = 0;
    const int results[] = {
        Gbe_getFeatureInfo(camera, name, &info), Gbe_getValueAsString(camera, name, text.data(), &size),
        Gbe_getIntegerLimits(camera, name, &low, &high, &step), Gbe_getFloatLimits(camera, name, &min, &max)};
    text = text.c_str();
    for (const double number :
         {double(info.access), double(info.locked), double(low), double(high), double(step), min, max}) {
        text += " " + std::to_string(number);
    }
    for (const int result : results) {
        text += " " + std::to_string(result);
    }
    size = 8192;
    std::string names(size, '\0');
    Gbe_getFeatureList(camera, name, GBE_LIST_AVAILABLE_ENTRIES, names.data(), &size);
    return text + names;
}

Shown showAll(CameraHandle* camera) {
    Shown all;
    for (unsigned i = 0; i < static_cast<unsigned>(Gbe_getFeatureCount(camera)); ++i) {
        const char* name = nullptr;
        EXPECT_EQ(Gbe_getFeatureName(camera, i, &name), 0);
        all[name] = shown(camera, name);
    }
    return all;
}

// Beside the heartbeat's, which are below the features' addresses.
int featureReads(simcam::Camera& station) {
    const auto events = station.log().events();
    return static_cast<int>(std::ranges::count_if(
        events, [](const auto& event) { return event.address >= bootstrap::kManufacturerSpecific; }));
}

TEST(Prefetch, ShowsWhatSingleReadsShowWithFewerCommands) {
    const struct {
        const char* name;
        ethernet::Settings settings;
        const char* lost; // a fault while features are read ahead
        double most;      // commands, as a part of what single reads take
    } rows[] = {
        {"several registers in a command", {}, "", 0.2},
        {"one register in a command", {{"concatenation", "off"}}, "", 0.5},
        {"first commands lost", {}, "silent x2 readreg", 0.2},
        {"refused at first", {}, "status=0x8007 x2 readreg", 0.5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Session session;
        const auto station = session.rig.hang(0, 0, row.settings);
        CameraHandle* const camera = session.connectFirst();
        ASSERT_EQ(Gbe_enableChecks(camera, 1), 0);
        Shown expected = showAll(camera);
        Gbe_invalidateCache(camera);
        station->log().clear();
        Shown again = showAll(camera);
        const int single = featureReads(*station);

        Gbe_invalidateCache(camera);
        std::string error;
        if (const auto fault = simcam::parseFault(row.lost, error)) {
            station->faults().add(*fault);
        }
        station->log().clear();
        ASSERT_EQ(Gbe_prefetch(camera, nullptr, 0), 0);
        EXPECT_LE(static_cast<double>(station->log().total()), row.most * single);
        station->log().clear();
        for (const auto& [name, text] : showAll(camera)) {
            if (expected[name] == again[name]) { // else it changes by itself
                EXPECT_EQ(text, expected[name]) << name;
            }
        }
        // What is read at each access is left, and what has been known for too long; how much that is, time
        // says.
        EXPECT_LE(featureReads(*station), single / 2);
        Gbe_freeCamera(camera);
    }
}

TEST(Prefetch, TakesTheFeaturesThatAreNamed) {
    Session session;
    const auto station = session.rig.hang(0, 0, {});
    CameraHandle* const camera = session.findFirst();
    const char* const names[] = {"Width", "Gain", nullptr};
    const char* const unknown[] = {"Width", "Widht"};
    EXPECT_EQ(Gbe_prefetch(camera, names, 2), GBE_ERROR_CAMERA_NOT_CONNECTED);
    ASSERT_EQ(Gbe_connectCamera(camera), 0);
    station->log().clear();
    EXPECT_EQ(Gbe_prefetch(nullptr, names, 2), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_prefetch(camera, names, 3), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_prefetch(camera, unknown, 2), GBE_ERROR_ILLEGAL_NODE);
    EXPECT_EQ(featureReads(*station), 0);
    EXPECT_EQ(Gbe_prefetch(camera, names, 2), 0);
    EXPECT_NE(featureReads(*station), 0);
    long long value = 0;
    double gain = 0;
    station->log().clear();
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &value), 0);
    EXPECT_EQ(Gbe_getFloatValue(camera, "Gain", &gain), 0);
    EXPECT_EQ(value, 1920);
    EXPECT_EQ(featureReads(*station), 0);
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Height", &value), 0);
    EXPECT_EQ(featureReads(*station), 1) << "was not asked for";
    Gbe_freeCamera(camera);
}

} // namespace
