// Six cameras on three boards, each with a thread of the application and a heartbeat of its own.
#include "system/session.h"

#include "protocol/bootstrap.h"

#include <atomic>

namespace {

constexpr unsigned kRounds = 10000; // each a write, an uncached read and a cached one

struct Place {
    std::size_t board;
    unsigned port;
    std::shared_ptr<simcam::Camera> station = nullptr;
    std::atomic<unsigned> wrong = 0; // results other than 0, and values other than the last written
};

// The whole life of a camera in one thread of the application. Its values differ from every other camera's.
void use(const Session& session, Place& place) {
    CameraHandle* camera = session.connectFirst(place.port, place.board);
    const auto first = static_cast<long long>((place.board * 4 + place.port) * 1000000);
    for (unsigned round = 0; round < kRounds; ++round) {
        const long long written = first + round;
        long long uncached = -1;
        long long cached = -1;
        place.wrong += Gbe_setIntegerValue(camera, "Number", written) != 0 ? 1 : 0;
        place.wrong += Gbe_invalidateCache(camera) != 0 ? 1 : 0;
        place.wrong += Gbe_getIntegerValue(camera, "Number", &uncached) != 0 ? 1 : 0;
        place.wrong += Gbe_getIntegerValue(camera, "Number", &cached) != 0 ? 1 : 0;
        place.wrong += uncached != written || cached != written ? 1 : 0;
    }
    EXPECT_TRUE(eventually([&] {
        return place.station->peekRegister(bootstrap::kHeartbeatTimeout) == 8000U;
    })) << "the heartbeat never came through";
    EXPECT_GE(place.station->log().count(gvcp::Command::WriteRegCmd), kRounds) << "writes that were not sent";
    EXPECT_GE(place.station->log().count(gvcp::Command::ReadRegCmd), kRounds) << "reads that were not sent";
    EXPECT_EQ(place.station->report().privilege, 2U) << "control was lost meanwhile";
    EXPECT_EQ(place.station->peekRegister(plain::kNumber), first + kRounds - 1);
    EXPECT_EQ(Gbe_disconnectCamera(camera), 0);
    Gbe_freeCamera(camera);
}

TEST(Stress, CamerasOnAllBoardsAtOnceLoseNothing) {
    Place places[] = {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 1}, {2, 2}};
    {
        Session session(3);
        for (Place& place : places) {
            place.station =
                session.rig.hang(static_cast<int>(place.board), static_cast<int>(place.port), plainCamera());
        }
        std::vector<std::thread> threads;
        for (Place& place : places) {
            threads.emplace_back([&] { use(session, place); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    for (const Place& place : places) {
        EXPECT_EQ(place.wrong, 0U) << "board " << place.board << " port " << place.port;
        EXPECT_EQ(place.station->report().privilege, 0U);
    }
    for (const int board : {0, 1, 2}) {
        EXPECT_EQ(softboard::boardState(board).opens, 0U);
    }
}

// Threads that share one camera, and one that keeps looking for others on its port.
TEST(Stress, ThreadsShareACamera) {
    constexpr unsigned kShared = kRounds / 10;
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
