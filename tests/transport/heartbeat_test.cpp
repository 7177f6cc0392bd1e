#include "genicam/GenICamPortInterface.h"
#include "genicam/ImplGenICamCamera.h"
#include "transport/GbeHeartbeatThread.h"
#include "util/exceptions.h"

#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;

// Counts heartbeats and fails every one of them.
class FailingPort : public tavo::GenICamPortInterface {
public:
    void read(unsigned char*, long long, long long) override {}
    void setConnection(int, int, unsigned) override {}
    void write(unsigned char*, long long address, long long) override {
        const std::lock_guard guard(m_mutex);
        EXPECT_EQ(address, 0x938);
        ++m_beats;
        m_changed.notify_all();
        throw tavo::GicTransportLayerException();
    }
    bool waitForBeats(int count) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_beats >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_beats = 0;
};

TEST(Heartbeat, GoesOnAfterFailuresUntilStopped) {
    FailingPort port;
    tavo::ImplGenICamCamera device;
    device.setPort(&port, "Device");
    GbeHeartbeatThread thread(&device);
    const auto start = Clock::now();
    thread.start();
    EXPECT_TRUE(port.waitForBeats(1));
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(990)) << "the first comes after a period";
    thread.setPeriod(0); // takes effect at once
    EXPECT_TRUE(port.waitForBeats(3));
    thread.setPeriod(1000000);
    thread.requestStop();
    EXPECT_TRUE(thread.wait(20000));
}

TEST(Heartbeat, IdlesWithoutADevice) {
    GbeHeartbeatThread thread(nullptr);
    thread.setPeriod(0);
    thread.start();
    EXPECT_FALSE(thread.wait(100));
    thread.requestStop();
    EXPECT_TRUE(thread.wait(20000));
}

} // namespace
