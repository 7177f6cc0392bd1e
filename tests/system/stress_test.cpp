// Threads of an application beside each other; the soak has 32 cameras with a thread each.
#include "system/session.h"

#include <atomic>

namespace {

// Threads that share one camera, and one that keeps looking for others on its port.
TEST(Stress, ThreadsShareACamera) {
    constexpr unsigned kShared = 1000;
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera());
    CameraHandle* camera = session.connectFirst();
    std::atomic<unsigned> wrong = 0;
    const auto run = [&](auto&& access) {
        return std::thread([&, access] {
            for (unsigned round = 0; round < kShared; ++round) {
                wrong += access(round) ? 0U : 1U;
            }
        });
    };
    const char* entries[] = {"Mono8", "Mono12Packed"};
    std::thread threads[] = {
        run([&](unsigned round) { return Gbe_setIntegerValue(camera, "Number", round) == 0; }),
        run([&](unsigned) {
            long long value = 0;
            return Gbe_invalidateCache(camera) == 0 && Gbe_getIntegerValue(camera, "Number", &value) == 0 &&
                   value < kShared;
        }),
        run([&](unsigned round) {
            const char* entry = nullptr;
            return Gbe_setEnumerationValue(camera, "PixelFormat", entries[round % 2]) == 0 &&
                   Gbe_getEnumerationValue(camera, "PixelFormat", &entry) == 0 &&
                   (entry == std::string(entries[0]) || entry == std::string(entries[1]));
        }),
        run([&](unsigned) {
            CameraHandle* other = nullptr;
            return Gbe_getFirstCamera(session.board(), 0, &other) == GBE_ERROR_CAMERA_DOES_NOT_EXIST;
        }),
        run([&](unsigned) { // the port itself is watched, and others come and go on it
            std::string error;
            const bool watched = softboard::startCapture(0, 0, "watched.pcap", error);
            const auto bystander = session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:77"}}));
            return watched && softboard::portState(0, 0).linkUp &&
                   softboard::detach(0, 0, std::shared_ptr<ethernet::Endpoint>(bystander)) &&
                   softboard::stopCapture(0, 0);
        }),
    };
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(station->peekRegister(plain::kNumber), kShared - 1);
}

} // namespace
