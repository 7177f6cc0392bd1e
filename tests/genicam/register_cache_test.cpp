// When a register goes to the device, and when it answers from its cache.
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

namespace test_support {
namespace {

using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamMaskedIntReg;
using testing::ElementsAre;

constexpr std::int64_t kHour = 3600 * 1000;

TEST(RegisterCache, EachModeMakesExactlyItsPortAccesses) {
    struct Expected {
        Device::Traffic firstRead, secondRead, write, readAfterWrite, readAfterInvalidation;
    };
    const struct {
        const char* name;
        Cache mode;
        std::int64_t pollingTime;
        Expected expected;
    } rows[] = {
        {"WriteThrough", Cache::WriteThrough, kHour, {{1, 0}, {0, 0}, {0, 1}, {0, 0}, {1, 0}}},
        {"not given", Cache::NotGiven, kHour, {{1, 0}, {0, 0}, {0, 1}, {0, 0}, {1, 0}}},
        {"WriteAround", Cache::WriteAround, kHour, {{1, 0}, {0, 0}, {0, 1}, {1, 0}, {1, 0}}},
        {"NoCache, polled hourly", Cache::NoCache, kHour, {{1, 0}, {0, 0}, {0, 1}, {1, 0}, {1, 0}}},
        {"NoCache, never kept", Cache::NoCache, 0, {{1, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 0}}},
        {"NoCache, negative polling time", Cache::NoCache, -5, {{1, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 0}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Device device;
        auto& node = device.addRegister<ImplGenICamIntReg>(0x10, 4, row.mode);
        node.setPollingTime(row.pollingTime);
        const auto read = [&] { node.getValue(); };
        EXPECT_EQ(device.during(read), row.expected.firstRead);
        EXPECT_EQ(device.during(read), row.expected.secondRead);
        EXPECT_EQ(device.during([&] { node.setValue(7); }), row.expected.write);
        EXPECT_EQ(device.during(read), row.expected.readAfterWrite);
        EXPECT_EQ(node.getValue(), 7);
        device.camera.invalidateAllNodes();
        EXPECT_EQ(device.during(read), row.expected.readAfterInvalidation);
    }
}

TEST(RegisterCache, MaskedWritesReadTheDeviceWhateverTheCacheHolds) {
    for (const Cache mode : {Cache::WriteThrough, Cache::WriteAround, Cache::NoCache}) {
        SCOPED_TRACE(static_cast<int>(mode));
        Device device;
        auto& field = device.addRegister<ImplGenICamMaskedIntReg>(0, 2, mode);
        field.setPollingTime(kHour);
        field.setEndianess(Endian::LittleEndian);
        field.setLSB(4);
        field.setMSB(7);
        field.getValue();
        device.port.put(0, {0x0F, 0x55}); // behind the cache's back
        EXPECT_EQ(device.during([&] { field.setValue(0xA); }), (Device::Traffic{1, 1}));
        EXPECT_THAT(device.port.bytes(0, 2), ElementsAre(0xAF, 0x55));
        const int rereads = mode == Cache::WriteThrough ? 0 : 1;
        EXPECT_EQ(device.during([&] { EXPECT_EQ(field.getValue(), 0xA); }), (Device::Traffic{rereads, 0}));
    }
}

TEST(RegisterCache, MovedRegistersAreReadAgain) {
    Device device;
    auto& index = device.add<ImplGenICamInteger>();
    auto& node = device.addRegister<ImplGenICamIntReg>(0x100, 1);
    ASSERT_TRUE(node.addAddressElement(&index, 4));
    device.port.put(0x100, {1, 0, 0, 0, 2});
    EXPECT_EQ(node.getValue(), 1);
    EXPECT_EQ(device.during([&] { EXPECT_EQ(node.getValue(), 1); }), (Device::Traffic{0, 0}));
    index.setValue(1); // deliberately no dependency: the address alone tells
    EXPECT_EQ(device.during([&] { EXPECT_EQ(node.getValue(), 2); }), (Device::Traffic{1, 0}));
    index.setValue(2);
    node.setValue(9);
    index.setValue(1);
    EXPECT_EQ(node.getValue(), 2) << "bytes written elsewhere were taken for the content here";
    EXPECT_EQ(node.getAddress(), 0x104);
}

TEST(RegisterCache, InvalidatorsReachTheRegistersThatNameThem) {
    Device device;
    auto& invalidator = device.addRegister<ImplGenICamIntReg>(0, 4);
    auto& cached = device.addRegister<ImplGenICamIntReg>(4, 4);
    auto& polled = device.addRegister<ImplGenICamIntReg>(8, 4, Cache::NoCache);
    polled.setPollingTime(kHour);
    auto& unrelated = device.addRegister<ImplGenICamIntReg>(12, 4);
    invalidator.addInvalidated(&cached);
    invalidator.addInvalidated(&polled);
    const auto readAll = [&] {
        cached.getValue();
        polled.getValue();
        unrelated.getValue();
    };
    readAll();
    invalidator.getValue();
    readAll();
    EXPECT_EQ(device.during(readAll), (Device::Traffic{0, 0}));
    invalidator.setValue(1);
    EXPECT_EQ(device.during(readAll), (Device::Traffic{2, 0}));
}

TEST(RegisterCache, FailedAccessesLeaveNothingBehind) {
    const struct {
        const char* name;
        Cache mode;
        std::function<void(ImplGenICamIntReg&)> access;
        bool cachedBefore;
    } rows[] = {
        {"first read", Cache::WriteThrough, [](auto& node) { node.getValue(); }, false},
        {"write", Cache::WriteThrough, [](auto& node) { node.setValue(0x77); }, true},
        {"write around", Cache::WriteAround, [](auto& node) { node.setValue(0x77); }, true},
        {"uncached write", Cache::NoCache, [](auto& node) { node.setValue(0x77); }, true},
        {"raw write", Cache::WriteThrough,
         [](auto& node) {
             unsigned char bytes[4] = {9, 9, 9, 9};
             node.set(bytes, 4);
         },
         true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Device device;
        device.port.put(0, {0x11, 0, 0, 0});
        auto& node = device.addRegister<ImplGenICamIntReg>(0, 4, row.mode);
        node.setPollingTime(kHour);
        if (row.cachedBefore) {
            node.getValue();
        }
        device.port.failing = true;
        EXPECT_EQ(codeOf([&] { row.access(node); }), -40011);
        device.port.failing = false;
        EXPECT_EQ(node.getValue(), 0x11);
    }
}

TEST(RegisterCache, AFailedMaskedWriteIsNotTakenForTheContent) {
    Device device;
    device.port.put(0, {0xF0});
    auto& field = device.addRegister<ImplGenICamMaskedIntReg>(0, 1);
    field.setEndianess(Endian::LittleEndian);
    field.setLSB(0);
    field.setMSB(3);
    class WriteFails : public MemoryPort {
        void write(unsigned char*, long long, long long) override {
            throw tavo::GicTransportLayerException();
        }
    } port;
    port.memory = device.port.memory;
    field.setPort(&port);
    EXPECT_EQ(codeOf([&] { field.setValue(5); }), -40011);
    EXPECT_EQ(field.getValue(), 0);
}

TEST(RegisterCache, PortFailuresKeepTheirTypeOnReadsAndOnlyTheirCodeOnWrites) {
    Device device;
    auto& node = device.addRegister<ImplGenICamIntReg>(0, 4);
    device.port.failing = true;
    EXPECT_THROW(node.getValue(), tavo::GicTransportLayerException);
    try {
        node.setValue(1);
        FAIL();
    } catch (const tavo::GicTransportLayerException&) {
        FAIL() << "the base class is expected";
    } catch (const tavo::GenICamException& failure) {
        EXPECT_EQ(failure.getErrno(), -40011);
    }
}

TEST(RegisterCache, SignalsAreNotNeededForMarksToEnd) {
    Device device;
    auto& node = device.addRegister<ImplGenICamIntReg>(0, 4);
    auto& writeOnly = device.addRegister<ImplGenICamIntReg>(4, 4);
    writeOnly.setAccessMode(Access::WO);
    writeOnly.addInvalidated(&node);
    for (int round = 0; round < 3; ++round) {
        writeOnly.setValue(round);
        EXPECT_FALSE(writeOnly.isTriggered());
        EXPECT_FALSE(node.isTriggered());
        EXPECT_EQ(device.during([&] { node.getValue(); }), (Device::Traffic{1, 0})) << "round " << round;
        EXPECT_EQ(device.during([&] { node.getValue(); }), (Device::Traffic{0, 0})) << "round " << round;
    }
}

} // namespace
} // namespace test_support
