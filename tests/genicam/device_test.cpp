// The device object: retrieving a description, state, ports, connections and the calls on the whole tree.
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

#include <QtCore/QCoreApplication>

#include <cstring>
#include <fstream>

namespace test_support {
namespace {

using tavo::ImplGenICamCamera;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using testing::ElementsAre;

constexpr char kDescription[] = R"(<?xml version="1.0"?>
<RegisterDescription ModelName="M1" VendorName="V" MajorVersion="2" SchemaMajorVersion="1">
  <Category Name="Root"><pFeature>Width</pFeature><pFeature>Start</pFeature></Category>
  <Integer Name="Width"><pValue>WidthReg</pValue><Min>0</Min><Max>4096</Max></Integer>
  <IntReg Name="WidthReg"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>
  <Command Name="Start"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>
  <IntReg Name="StartReg"><Address>0x104</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>NoCache</Cachable><Endianess>BigEndian</Endianess></IntReg>
  <IntSwissKnife Name="Loop"><pVariable Name="X">Loop</pVariable><Formula>X+1</Formula></IntSwissKnife>
  <Port Name="Device"/>
</RegisterDescription>
)";

char* ownedText(const std::string& text) {
    char* const copy = new char[text.size() + 1];
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

std::string xmlOf(const ImplGenICamCamera& camera) {
    std::string text(camera.getXmlDataSize(), 'x');
    camera.copyXmlData(text.data());
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

TEST(DeviceObject, BeginsUnconnected) {
    ImplGenICamCamera camera;
    EXPECT_EQ(camera.getState(), ImplGenICamCamera::NotConnected);
    EXPECT_EQ(camera.waitForConnection(), 0);
    EXPECT_EQ(xmlOf(camera), "");
    EXPECT_FALSE(camera.isConnected());
    EXPECT_FALSE(camera.getConnectionChangeStatus());
    EXPECT_THAT(camera.getConnectionList(), ElementsAre(tavo::CameraConnection{-1, -1}));
    EXPECT_EQ(camera.getNodeByName("Width"), nullptr);
    EXPECT_EQ(camera.getPort("Device"), nullptr);
    EXPECT_NO_THROW(camera.sendHeartbeat());
}

TEST(DeviceObject, BuildsItsTreeFromMemoryAndFromAFile) {
    std::ofstream("camera.xml", std::ios::binary) << kDescription;
    for (const bool fromFile : {false, true}) {
        SCOPED_TRACE(fromFile);
        MemoryPort port;
        ImplGenICamCamera camera;
        std::vector<int> states;
        QObject::connect(
            &camera, &ImplGenICamCamera::signal_StateChanged, &camera,
            [&](ImplGenICamCamera*, ImplGenICamCamera::CameraState state) { states.push_back(state); },
            Qt::DirectConnection);
        if (fromFile) {
            camera.retrieveRegisterDescription("camera.xml");
        } else {
            camera.retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
        }
        ASSERT_EQ(camera.waitForConnection(), 1);
        camera.stopAsyncMethods();
        EXPECT_THAT(states, ElementsAre(1, 2));
        EXPECT_EQ(xmlOf(camera), kDescription);
        EXPECT_EQ(camera.getModelName(), "M1");
        EXPECT_EQ(camera.getMajorVersion(), 2);
        EXPECT_EQ(camera.getSchemaMajorVersion(), 1);
        EXPECT_EQ(camera.getNodes().size(), 7U);
        ASSERT_EQ(camera.getCommandNodes().size(), 1U);
        EXPECT_EQ(camera.getCommandNodes()[0]->getName(), "Start");

        auto* const width = camera.getNodeByName("Width")->asInteger();
        EXPECT_EQ(codeOf([&] { width->getValue(); }), -40010) << "no port yet";
        camera.setPort(&port, "Device");
        width->setValue(0x0102);
        EXPECT_THAT(port.bytes(0x100, 4), ElementsAre(0, 0, 1, 2));
        EXPECT_EQ(codeOf([&] { camera.getNodeByName("Loop")->asInteger()->getValue(); }), -40007);
    }
}

TEST(DeviceObject, FailedRetrievalsLeaveNoResidue) {
    std::ofstream("other.xml", std::ios::binary) << "<Other/>";
    const struct {
        const char* name;
        std::function<void(ImplGenICamCamera&)> retrieve;
    } rows[] = {
        {"no file", [](auto& camera) { camera.retrieveRegisterDescription("absent.xml"); }},
        {"a folder", [](auto& camera) { camera.retrieveRegisterDescription("."); }},
        {"another document", [](auto& camera) { camera.retrieveRegisterDescription("other.xml"); }},
        {"nothing", [](auto& camera) { camera.retrieveRegisterDescriptionFromMemory(ownedText("")); }},
        {"cut off",
         [](auto& camera) {
             camera.retrieveRegisterDescriptionFromMemory(ownedText(std::string(kDescription, 400)));
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MemoryPort port;
        ImplGenICamCamera camera;
        camera.setPort(&port, "Device");
        for (int round = 0; round < 2; ++round) {
            row.retrieve(camera);
            EXPECT_EQ(camera.waitForConnection(), 0);
            EXPECT_EQ(camera.getState(), ImplGenICamCamera::NotConnected);
            EXPECT_EQ(xmlOf(camera), "");
            EXPECT_EQ(camera.getModelName(), "");
            EXPECT_TRUE(camera.getNodes().empty());
            camera.retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
            ASSERT_EQ(camera.waitForConnection(), 1);
            camera.getNodeByName("Width")->asInteger()->setValue(round);
        }
    }
}

TEST(DeviceObject, MayBeDestroyedWhileItRetrieves) {
    for (int round = 0; round < 20; ++round) {
        ImplGenICamCamera camera;
        camera.retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
        camera.getNodeByName("Width"); // null or a node, never half of one
    }
}

TEST(DeviceObject, DeletesItselfLaterAndUnbindsItsPort) {
    MemoryPort port;
    auto* const camera = new ImplGenICamCamera;
    camera->setPort(&port, "Device");
    camera->retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
    bool destroyed = false;
    QObject::connect(camera, &QObject::destroyed, [&] { destroyed = true; });
    camera->deleteLater();
    EXPECT_EQ(port.board, -1);
    EXPECT_EQ(port.port, -1);
    EXPECT_FALSE(destroyed);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(destroyed);
}

TEST(DeviceObject, HeartbeatLeavesItsTimeoutInTheCamera) {
    Device device;
    device.camera.setPort(&device.port, "Device");
    device.camera.sendHeartbeat();
    EXPECT_THAT(device.port.bytes(0x938, 4), ElementsAre(0x00, 0x00, 0x1F, 0x40)); // 8000 ms
    device.port.failing = true;
    EXPECT_EQ(codeOf([&] { device.camera.sendHeartbeat(); }), -40011);
    device.camera.setPort(nullptr, "Device");
    EXPECT_NO_THROW(device.camera.sendHeartbeat());
}

TEST(DeviceObject, LaterNodesTakeOverNames) {
    Device device;
    auto& first = device.add<ImplGenICamInteger>("Same");
    auto& second = device.add<ImplGenICamInteger>("Same");
    EXPECT_NE(device.camera.getNodeByName("Same"), &first);
    EXPECT_EQ(device.camera.getNodeByName("Same"), &second);
    EXPECT_EQ(device.camera.getNodes().size(), 1U);
    EXPECT_EQ(device.camera.getNodeByName("same"), nullptr);
    EXPECT_EQ(device.camera.getNodeByName(""), nullptr);
}

TEST(DeviceObject, MovesToAConnectionOfItsList) {
    Device device;
    device.camera.setPort(nullptr, "Device");
    auto& node = device.addRegister<ImplGenICamIntReg>(0, 4);
    node.getValue();
    device.camera.addCameraConnection(1, 2);
    EXPECT_EQ(codeOf([&] { device.camera.setConnection({1, 2}, 7); }), -40012) << "no port";
    device.camera.setPort(&device.port, "Device");
    EXPECT_EQ(codeOf([&] { device.camera.setConnection({1, 3}, 7); }), -40012) << "not in the list";
    device.camera.setConnection({1, 2}, 7);
    EXPECT_EQ(device.port.board, 1);
    EXPECT_EQ(device.port.port, 2);
    EXPECT_EQ(device.port.ip, 7U);
    EXPECT_TRUE(device.camera.isConnected());
    EXPECT_TRUE(device.camera.getConnectionChangeStatus());
    device.port.reads = 0;
    node.getValue();
    EXPECT_EQ(device.port.reads, 1) << "the cache is the other camera's";
}

TEST(DeviceObject, DumpsItsNodesInTheOrderOfTheirNames) {
    Device device;
    device.add<ImplGenICamInteger>("B").setStoredValue(5);
    auto& reg = device.addRegister<ImplGenICamIntReg>(0, 4);
    reg.setName("A");
    device.camera.registerNode(reg);
    device.port.failing = true;
    testing::internal::CaptureStdout();
    device.camera.dumpNodeValues();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "A = exception: transport layer exception\nB = 5\n");
}

} // namespace
} // namespace test_support
