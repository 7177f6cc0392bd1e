// Accesses of a node tree as they arrive at a camera.
#include "board/GenICamPortWrapper.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "protocol/gvcp.h"
#include "support/fake_service.h"
#include "support/introduce.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <optional>
#include <vector>

namespace {

constexpr int kPort = 1;
constexpr std::uint32_t kMemory = 0x10000; // plain memory of the camera

const char* const kDescription = R"(<?xml version="1.0"?>
<RegisterDescription ModelName="Plain" VendorName="Test"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0">
  <Integer Name="Constant"><Value>7</Value></Integer>
</RegisterDescription>)";

// A camera of plain memory on port 1 of board 0, with a device object for the port.
class BridgeTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(GenICamPortWrapper::initBoard(0, 0), 0);
        station = rig.hang(0, kPort, {{"registers", "plain"}, {"description-text", kDescription}});
        introduce(0, kPort, *station);
        ASSERT_EQ(GenICamPortWrapper::initializeGenICamInterface(0, kPort), 0);
        door = GenICamPortWrapper::getDevice(0, kPort)->getPort("Device");
        ASSERT_NE(door, nullptr);
        station->log().clear();
    }

    void TearDown() override {
        GenICamPortWrapper::deleteCamera(0, kPort);
        GenICamPortWrapper::freeBoard(0);
    }

    // Registers written since SetUp, in order: address and value.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> registerWrites() const {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> writes;
        for (const simcam::Event& event : station->log().events()) {
            if (event.command == gvcp::Command::WriteRegCmd) {
                writes.emplace_back(event.address, event.value);
            }
        }
        return writes;
    }

    Rig rig;
    FakeService service;
    std::shared_ptr<simcam::Camera> station;
    tavo::GenICamPortInterface* door = nullptr;
};

TEST_F(BridgeTest, PutsBytesInAddressOrderAtEveryLength) {
    std::vector<unsigned char> pattern(512);
    std::iota(pattern.begin(), pattern.end(), static_cast<unsigned char>(1));
    for (const long long length : {4, 8, 12, 512}) {
        SCOPED_TRACE(length);
        const auto size = static_cast<std::size_t>(length);
        door->write(pattern.data(), kMemory, length);
        const auto stored = station->peek(kMemory, size).value();
        EXPECT_TRUE(std::equal(stored.begin(), stored.end(), pattern.begin()));
        std::vector<unsigned char> back(size);
        door->read(back.data(), kMemory, length);
        EXPECT_TRUE(std::equal(back.begin(), back.end(), pattern.begin()));
    }
    const gvcp::Command registerAccess[] = {gvcp::Command::ReadRegCmd, gvcp::Command::WriteRegCmd};
    for (const gvcp::Command command : registerAccess) {
        EXPECT_EQ(station->log().count(command), 1U) << "only 4 bytes go as a register";
    }
}

TEST_F(BridgeTest, RefusesBadRangesWithoutTouchingTheCamera) {
    constexpr long long kEnd = 1LL << 32;
    const struct {
        const char* name;
        bool isWrite;
        long long address;
        long long length;
    } rows[] = {
        {"write of no multiple of 4", true, kMemory, 6},
        {"write above 512 bytes", true, kMemory, 516},
        {"write of a negative length", true, kMemory, -4},
        {"read of a negative length", false, kMemory, -4},
        {"negative address", false, -4, 4},
        {"address above 32 bits", false, kEnd, 4},
        {"read across the end of the address space", false, kEnd - 4, 8},
        {"write across the end of the address space", true, kEnd - 4, 8},
        {"length that would wrap", false, 4, kEnd},
    };
    std::array<unsigned char, 1024> buffer{};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto access = [&] {
            row.isWrite ? door->write(buffer.data(), row.address, row.length)
                        : door->read(buffer.data(), row.address, row.length);
        };
        EXPECT_THROW(access(), tavo::GicTransportLayerException);
        EXPECT_EQ(station->log().total(), 0U);
    }
}

TEST_F(BridgeTest, TakesControlBetweenTheTwoAttemptsOfAWriteOnly) {
    using gvcp::Command;
    std::array<unsigned char, 8> value{0x12, 0x34, 0x56, 0x78};
    for (const Command command : {Command::WriteRegCmd, Command::WriteMemCmd, Command::ReadRegCmd}) {
        constexpr auto kDenied = static_cast<std::uint32_t>(gvcp::Status::AccessDenied);
        station->log().clear();
        station->faults().add({simcam::Fault::Kind::Status, kDenied, 1, command});
        decltype(registerWrites()) expected;
        if (command == Command::ReadRegCmd) {
            door->read(value.data(), kMemory, 4);
        } else {
            const bool isRegister = command == Command::WriteRegCmd;
            door->write(value.data(), kMemory, isRegister ? 4 : 8);
            expected.assign(isRegister ? 3 : 1, {kMemory, 0x12345678});
            expected.at(isRegister ? 1 : 0) = {bootstrap::kControlChannelPrivilege, 2};
        }
        EXPECT_EQ(registerWrites(), expected);
    }
}

// As the standard has it: what does not fill its words leaves their other bytes alone.
TEST_F(BridgeTest, KeepsNeighboursOfBytesThatFillNoWords) {
    ASSERT_TRUE(GenICamPortWrapper::getDevice(0, kPort)->enableStandardBehaviour(true));
    std::vector<unsigned char> model(528);
    std::iota(model.begin(), model.end(), static_cast<unsigned char>(7));
    ASSERT_TRUE(station->poke(kMemory, model));
    unsigned char next = 0x80;
    for (const long long length : {1, 2, 3, 4, 5, 6, 7, 8, 9, 510, 512}) {
        for (long long offset = 0; offset < 5; ++offset) {
            SCOPED_TRACE(testing::PrintToString(std::vector{offset, length}));
            const auto place = model.begin() + offset;
            std::generate_n(place, length, [&] { return next++; });
            std::vector<unsigned char> bytes(place, place + length);
            door->write(bytes.data(), kMemory + offset, length);
            const auto stored = station->peek(kMemory, model.size()).value();
            ASSERT_TRUE(std::equal(stored.begin(), stored.end(), model.begin(), model.end()));
            std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
            door->read(bytes.data(), kMemory + offset, length);
            ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), place));
        }
    }
    station->log().clear();
    door->write(model.data(), kMemory + 3, 10); // ends in the middle of the fourth word
    EXPECT_EQ(station->log().count(gvcp::Command::ReadRegCmd), 2U);
    EXPECT_EQ(station->log().count(gvcp::Command::WriteMemCmd), 1U);
    EXPECT_EQ(station->log().total(), 3U);
    EXPECT_THROW(door->write(model.data(), kMemory + 1, 513), tavo::GicTransportLayerException);
    EXPECT_EQ(station->log().total(), 3U);
}

TEST_F(BridgeTest, NeedsABoundPortADeviceAndAnOpenBoard) {
    std::array<unsigned char, 4> value{1, 2, 3, 4};
    GenICamPortWrapper unbound(nullptr);
    EXPECT_NO_THROW(unbound.read(value.data(), kMemory, 4));
    EXPECT_NO_THROW(unbound.write(value.data(), kMemory, 6));
    EXPECT_EQ(station->log().total(), 0U);

    unbound.setConnection(0, kPort + 1, 0);
    EXPECT_THROW(unbound.read(value.data(), kMemory, 4), tavo::GicTransportLayerException) << "no device";
    unbound.setConnection(0, kPort, 0);
    EXPECT_NO_THROW(unbound.write(value.data(), kMemory, 4));
    EXPECT_EQ(station->peekRegister(kMemory), 0x01020304U);

    GenICamPortWrapper::freeBoard(0);
    EXPECT_THROW(unbound.read(value.data(), kMemory, 4), tavo::GicTransportLayerException) << "closed board";
}

} // namespace
