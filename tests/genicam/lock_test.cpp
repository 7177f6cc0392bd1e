// One lock a device, re-entrant for the thread that holds it.
#include "genicam/GenICamScopedReadWriteLock.h"
#include "genicam/device_fixture.h"

#include <gtest/gtest.h>

#include <thread>

namespace test_support {
namespace {

using tavo::GenICamScopedReadWriteLock;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;

bool isFree(Device& device) {
    bool free = false;
    std::thread([&] {
        free = device.camera.lock(1);
        if (free) {
            device.camera.unlock();
        }
    }).join();
    return free;
}

TEST(DeviceLock, NestsInTheThreadThatHoldsIt) {
    Device device;
    auto& node = device.add<ImplGenICamInteger>();
    GenICamScopedReadWriteLock outer(&node, GenICamScopedReadWriteLock::WriteLock);
    EXPECT_FALSE(outer.lockHasTimedOut());
    {
        GenICamScopedReadWriteLock inner(&node, GenICamScopedReadWriteLock::ReadLock);
        EXPECT_TRUE(inner.lockHasTimedOut()) << "the inner guard took nothing";
    }
    EXPECT_FALSE(isFree(device)) << "the inner guard must not release the outer one's lock";
    outer.unlock();
    EXPECT_TRUE(isFree(device));
    outer.unlock();
    EXPECT_TRUE(isFree(device));
}

TEST(DeviceLock, GivesUpAfterItsTime) {
    Device device;
    auto& node = device.add<ImplGenICamInteger>();
    const GenICamScopedReadWriteLock outer(&node, GenICamScopedReadWriteLock::ReadLock);
    bool timedOut = false;
    std::thread([&] {
        const GenICamScopedReadWriteLock late(&node, GenICamScopedReadWriteLock::ReadLock, 5);
        timedOut = late.lockHasTimedOut();
    }).join();
    EXPECT_TRUE(timedOut);
}

TEST(DeviceLock, IsOnePerDevice) {
    Device first;
    Device second;
    auto& inFirst = first.add<ImplGenICamInteger>();
    auto& inSecond = second.add<ImplGenICamInteger>();
    GenICamScopedReadWriteLock one(&inFirst, GenICamScopedReadWriteLock::ReadLock);
    EXPECT_TRUE(isFree(second));
    GenICamScopedReadWriteLock two(&inSecond, GenICamScopedReadWriteLock::ReadLock);
    EXPECT_FALSE(isFree(second)) << "holding one device's lock must not pass for another's";
    one.unlock(); // not in the order in which they were taken
    EXPECT_TRUE(isFree(first));
    EXPECT_FALSE(isFree(second));
    two.unlock();
    EXPECT_TRUE(isFree(second));
}

TEST(DeviceLock, SerialisesAllNodeAccesses) {
    Device device;
    auto& counter = device.addRegister<ImplGenICamIntReg>(0, 4, Cache::NoCache);
    auto& cached = device.addRegister<ImplGenICamIntReg>(4, 4);
    auto& feature = device.add<ImplGenICamInteger>("Feature");
    feature.setPValue(&cached);
    feature.addDependency(cached);
    constexpr int rounds = 2000;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                {
                    const GenICamScopedReadWriteLock whole(&counter, GenICamScopedReadWriteLock::WriteLock);
                    counter.setValue(counter.getValue() + 1);
                }
                auto* const found = device.camera.getNodeByName("Feature")->asInteger();
                found->setValue(i);
                found->getValue();
                feature.isVolatile();
                feature.isAvailable();
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter.getValue(), 4 * rounds);
    EXPECT_FALSE(device.port.overlapped);
}

} // namespace
} // namespace test_support
