// A frame grabber in software and the handles of an application that uses it through the exported calls.
#pragma once

#include "liomol/gige.h"
#include "simcam/Camera.h"
#include "support/fake_service.h"
#include "support/rig.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

// The addresses of the plain camera's registers, one word each except for the text.
namespace plain {
inline constexpr std::uint32_t kNumber = 0x10000;
inline constexpr std::uint32_t kCommand = 0x10004;
inline constexpr std::uint32_t kLocked = 0x10008;
inline constexpr std::uint32_t kText = 0x10010; // 16 bytes
inline constexpr std::uint32_t kWidth = 0x10020;
} // namespace plain

// A camera of plain memory behind a description of a few features.
inline ethernet::Settings plainCamera(ethernet::Settings more = {}) {
    static const char* const kDescription = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Plain" VendorName="Test"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0">
  <Category Name="Root"><pFeature>Number</pFeature></Category>
  <Integer Name="Number"><pValue>NumberReg</pValue><Min>0</Min><Max>2147483646</Max></Integer>
  <Integer Name="Width"><pValue>WidthReg</pValue></Integer>
  <Integer Name="TLParamsLocked"><Value>0</Value><Min>0</Min><Max>1</Max></Integer>
  <Enumeration Name="PixelFormat">
    <EnumEntry Name="Mono8"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Mono12Packed"><Value>1</Value></EnumEntry>
    <Value>0</Value>
  </Enumeration>
  <Command Name="AcquisitionStart">
    <pIsLocked>LockedReg</pIsLocked><pValue>CommandReg</pValue><CommandValue>1</CommandValue>
  </Command>
  <Command Name="AcquisitionStop"><pValue>CommandReg</pValue><CommandValue>2</CommandValue></Command>
  <StringReg Name="Text">
    <Address>0x10010</Address><Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  </StringReg>
  <Port Name="Device"/>
)";
    std::string text = kDescription;
    const std::tuple<const char*, const char*, const char*> words[] = {
        {"Number", "0x10000", "<AccessMode>RW</AccessMode>"},
        {"Command", "0x10004", "<AccessMode>RW</AccessMode>"},
        {"Locked", "0x10008", "<AccessMode>RW</AccessMode><Cachable>NoCache</Cachable>"},
        {"Width", "0x10020", "<AccessMode>RW</AccessMode>"}};
    for (const auto& [name, address, mode] : words) {
        text += std::string("<IntReg Name=\"") + name + "Reg\"><Address>" + address +
                "</Address><Length>4</Length>" + mode +
                "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>\n";
    }
    more.insert({{"registers", "plain"}, {"description-text", text + "</RegisterDescription>\n"}});
    return more;
}

// Boards 0 to count - 1, opened through the exported calls while a service answers.
class Session {
public:
    // `keys` goes into the section of each board.
    explicit Session(int count = 1, const std::string& keys = {})
        : rig(count, keys), boards(static_cast<std::size_t>(count)) {
        for (int number = 0; number < count; ++number) {
            EXPECT_EQ(Gbe_initBoard(number, 0, &boards[static_cast<std::size_t>(number)]), 0);
        }
    }

    ~Session() {
        for (BoardHandle* board : boards) {
            Gbe_freeBoard(board);
        }
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    BoardHandle* board() const { return boards.front(); }

    // Scans a port of the first board and gives its first camera.
    CameraHandle* findFirst(unsigned port = 0) const {
        CameraHandle* camera = nullptr;
        EXPECT_EQ(Gbe_scanNetwork(board(), static_cast<int>(port), 0), 0);
        EXPECT_EQ(Gbe_getFirstCamera(board(), port, &camera), 0);
        return camera;
    }
    CameraHandle* connectFirst(unsigned port = 0) const {
        CameraHandle* camera = findFirst(port);
        EXPECT_EQ(Gbe_connectCamera(camera), 0);
        return camera;
    }

    Rig rig;
    FakeService service;
    std::vector<BoardHandle*> boards;
};
