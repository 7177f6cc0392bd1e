// The image path of a port with stations of this process on it.
#include "stream_support.h"

#include "support/wait.h"

#include <atomic>
#include <fstream>
#include <thread>

namespace {

using namespace test;

class ImagePath : public testing::Test {
protected:
    void SetUp() override {
        configure("[board 0]\n");
        camera = plugIn(0);
        board = std::make_unique<OpenBoard>();
        board->enable();
    }

    void send(const std::vector<Bytes>& frames) {
        for (const Bytes& frame : frames) {
            camera->send(frame);
        }
    }

    std::shared_ptr<Station> camera;
    std::unique_ptr<OpenBoard> board;
};

TEST_F(ImagePath, GivesImagesInOrderAndCountsThem) {
    OpenStream stream;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    TavoImage image{};
    EXPECT_EQ(stream.wait(image, 0), IMAGE_PATH_TIMEOUT);
    for (std::uint64_t block = 1; block <= 8; ++block) {
        const auto before = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
        std::thread later([&] { send(imageFrames(block)); });
        ASSERT_EQ(stream.wait(image, block % 2 == 0 ? -1 : kWaitMs), IMAGE_PATH_OK);
        later.join();
        EXPECT_EQ(stream.bytes(image), pixels(block));
        EXPECT_EQ(image.block, block);
        EXPECT_EQ(image.timestamp, 1000 * block);
        EXPECT_EQ(image.status + image.geometryAssumed + image.truncated + image.missingBytes, 0U);
        EXPECT_EQ(image.payloadType, 1);
        EXPECT_EQ(image.pixelFormat, 0x01080001U);
        EXPECT_EQ(image.width * 1000 + image.height, kWidth * 1000 + kHeight);
        EXPECT_GE(image.arrivedNs, before);
        EXPECT_LE(image.arrivedNs, static_cast<std::uint64_t>(Clock::now().time_since_epoch().count()));
        EXPECT_EQ(stream.giveBack(image.buffer), IMAGE_PATH_OK);
        EXPECT_EQ(stream.giveBack(image.buffer), IMAGE_PATH_BAD_ARGUMENT);
    }
    EXPECT_EQ(stream.giveBack(3), IMAGE_PATH_BAD_ARGUMENT);
    const TavoImageStatistics counts = stream.statistics();
    EXPECT_EQ(counts.complete, 8U);
    EXPECT_EQ(counts.packets, 8 * (kPayloadPackets + 2U));
    EXPECT_EQ(counts.buffersFree, 3U);
    EXPECT_EQ(board->read("ImagePackets0"), counts.packets);
    EXPECT_EQ(board->read("GigeRecvPktCnt0"), counts.packets);
}

TEST_F(ImagePath, TakesItsCamerasPacketsAndNoOthers) {
    OpenStream stream;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    const auto change = [](Bytes frame, std::size_t at, std::uint64_t value, unsigned size) {
        put(frame, at, value, size);
        return frame;
    };
    const Bytes good = imageFrames(1)[1];
    const struct {
        const char* name;
        Bytes frame;
        unsigned taken;
    } rows[] = {
        {"as it is", good, 1},
        {"another camera's", change(good, net::kSourceIp, 0xA9FE0765, 4), 0},
        {"to another UDP port", change(good, net::kUdpDestinationPort, 1521, 2), 0},
        {"a fragment", change(good, net::kIpFragment, 0x2000, 2), 0},
        {"TCP", change(good, net::kIpProtocol, 6, 1), 0},
        {"shorter than it says", change(good, net::kUdpLength, good.size(), 2), 0},
        {"shorter than a UDP header", change(good, net::kUdpLength, 7, 2), 0},
        {"with a wrong checksum", change(good, net::kUdpChecksum, 0x1234, 2), 0},
    };
    std::uint64_t taken = 0;
    for (const auto& row : rows) {
        camera->send(row.frame);
        taken += row.taken;
        EXPECT_EQ(stream.statistics().packets, taken) << row.name;
    }
    Bytes summed = good;
    const auto length = static_cast<std::uint16_t>(good.size() - net::kUdpSourcePort);
    put(summed, net::kUdpChecksum,
        net::InternetChecksum()
            .add(&summed[net::kSourceIp], 8)
            .add(std::uint16_t{net::kIpProtocolUdp})
            .add(length)
            .add(&summed[net::kUdpSourcePort], length)
            .value(),
        2);
    camera->send(summed);
    EXPECT_EQ(stream.statistics().packets, taken + 1) << "with a right checksum";
}

TEST_F(ImagePath, WithAllBuffersFullDropsWhatTheSettingSays) {
    for (const bool dropOldest : {false, true}) {
        OpenStream stream(3);
        stream.settings.dropOldest = dropOldest ? 1 : 0;
        ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
        TavoImage first{};
        send(imageFrames(1));
        ASSERT_EQ(stream.wait(first), IMAGE_PATH_OK); // borrowed all the time
        for (std::uint64_t block = 2; block <= 6; ++block) {
            send(imageFrames(block));
        }
        for (const std::uint64_t block : {dropOldest ? 5U : 2U, dropOldest ? 6U : 3U}) {
            TavoImage image{};
            ASSERT_EQ(stream.wait(image, 0), IMAGE_PATH_OK);
            EXPECT_EQ(image.block, block);
            EXPECT_EQ(stream.bytes(image), pixels(block));
        }
        EXPECT_EQ(stream.bytes(first), pixels(1));
        EXPECT_EQ(stream.statistics().droppedOldest, dropOldest ? 3U : 0U);
        EXPECT_EQ(stream.statistics().droppedArriving, dropOldest ? 0U : 3U);
        EXPECT_EQ(stream.statistics().buffersFree, 0U);
    }
}

TEST_F(ImagePath, TellsAWaitingCallerWhyThereIsNoImage) {
    std::unique_ptr<OpenBoard> second;
    const struct {
        const char* name;
        std::function<void(OpenStream&)> event;
        int result;
    } rows[] = {
        {"woken", [](OpenStream& stream) { stream.wake(); }, IMAGE_PATH_WOKEN},
        {"camera unplugged", [&](OpenStream&) { softboard::detach(0, 0, camera); }, IMAGE_PATH_LINK_GONE},
        {"camera back",
         [&](OpenStream&) {
             softboard::attach(0, 0, camera);
             send(imageFrames(1));
         },
         IMAGE_PATH_OK},
        {"board closed", [&](OpenStream&) { board.reset(); }, IMAGE_PATH_NO_PORT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OpenStream stream;
        ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
        std::atomic<int> results{0};
        std::atomic<int> wrong{0};
        std::vector<std::thread> waiting;
        const int threads = row.result == IMAGE_PATH_OK ? 1 : 3;
        for (int i = 0; i < threads; ++i) {
            waiting.emplace_back([&] {
                TavoImage image{};
                int result = IMAGE_PATH_LINK_GONE;
                while (row.result == IMAGE_PATH_OK && result == IMAGE_PATH_LINK_GONE) {
                    result = stream.wait(image);
                }
                wrong += (row.result == IMAGE_PATH_OK ? result : stream.wait(image)) != row.result ? 1 : 0;
                ++results;
            });
        }
        row.event(stream);
        std::for_each(waiting.begin(), waiting.end(), [](std::thread& thread) { thread.join(); });
        EXPECT_EQ(wrong, 0);
        TavoImage image{};
        if (row.result != IMAGE_PATH_OK) {
            EXPECT_EQ(stream.wait(image), row.result) << "and again";
        }
    }
    OpenStream stream;
    EXPECT_EQ(stream.open(), IMAGE_PATH_NO_PORT) << "of a closed board";
    board = std::make_unique<OpenBoard>();
    board->enable();
    EXPECT_EQ(stream.open(), IMAGE_PATH_OK) << "of one opened anew";
}

TEST_F(ImagePath, GivesUpInTimeAndTellsWhatIsMissing) {
    OpenStream stream;
    stream.settings.patienceMs = 20;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    auto frames = imageFrames(1);
    frames.erase(frames.begin() + 2);
    frames.pop_back();
    send(frames); // and nothing more: the path looks at the clock by itself
    TavoImage image{};
    ASSERT_EQ(stream.wait(image), IMAGE_PATH_OK);
    EXPECT_EQ(image.status, 1);
    EXPECT_EQ(image.missingBytes, kPacketData);
    ASSERT_EQ(image.missingCount, 1U);
    EXPECT_EQ(image.missing[0].offset, kPacketData);
    EXPECT_EQ(image.missing[0].length, kPacketData);
}

TEST_F(ImagePath, StartsAnew) {
    OpenStream stream;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    TavoImage borrowed{};
    send(imageFrames(7));
    send(imageFrames(8));
    ASSERT_EQ(stream.wait(borrowed), IMAGE_PATH_OK);
    EXPECT_EQ(stream.restart(), IMAGE_PATH_OK);
    TavoImage image{};
    EXPECT_EQ(stream.wait(image, 0), IMAGE_PATH_TIMEOUT) << "what waited is gone";
    send(imageFrames(1));
    ASSERT_EQ(stream.wait(image), IMAGE_PATH_OK);
    EXPECT_EQ(image.block, 1U);
    EXPECT_EQ(stream.bytes(borrowed), pixels(7)) << "what is borrowed stays";
    EXPECT_EQ(stream.giveBack(borrowed.buffer), IMAGE_PATH_OK);
    stream.settings.payloadSize = stream.settings.bufferSize + 1;
    EXPECT_EQ(stream.restart(), IMAGE_PATH_BAD_ARGUMENT);
}

TEST_F(ImagePath, RefusesWhatCannotBe) {
    const struct {
        const char* name;
        std::function<void(TavoImageSettings&)> change;
        int result;
    } rows[] = {
        {"no buffers", [](TavoImageSettings& s) { s.buffers = 0; }, IMAGE_PATH_BAD_ARGUMENT},
        {"too many buffers", [](TavoImageSettings& s) { s.buffers = 1U << 20; }, IMAGE_PATH_BAD_ARGUMENT},
        {"no memory", [](TavoImageSettings& s) { s.memory = nullptr; }, IMAGE_PATH_BAD_ARGUMENT},
        {"buffers too small", [](TavoImageSettings& s) { s.payloadSize = s.bufferSize + 1; },
         IMAGE_PATH_BAD_ARGUMENT},
        {"no UDP port", [](TavoImageSettings& s) { s.udpPort = 0; }, IMAGE_PATH_BAD_ARGUMENT},
        {"no such board", [](TavoImageSettings& s) { s.board = 8; }, IMAGE_PATH_NO_PORT},
        {"a board that is not there", [](TavoImageSettings& s) { s.board = 1; }, IMAGE_PATH_NO_PORT},
        {"no such port", [](TavoImageSettings& s) { s.port = 4; }, IMAGE_PATH_NO_PORT},
        {"nothing wrong", [](TavoImageSettings&) {}, IMAGE_PATH_OK},
    };
    for (const auto& row : rows) {
        OpenStream stream;
        row.change(stream.settings);
        EXPECT_EQ(stream.open(), row.result) << row.name;
        OpenStream other;
        EXPECT_EQ(other.open(), row.result == IMAGE_PATH_OK ? IMAGE_PATH_BUSY : IMAGE_PATH_OK) << row.name;
    }
    TavoImageStream* none = nullptr;
    TavoImage image{};
    EXPECT_EQ(imagePath().open(nullptr, &none), IMAGE_PATH_BAD_ARGUMENT);
    EXPECT_EQ(imagePath().wait(nullptr, 0, &image), IMAGE_PATH_BAD_ARGUMENT);
    const auto call = reinterpret_cast<TavoImagePathCall>(dlsym(RTLD_DEFAULT, LIOMOL_IMAGE_PATH_CALL));
    EXPECT_EQ(call(LIOMOL_IMAGE_PATH_VERSION + 1), nullptr);
}

// With a camera that sends all the time, from another thread.
TEST_F(ImagePath, TouchesNoByteAfterClosing) {
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        for (std::uint64_t block = 1; !stop; block = block % 65535 + 1) {
            send(imageFrames(block));
        }
    });
    for (int round = 0; round < 20; ++round) {
        OpenStream stream;
        ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
        TavoImage image{};
        EXPECT_EQ(stream.wait(image), IMAGE_PATH_OK);
        stream.close();
        const auto before = stream.memory;
        const auto received = state(0).framesReceived;
        EXPECT_TRUE(eventually([&] { return state(0).framesReceived > received + 20; }));
        EXPECT_EQ(stream.memory, before);
    }
    stop = true;
    sender.join();
}

} // namespace
