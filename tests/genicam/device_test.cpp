// The device object: retrieving a description, state, ports, connections and the calls on the whole tree.
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

#include <fstream>

namespace test_support {
namespace {

using tavo::ImplGenICamCamera;
using testing::ElementsAre;

const std::string kDescription =
    "<?xml version='1.0'?><RegisterDescription ModelName='M1'><Port Name='Device'/><Category Name='Root'>"
    "<pFeature>Width</pFeature></Category><Integer Name='Width'><pValue>WidthReg</pValue></Integer>"
    "<Command Name='Start'><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>" +
    reg("WidthReg", 0x100, 4, "<Endianess>BigEndian</Endianess>") + reg("StartReg", 0x104, 4) +
    "</RegisterDescription>\n";

std::string xmlOf(const ImplGenICamCamera& camera) {
    std::string text(camera.getXmlDataSize(), 'x');
    camera.copyXmlData(text.data());
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

// Each way to come to no tree leaves no residue, and the same device takes a good description after it.
TEST(DeviceObject, RetrievesAgainAndAgain) {
    std::ofstream("camera.xml", std::ios::binary) << kDescription;
    std::ofstream("other.xml", std::ios::binary) << "<Other/>";
    const struct {
        const char* name;
        const char* file; // null for the text
        std::string text;
    } rows[] = {
        {"no file", "absent.xml", ""},
        {"a folder", ".", ""},
        {"another document", "other.xml", ""},
        {"nothing", nullptr, ""},
        {"cut off", nullptr, kDescription.substr(0, 400)},
    };
    MemoryPort port;
    ImplGenICamCamera camera;
    camera.setPort(&port, "Device");
    std::vector<int> states;
    QObject::connect(
        &camera, &ImplGenICamCamera::signal_StateChanged, &camera,
        [&](ImplGenICamCamera*, ImplGenICamCamera::CameraState state) { states.push_back(state); },
        Qt::DirectConnection);
    const auto retrieve = [&](const char* file, const std::string& text) {
        states.clear();
        if (file != nullptr) {
            camera.retrieveRegisterDescription(file);
        } else {
            camera.retrieveRegisterDescriptionFromMemory(ownedText(text));
        }
        const int connected = camera.waitForConnection();
        camera.stopAsyncMethods();
        return connected;
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(retrieve(row.file, row.text), 0);
        EXPECT_THAT(states, ElementsAre(1, 0));
        EXPECT_EQ(xmlOf(camera) + camera.getModelName(), "");
        EXPECT_TRUE(camera.getNodes().empty());

        ASSERT_EQ(retrieve(row.file != nullptr ? "camera.xml" : nullptr, kDescription), 1);
        EXPECT_THAT(states, ElementsAre(1, 2));
        EXPECT_EQ(xmlOf(camera), kDescription);
        EXPECT_EQ(camera.getModelName(), "M1");
        EXPECT_EQ(camera.getNodes().size(), 6U);
        ASSERT_EQ(camera.getCommandNodes().size(), 1U);
        EXPECT_EQ(camera.getCommandNodes()[0]->getName(), "Start");
        camera.getNodeByName("Width")->asInteger()->setValue(0x0102);
        EXPECT_THAT(port.bytes(0x100, 4), ElementsAre(0, 0, 1, 2));
        std::fill_n(port.memory.begin() + 0x100, 4, 0);
    }
}

TEST(DeviceObject, MayBeDestroyedWhileItRetrieves) {
    for (int round = 0; round < 20; ++round) {
        ImplGenICamCamera camera;
        EXPECT_EQ(camera.waitForConnection() + xmlOf(camera).size(), 0U) << "unconnected at first";
        EXPECT_NO_THROW(camera.sendHeartbeat());
        camera.retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
        camera.getNodeByName("Width"); // null or a node, never half of one
    }
}

TEST(DeviceObject, HeartbeatLeavesItsTimeoutInTheCamera) {
    Device device;
    device.camera.sendHeartbeat();
    EXPECT_THAT(device.port.bytes(0x938, 4), ElementsAre(0x00, 0x00, 0x1F, 0x40)); // 8000 ms
    device.port.failing = true;
    EXPECT_EQ(codeOf([&] { device.camera.sendHeartbeat(); }), status::TransportLayer);
    device.camera.setPort(nullptr, "Device");
    EXPECT_NO_THROW(device.camera.sendHeartbeat());
}

TEST(DeviceObject, MovesToAConnectionOfItsList) {
    Device device(inRoot(reg("N", 0, 4)));
    device.expect("#N -> 1r 0w; #N -> 0r 0w");
    device.camera.addCameraConnection(1, 2);
    EXPECT_EQ(
        codeOf([&] {
            device.camera.setConnection({1, 3}, 7);
        }),
        status::Connection)
        << "not in the list";
    device.camera.setConnection({1, 2}, 7);
    EXPECT_THAT(
        (std::vector<int>{device.port.board, device.port.port, int(device.port.ip)}), ElementsAre(1, 2, 7));
    EXPECT_TRUE(device.camera.isConnected() && device.camera.getConnectionChangeStatus());
    device.expect("#N -> 1r 0w"); // the cache was the other camera's
    device.camera.setPort(nullptr, "Device");
    EXPECT_EQ(codeOf([&] { device.camera.setConnection({1, 2}, 7); }), status::Connection) << "no port";
}

TEST(DeviceObject, DumpsItsNodesInTheOrderOfTheirNames) {
    Device device(inRoot("<Integer Name='B'><Value>5</Value></Integer>" + reg("A", 0, 4)));
    auto& taken = device.add<tavo::ImplGenICamInteger>("B"); // a later node takes over the name
    taken.setStoredValue(6);
    EXPECT_EQ(device.camera.getNodeByName("B"), &taken);
    EXPECT_EQ(device.camera.getNodeByName("b"), nullptr);
    device.port.failing = true;
    testing::internal::CaptureStdout();
    device.camera.dumpNodeValues();
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "A = exception: transport layer exception\nB = 6\nDevice = Device\n");
}

// The load may end before it is stopped; with this size not every time.
TEST(DeviceObject, StopsLoadingWhenAskedTo) {
    std::string nodes;
    for (int i = 0; i < 20000; ++i) {
        nodes += "<Integer Name='I" + std::to_string(i) + "'/>";
    }
    bool stopped = false;
    for (int attempt = 0; attempt < 100 && !stopped; ++attempt) {
        ImplGenICamCamera camera;
        camera.retrieveRegisterDescriptionFromMemory(ownedText(inRoot(nodes)));
        camera.stopAsyncMethods();
        stopped = camera.getState() == ImplGenICamCamera::NotConnected;
        EXPECT_EQ(camera.getNodes().empty(), stopped);
    }
    EXPECT_TRUE(stopped);
}

} // namespace
} // namespace test_support
