#include "board/GbeHeartbeatThread.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/GenICamPortInterface.h"
#include "liomol/exceptions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <semaphore>

namespace {

using Clock = std::chrono::steady_clock;

// Counts heartbeats and fails every one of them.
class FailingPort : public tavo::GenICamPortInterface {
public:
    void read(unsigned char*, long long, long long) override {}
    void setConnection(int, int, unsigned) override {}
    void write(unsigned char*, long long address, long long) override {
        EXPECT_EQ(address, 0x938);
        beats.release();
        throw tavo::GicTransportLayerException();
    }

    std::counting_semaphore<> beats{0};
};

TEST(Heartbeat, GoesOnAfterFailuresUntilStopped) {
    FailingPort port;
    const auto device = std::make_shared<tavo::ImplGenICamCamera>();
    device->setPort(&port, "Device");
    GbeHeartbeatThread thread(device);
    const auto start = Clock::now();
    thread.start();
    EXPECT_TRUE(port.beats.try_acquire_for(std::chrono::seconds(20)));
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(990)) << "the first comes after a period";
    thread.setPeriod(0); // takes effect at once
    for (int beat = 0; beat < 2; ++beat) {
        EXPECT_TRUE(port.beats.try_acquire_for(std::chrono::seconds(20)));
    }
    thread.setPeriod(1000000);
    thread.requestStop();
    EXPECT_TRUE(thread.wait(20000));
}

} // namespace
