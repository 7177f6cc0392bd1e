// The image path of a port, with a camera of this process or behind a network interface.
#include "stream_support.h"

#include "support/golden.h"

#include <atomic>
#include <fstream>
#include <thread>

namespace {

using namespace test;

// By whether the port is an interface.
class ImagePath : public StreamPort, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override { plugIn(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(, ImagePath, testing::Bool(), [](const auto& kind) {
    return std::string(kind.param ? "OverAnInterface" : "InTheProcess");
});

TEST_P(ImagePath, GivesImagesInOrderAndCountsThem) {
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

TEST_P(ImagePath, TakesItsCamerasPacketsAndNoOthers) {
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
    std::uint64_t taken = 0;
    for (const auto& row : rows) {
        send(row.frame);
        send(summed); // with a right checksum
        taken += row.taken + 1;
        EXPECT_TRUE(eventually([&] { return stream.statistics().packets >= taken; })) << row.name;
        EXPECT_EQ(stream.statistics().packets, taken) << row.name;
    }
}

TEST_P(ImagePath, WithAllBuffersFullDropsWhatTheSettingSays) {
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
        const auto dropped = [&] {
            return stream.statistics().droppedOldest + stream.statistics().droppedArriving;
        };
        EXPECT_TRUE(eventually([&] { return dropped() == 3; }));
        for (const std::uint64_t block : {dropOldest ? 5U : 2U, dropOldest ? 6U : 3U}) {
            TavoImage image{};
            ASSERT_EQ(stream.wait(image), IMAGE_PATH_OK);
            EXPECT_EQ(image.block, block);
            EXPECT_EQ(stream.bytes(image), pixels(block));
        }
        EXPECT_EQ(stream.bytes(first), pixels(1));
        EXPECT_EQ(stream.statistics().droppedOldest, dropOldest ? 3U : 0U);
        EXPECT_EQ(stream.statistics().droppedArriving, dropOldest ? 0U : 3U);
        EXPECT_EQ(stream.statistics().buffersFree, 0U);
    }
}

// Waits in several threads while `event` happens; all of them have to get `result`.
void expectAll(OpenStream& stream, int result, const std::function<void()>& event) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> waiting;
    for (int i = 0; i < 3; ++i) {
        waiting.emplace_back([&] {
            TavoImage image{};
            wrong += stream.wait(image) != result ? 1 : 0;
        });
    }
    event();
    std::for_each(waiting.begin(), waiting.end(), [](std::thread& thread) { thread.join(); });
    EXPECT_EQ(wrong, 0);
    TavoImage image{};
    EXPECT_EQ(stream.wait(image), result) << "and again";
}

TEST_P(ImagePath, TellsWaitingCallersWhyThereIsNoImage) {
    {
        OpenStream stream;
        ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
        expectAll(stream, IMAGE_PATH_WOKEN, [&] { stream.wake(); });
    }
    OpenStream ended;
    ASSERT_EQ(ended.open(), IMAGE_PATH_OK);
    expectAll(ended, IMAGE_PATH_NO_PORT, [&] { board.reset(); });
    OpenStream stream;
    EXPECT_EQ(stream.open(), IMAGE_PATH_NO_PORT) << "of a closed board";
    openBoard();
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK) << "of one opened anew, while the earlier stream is still there";
    ended.close();
    send(imageFrames(1));
    TavoImage image{};
    EXPECT_EQ(stream.wait(image), IMAGE_PATH_OK);
}

TEST_P(ImagePath, GoesOnWhenTheCameraIsBack) {
    struct Row {
        const char* name;
        std::function<bool()> lose;
        std::function<bool()> mend;
    };
    const auto onHost = [&](const char* command) { return wire->host.shell(command); };
    const std::vector<Row> inProcess = {
        {"unplugged", [&] { return softboard::detach(0, 0, station); },
         [&] { return softboard::attach(0, 0, station); }}};
    const std::vector<Row> overInterface = {
        {"switched off", [&] { return onHost("ip link set host0 down"); },
         [&] { return onHost("ip link set host0 up"); }},
        {"the other end switched off", [&] { return wire->camera.shell("ip link set camera0 down"); },
         [&] { return wire->camera.shell("ip link set camera0 up"); }},
        {"removed", [&] { return wire->unplug(); }, [&] { return wire->plug(); }},
    };
    OpenStream stream;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    std::uint64_t block = 1;
    for (const Row& row : GetParam() ? overInterface : inProcess) {
        SCOPED_TRACE(row.name);
        expectAll(stream, IMAGE_PATH_LINK_GONE, [&] { EXPECT_TRUE(row.lose()); });
        ASSERT_TRUE(row.mend());
        TavoImage image{};
        EXPECT_TRUE(eventually([&] { // either side may be looking for its interface still
            send(imageFrames(block++));
            return stream.wait(image, 20) == IMAGE_PATH_OK;
        }));
        EXPECT_EQ(stream.bytes(image), pixels(image.block));
        stream.giveBack(image.buffer);
        EXPECT_TRUE(eventually([&] { // what was sent meanwhile, and what is known of the link
            const int result = stream.wait(image, 20);
            if (result == IMAGE_PATH_OK) {
                stream.giveBack(image.buffer);
            }
            return result == IMAGE_PATH_TIMEOUT;
        }));
    }
}

TEST_P(ImagePath, AsksForWhatWasLostAndRecordsAllOfIt) {
    const struct {
        const char* golden;
        std::uint64_t block;
        std::ptrdiff_t first, last; // packets that are lost
    } rows[] = {{"packetresend_cmd", 0x0102, 3, 5}, {"packetresend_cmd_extended", 0x100000007, 1, 5}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.golden);
        OpenStream stream;
        stream.settings.resend = 1;
        stream.settings.nextWishUs = 3600U * 1000 * 1000; // not again
        ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
        std::string error;
        ASSERT_TRUE(softboard::startCapture(0, 0, "stream.pcap", error)) << error;
        auto frames = imageFrames(row.block);
        const auto first = frames.begin() + row.first;
        const auto end = frames.begin() + row.last + 1;
        const std::vector<Bytes> lost(first, end);
        frames.erase(first, end);
        send(frames);
        const Bytes command = asked();
        EXPECT_EQ(command, golden::load(row.golden));
        send(lost);
        TavoImage image{};
        ASSERT_EQ(stream.wait(image), IMAGE_PATH_OK);
        EXPECT_EQ(image.status, 0);
        EXPECT_EQ(stream.bytes(image), pixels(row.block));
        softboard::stopCapture(0, 0);
        EXPECT_EQ(stream.statistics().wishes, 1U);
        std::size_t recorded = 24 + 16 + command.size();
        for (const Bytes& frame : imageFrames(row.block)) {
            recorded += 16 + frame.size();
        }
        EXPECT_EQ(std::ifstream("stream.pcap", std::ios::ate).tellg(), static_cast<std::streamoff>(recorded));
    }
}

TEST_P(ImagePath, HasTheFaultsOfThePortsWire) {
    softboard::FaultPlan plan;
    plan.receive.duplicate = 1;
    plan.receive.delay = 0.5; // then another thread brings what comes late
    softboard::setFaultPlan(0, 0, plan);
    OpenStream stream;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    send(imageFrames(1));
    TavoImage image{};
    ASSERT_EQ(stream.wait(image), IMAGE_PATH_OK);
    EXPECT_EQ(stream.bytes(image), pixels(1));
    EXPECT_TRUE(eventually([&] { return stream.statistics().packets == 2 * (kPayloadPackets + 2U); }));
}

TEST_P(ImagePath, GivesUpInTimeAndTellsWhatIsMissing) {
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

TEST_P(ImagePath, StartsAnew) {
    OpenStream stream;
    ASSERT_EQ(stream.open(), IMAGE_PATH_OK);
    TavoImage borrowed{};
    send(imageFrames(7));
    send(imageFrames(8));
    ASSERT_EQ(stream.wait(borrowed), IMAGE_PATH_OK);
    EXPECT_TRUE(eventually([&] { return stream.statistics().imagesWaiting == 1; }));
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

TEST_P(ImagePath, RefusesWhatCannotBe) {
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

} // namespace
