// Images, from the camera's sensor to the caller's hands, in process.
#include "system/images.h"

#include "liomol/diagnostics.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <thread>
#include <unistd.h>

namespace {

// A camera in process, connected, with small images.
struct OneCamera {
    OneCamera() {
        station = session.rig.hang(0, 0);
        camera = session.connectFirst();
        setUp(camera, {{"Width", 64}, {"Height", 48}});
    }
    ~OneCamera() { Gbe_freeCamera(camera); }

    Session session;
    std::shared_ptr<simcam::Camera> station;
    CameraHandle* camera;
};

TEST(Images, EveryPixelOfEveryFormatIsTheCameras) {
    OneCamera one;
    expectEveryPixelOfEveryFormat(one.camera);
}

TEST(Images, LostPacketsComeAgainOrAreInTheMap) {
    OneCamera one;
    setUp(one.camera, {{"Width", 640}, {"Height", 200}});
    for (const int resend : {1, 0}) {
        SCOPED_TRACE(resend);
        GbeStreamOptions options = streamOptions();
        options.resend = resend;
        options.packetSize = 1500;
        options.buffers = 64;
        GbeStream* const stream = openStream(one.camera, options);
        softboard::FaultPlan plan;
        plan.receive.drop = 0.02;
        plan.receive.duplicate = 0.02;
        plan.receive.reorder = 0.02;
        plan.receive.reorderHold = std::chrono::milliseconds(1);
        ASSERT_TRUE(softboard::setFaultPlan(0, 0, plan));
        ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
        std::uint64_t last = 0;
        fetch(stream, 50, [&](const GbeImage& image) {
            expectEncoded(image);
            EXPECT_GT(image.blockId, last) << "in order, each once";
            last = image.blockId;
        });
        const GbeStreamStatistics statistics = statisticsOf(stream);
        ASSERT_TRUE(softboard::setFaultPlan(0, 0, {}));
        if (resend != 0) {
            EXPECT_LE(last, 50 + statistics.lostImages + statistics.droppedOldest);
            EXPECT_EQ(statistics.incomplete, 0U);
            EXPECT_GT(statistics.resentPackets, 0U);
        } else {
            EXPECT_GT(statistics.incomplete, 0U);
            EXPECT_EQ(statistics.resendRequests, 0U);
        }
        EXPECT_GT(statistics.duplicates, 0U);
        EXPECT_EQ(Gbe_stopAcquisition(one.camera), 0);
        EXPECT_EQ(Gbe_closeStream(stream), 0);
    }
}

// Both as the camera's own kind of payload, and as an image with chunks behind it, which tells its geometry.
TEST(Images, ChunksComeWithTheImage) {
    OneCamera one;
    setChunks(one.camera, {"FrameID", "Timestamp"});
    for (const unsigned payloadType : {0x4001U, 4U}) {
        SCOPED_TRACE(payloadType);
        GbeStream* const stream = openStream(one.camera);
        EXPECT_EQ(one.station->peekRegister(0x0D24), 1U) << "extended chunk data is on";
        one.station->pokeRegister(0x0D24, payloadType == 4 ? 0 : 1);
        ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
        fetch(stream, 3, [&](const GbeImage& image) {
            expectEncoded(image);
            EXPECT_EQ(image.payloadType, payloadType);
            EXPECT_EQ(image.geometryAssumed, payloadType == 4 ? 1 : 0);
            ASSERT_GE(image.chunkCount, 2U);
            const auto number = [&](std::size_t chunk) {
                std::uint64_t value = 0;
                for (std::size_t i = 0; i < image.chunks[chunk].size; ++i) {
                    value = value << 8 | static_cast<const unsigned char*>(image.chunks[chunk].data)[i];
                }
                return value;
            };
            EXPECT_EQ(image.chunks[0].id, 0x1001U);
            EXPECT_EQ(number(0), image.blockId);
            EXPECT_EQ(image.chunks[1].id, 0x1002U);
            EXPECT_EQ(number(1), image.timestamp);
        });
        EXPECT_EQ(Gbe_stopAcquisition(one.camera), 0);
        EXPECT_EQ(Gbe_closeStream(stream), 0);
    }
}

// Others see what comes also while this program does not look at it.
TEST(Images, CountThoughNobodyFetchesThem) {
    OneCamera one;
    const auto figures = [&] {
        GbeLinkStatistics now{};
        EXPECT_EQ(Gbe_getLinkStatistics(one.camera, &now), 0);
        return now;
    };
    const GbeLinkStatistics before = figures(); // of other tests
    EXPECT_EQ(before.streamOpen, 0);
    GbeStream* const stream = openStream(one.camera);
    EXPECT_EQ(figures().streamOpen, 1);
    ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
    EXPECT_TRUE(eventually([&] {
        const GbeLinkStatistics now = figures();
        return now.imagesDropped > before.imagesDropped && now.streamPackets > before.streamPackets;
    }));
    EXPECT_EQ(figures().images, before.images);
    EXPECT_EQ(Gbe_stopAcquisition(one.camera), 0);
    EXPECT_EQ(Gbe_closeStream(stream), 0);
    EXPECT_EQ(figures().streamOpen, 0);
}

// IMAGES_ROUNDS in the environment makes it more.
TEST(Images, StartsAndStopsAsOftenAsWanted) {
    OneCamera one;
    GbeStream* const stream = openStream(one.camera);
    const char* const asked = std::getenv("IMAGES_ROUNDS");
    const int rounds = asked != nullptr ? std::atoi(asked) : 30;
    for (int round = 0; round < rounds; ++round) {
        setUp(one.camera, {{"Height", round % 2 == 0 ? 24 : 48}});
        ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
        fetch(stream, 2, [&](const GbeImage& image) {
            expectEncoded(image);
            EXPECT_EQ(image.height, round % 2 == 0 ? 24U : 48U);
        });
        ASSERT_EQ(Gbe_stopAcquisition(one.camera), 0);
    }
    EXPECT_EQ(statisticsOf(stream).incomplete, 0U);

    constexpr auto kFrame = std::chrono::seconds(10);
    EXPECT_EQ(Gbe_setFloatValue(one.camera, "ExposureTime", 1e6 * kFrame.count()), 0);
    ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(Gbe_stopAcquisition(one.camera), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - before, kFrame) << "within a frame";
    EXPECT_EQ(Gbe_closeStream(stream), 0);
}

bool isReadable(const void* byte) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const bool readable = write(ends[1], byte, 1) == 1;
    close(ends[0]);
    close(ends[1]);
    return readable;
}

// Whoever waits is told why there will be nothing more.
TEST(Images, EveryEndWakesWhoWaits) {
    const struct {
        const char* name;
        std::function<void(OneCamera&, GbeStream*)> end;
        int status;
        const char* trouble = nullptr;
    } rows[] = {
        {"closed", [](OneCamera&, GbeStream* stream) { Gbe_closeStream(stream); }, GBE_ERROR_STREAM_CLOSED},
        {"disconnected", [](OneCamera& one, GbeStream*) { EXPECT_EQ(Gbe_disconnectCamera(one.camera), 0); },
         GBE_ERROR_CAMERA_NOT_CONNECTED},
        {"freed", [](OneCamera& one, GbeStream*) { Gbe_freeCamera(std::exchange(one.camera, nullptr)); },
         GBE_ERROR_CAMERA_NOT_CONNECTED},
        {"board freed",
         [](OneCamera& one, GbeStream*) {
             one.camera = nullptr;
             Gbe_freeBoard(std::exchange(one.session.boards.front(), nullptr));
         },
         GBE_ERROR_CAMERA_NOT_CONNECTED},
        {"unplugged", [](OneCamera& one, GbeStream*) { softboard::detach(0, 0, one.station); },
         GBE_ERROR_CONNECTION, "The link to the camera is gone."},
        {"rebooted", [](OneCamera& one, GbeStream*) { one.station->reboot(std::chrono::milliseconds(0)); },
         GBE_ERROR_CONNECTION, "Control of the camera is lost: it has restarted."},
        {"moved",
         [](OneCamera& one, GbeStream*) {
             softboard::attach(0, 1, one.station); // which it answers to from now on
             ASSERT_EQ(Gbe_scanNetwork(one.session.board(), 1, 0), 0);
             ASSERT_EQ(Gbe_switchCameraConnection(one.camera, one.session.board(), 1), 0);
         },
         GBE_ERROR_CAMERA_NOT_CONNECTED},
        {"control taken away", [](OneCamera& one, GbeStream*) { one.station->pokeRegister(0x0A00, 0); },
         GBE_ERROR_CONNECTION},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OneCamera one;
        GbeStream* const stream = openStream(one.camera);
        ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
        GbeImage borrowed{};
        ASSERT_EQ(Gbe_waitImage(stream, kPatient, &borrowed), 0);
        EXPECT_TRUE(isReadable(borrowed.data));
        std::atomic<int> images{0};
        std::vector<std::thread> waiters;
        for (int i = 0; i < 3; ++i) {
            waiters.emplace_back([&] {
                GbeImage image{};
                int result = 0;
                while ((result = Gbe_waitImage(stream, -1, &image)) == 0) {
                    Gbe_giveBackImage(stream, image.id);
                    ++images;
                }
                EXPECT_EQ(result, row.status);
            });
        }
        EXPECT_TRUE(eventually([&] { return images > 5; }));
        row.end(one, stream);
        for (std::thread& waiter : waiters) {
            waiter.join();
        }
        if (row.trouble != nullptr) {
            EXPECT_EQ(troubleOf(stream), row.trouble);
        }
        const bool closed = row.status == GBE_ERROR_STREAM_CLOSED;
        if (!closed) {
            expectEncoded(borrowed);
        }
        EXPECT_EQ(Gbe_giveBackImage(stream, borrowed.id), closed ? GBE_ERROR_STREAM_CLOSED : 0);
        EXPECT_EQ(Gbe_closeStream(stream), closed ? GBE_ERROR_STREAM_CLOSED : 0);
        EXPECT_FALSE(isReadable(borrowed.data)) << "the memory has gone";
        GbeStreamStatistics statistics{};
        EXPECT_EQ(Gbe_getStreamStatistics(stream, &statistics), GBE_ERROR_STREAM_CLOSED);
    }
}

TEST(Images, OfFourCamerasComeAtOnce) {
    Session session;
    for (int port = 0; port < 4; ++port) {
        session.rig.hang(0, port);
    }
    ASSERT_EQ(Gbe_scanNetwork(session.board(), -1, 0), 0);
    std::vector<std::thread> threads;
    for (unsigned port = 0; port < 4; ++port) {
        threads.emplace_back([&, port] {
            CameraHandle* camera = nullptr;
            ASSERT_EQ(Gbe_getFirstCamera(session.board(), port, &camera), 0);
            ASSERT_EQ(Gbe_connectCamera(camera), 0);
            setUp(camera, {{"Width", 64}, {"Height", 48}});
            for (int round = 0; round < 3; ++round) {
                GbeStream* const stream = openStream(camera);
                ASSERT_EQ(Gbe_startAcquisition(camera), 0);
                fetch(stream, 10, [](const GbeImage& image) { expectEncoded(image); });
                EXPECT_EQ(Gbe_closeStream(stream), 0);
                EXPECT_EQ(Gbe_stopAcquisition(camera), 0);
            }
            Gbe_freeCamera(camera);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Images, AConnectionMadeAnewGetsAStreamAnew) {
    OneCamera one;
    GbeStream* const first = openStream(one.camera);
    one.station->reboot(std::chrono::milliseconds(0));
    GbeImage image{};
    EXPECT_EQ(Gbe_waitImage(first, kPatient, &image), GBE_ERROR_CONNECTION);
    ASSERT_TRUE(eventually([&] { return Gbe_connectCamera(one.camera) == 0; }));
    setUp(one.camera, {{"Width", 64}, {"Height", 48}});
    GbeStream* const second = openStream(one.camera);
    ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
    fetch(second, 2, [](const GbeImage& fetched) { expectEncoded(fetched); });
    EXPECT_EQ(Gbe_waitImage(first, 0, &image), GBE_ERROR_CONNECTION);
    EXPECT_EQ(Gbe_closeStream(first), 0);
    EXPECT_EQ(Gbe_closeStream(second), 0);
}

TEST(Images, WhatIsWrongIsRefused) {
    OneCamera one;
    const struct {
        const char* name;
        std::function<void(GbeStreamOptions&)> change;
        int status;
    } rows[] = {
        {"another size of options", [](auto& o) { --o.structSize; }, GBE_ERROR_ILLEGAL_PARAMETER},
        {"no buffers", [](auto& o) { o.buffers = 0; }, GBE_ERROR_ILLEGAL_PARAMETER},
        {"too many buffers", [](auto& o) { o.buffers = GBE_MOST_BUFFERS + 1; }, GBE_ERROR_ILLEGAL_PARAMETER},
        {"small buffers", [](auto& o) { o.bufferSize = 64 * 48 - 1; }, GBE_ERROR_BUFFER_TOO_SMALL},
        {"buffers as large as the world", [](auto& o) { o.bufferSize = SIZE_MAX / 2; },
         GBE_ERROR_NOT_AVAILABLE},
        {"no such packet size", [](auto& o) { o.packetSize = 10; }, GBE_ERROR_ILLEGAL_PARAMETER},
        {"a negative delay", [](auto& o) { o.packetDelay = -2; }, GBE_ERROR_ILLEGAL_PARAMETER},
    };
    GbeStream* stream = nullptr;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        GbeStreamOptions options = streamOptions();
        row.change(options);
        EXPECT_EQ(Gbe_openStream(one.camera, &options, &stream), row.status);
        EXPECT_EQ(stream, nullptr);
    }
    stream = openStream(one.camera);
    GbeStream* other = nullptr;
    EXPECT_EQ(Gbe_openStream(one.camera, nullptr, &other), GBE_ERROR_CAMERA_BUSY);
    GbeImage image{};
    EXPECT_EQ(Gbe_waitImage(stream, 0, &image), GBE_ERROR_TIMEOUT);
    EXPECT_EQ(Gbe_waitImage(stream, -2, &image), GBE_ERROR_ILLEGAL_PARAMETER);
    EXPECT_EQ(Gbe_giveBackImage(stream, 0), GBE_ERROR_ILLEGAL_PARAMETER);
    ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
    ASSERT_EQ(Gbe_waitImage(stream, kPatient, &image), 0);
    EXPECT_EQ(Gbe_giveBackImage(stream, image.id), 0);
    EXPECT_EQ(Gbe_giveBackImage(stream, image.id), GBE_ERROR_ILLEGAL_PARAMETER) << "twice";
    EXPECT_EQ(Gbe_closeStream(stream), 0);
    ASSERT_EQ(Gbe_disconnectCamera(one.camera), 0);
    EXPECT_EQ(Gbe_openStream(one.camera, nullptr, &other), GBE_ERROR_CAMERA_NOT_CONNECTED);
    ASSERT_EQ(Gbe_connectCameraForReading(one.camera), 0);
    EXPECT_EQ(Gbe_openStream(one.camera, nullptr, &other), GBE_ERROR_NOT_WRITABLE);
}

TEST(Images, GoIntoMemoryOfTheCallers) {
    OneCamera one;
    std::vector<unsigned char> memory(3 * 64 * 48);
    void* const pieces[] = {memory.data(), &memory[64 * 48], &memory[2 * 64 * 48]};
    GbeStreamOptions options = streamOptions();
    options.memory = pieces;
    options.buffers = 3;
    GbeStream* stream = nullptr;
    EXPECT_EQ(Gbe_openStream(one.camera, &options, &stream), GBE_ERROR_ILLEGAL_PARAMETER) << "of which size?";
    options.bufferSize = 64 * 48;
    for (const int dropOldest : {1, 0}) {
        options.dropOldest = dropOldest;
        stream = openStream(one.camera, options);
        ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
        EXPECT_TRUE(eventually([&] {
            const GbeStreamStatistics now = statisticsOf(stream);
            return (dropOldest != 0 ? now.droppedOldest : now.droppedArriving) > 3;
        }));
        std::vector<GbeImage> images(dropOldest != 0 ? 2 : 3); // one buffer is being filled
        for (GbeImage& image : images) {
            ASSERT_EQ(Gbe_waitImage(stream, kPatient, &image), 0);
            EXPECT_TRUE(image.data >= memory.data() && image.data < memory.data() + memory.size());
            expectEncoded(image);
        }
        EXPECT_EQ(images[0].blockId == 1, dropOldest == 0);
        EXPECT_EQ(Gbe_stopAcquisition(one.camera), 0);
        EXPECT_EQ(Gbe_closeStream(stream), 0);
    }
}

TEST(Images, NothingArrivesForAReason) {
    OneCamera one;
    GbeStream* const stream = openStream(one.camera);
    EXPECT_EQ(troubleOf(stream), "The camera is not acquiring.");
    setUp(one.camera, {}, {{"TriggerSelector", "FrameStart"}, {"TriggerMode", "On"}});
    ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
    EXPECT_EQ(troubleOf(stream), "The camera waits for a trigger before each frame.");
    ASSERT_EQ(Gbe_stopAcquisition(one.camera), 0);
    setUp(one.camera, {}, {{"TriggerMode", "Off"}});
    ASSERT_EQ(Gbe_startAcquisition(one.camera), 0);
    EXPECT_EQ(troubleOf(stream), "");
    fetch(stream, 1, [](const GbeImage& image) { expectEncoded(image); });
    const unsigned char elsewhere[] = {10, 0, 0, 9};
    ASSERT_EQ(Gbe_writeMemory(one.camera, 0x0D18, elsewhere, 4), 0);
    EXPECT_EQ(troubleOf(stream).find("The camera sends its images to 10.0.0.9, port 1520, instead of "), 0U);
    EXPECT_EQ(Gbe_closeStream(stream), 0);
}

TEST(Images, ManyThreadsShareAStream) {
    OneCamera one;
    for (int round = 0; round < 3; ++round) {
        GbeStream* const stream = openStream(one.camera);
        std::atomic<int> images{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                GbeImage image{};
                for (int result = 0; result == 0 || result == GBE_ERROR_TIMEOUT;) {
                    result = Gbe_waitImage(stream, 5, &image);
                    images += result == 0 ? 1 : 0;
                    Gbe_giveBackImage(stream, image.id);
                }
            });
        }
        threads.emplace_back([&] {
            GbeStreamStatistics statistics{};
            unsigned size = 0;
            while (Gbe_getStreamStatistics(stream, &statistics) == 0) {
                Gbe_getStreamTrouble(stream, nullptr, &size);
            }
        });
        threads.emplace_back([&] {
            while (Gbe_waitImage(stream, -2, nullptr) == GBE_ERROR_ILLEGAL_PARAMETER && images < 50) {
                Gbe_startAcquisition(one.camera);
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                Gbe_stopAcquisition(one.camera);
            }
        });
        EXPECT_TRUE(eventually([&] { return images >= 50; }));
        EXPECT_EQ(Gbe_closeStream(stream), 0);
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}

TEST(Images, StreamsOpenWhileConnectionsComeAndGo) {
    OneCamera one;
    std::atomic<bool> done{false};
    std::atomic<int> opened{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            GbeImage image{};
            while (!done) {
                GbeStream* stream = nullptr;
                if (Gbe_openStream(one.camera, nullptr, &stream) == 0) {
                    ++opened;
                    Gbe_startAcquisition(one.camera);
                    Gbe_waitImage(stream, 20, &image);
                    EXPECT_EQ(Gbe_closeStream(stream), 0);
                }
                EXPECT_EQ(
                    Gbe_closeStream(stream),
                    stream != nullptr ? GBE_ERROR_STREAM_CLOSED : GBE_ERROR_ILLEGAL_PARAMETER);
            }
        });
    }
    for (int round = 0; round < 10; ++round) {
        const int before = opened;
        EXPECT_TRUE(eventually([&] { return opened > before; }));
        EXPECT_EQ(Gbe_disconnectCamera(one.camera), 0);
        EXPECT_EQ(Gbe_connectCamera(one.camera), 0);
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Gbe_closeStream(openStream(one.camera)), 0);
}

} // namespace
