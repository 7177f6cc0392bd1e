// Who reads a ring of image packets, when, and how much at once.
#include "stream_support.h"

#include "softboard/InterfaceLink.h"
#include "softboard/RingReader.h"
#include "softboard/udp_frame.h"

#include <atomic>
#include <thread>

namespace {

using namespace test;
using test_support::NetNamespace;

constexpr net::Mac kHost{{2, 0, 0, 0, 0, 1}};
constexpr net::Ipv4 kCamera{{169, 254, 7, 100}};
constexpr std::uint16_t kPort = 1520;

// A keeper without its thread: only who waits for images reads.
class Attended final : public softboard::ImageStream::Keeper {
public:
    explicit Attended(std::unique_ptr<Keeper> inner) : m_inner(std::move(inner)) {}
    void start() override {}
    bool attend(Clock::time_point deadline) override { return m_inner->attend(deadline); }
    void hurry() override { m_inner->hurry(); }
    void catchUp() override { m_inner->catchUp(); }
    void leave() override { m_inner->leave(); }
    void join() override { m_inner->join(); }
    std::uint64_t overrun() override { return m_inner->overrun(); }

private:
    const std::unique_ptr<Keeper> m_inner;
};

class RingReading : public testing::Test {
protected:
    void SetUp() override {
        if (!wire.error().empty()) {
            GTEST_SKIP() << wire.error();
        }
        std::string error;
        {
            const NetNamespace::Inside inside(wire.camera);
            camera = netif::PacketSocket::create("camera0", {}, error);
        }
        ASSERT_TRUE(camera) << error;
        const NetNamespace::Inside inside(wire.host);
        behind = netif::PacketSocket::create("host0", {}, error);
        ASSERT_TRUE(behind) << error;
        int code = 0;
        ring = netif::PacketRing::create("host0", error, code);
        ASSERT_TRUE(ring) << error;
    }
    void openRing(std::uint16_t every) {
        int code = 0;
        const netif::ImagePackets packets{kCamera, kPort, every};
        ASSERT_TRUE(ring->open(
            {{netif::Traffic::Kind::Images, kHost, {}, 0, 0, packets},
             {netif::Traffic::Kind::ImageEnds, kHost, {}, 0, 0, packets},
             std::size_t{2} << 20},
            code));
    }
    // With two buffers.
    void openStream(bool dropOldest) {
        ring->close();
        memory.assign(2, Bytes(kPayload));
        void* pieces[] = {memory[0].data(), memory[1].data()};
        TavoImageSettings settings{};
        settings.udpPort = kPort;
        put(kCameraIp, settings.cameraIp);
        settings.buffers = 2;
        settings.memory = pieces;
        settings.bufferSize = settings.payloadSize = kPayload;
        settings.dropOldest = dropOldest ? 1 : 0;
        stream.emplace(settings, [](const std::uint8_t*, std::size_t) {});
        openRing(RingReader::bellEvery(1500));
        auto made = std::make_unique<RingReader>(*stream, ring, [this](RingReader& r) { take(r); });
        reader = made.get();
        keeper = std::move(made);
    }
    void TearDown() override {
        if (keeper) {
            stream->keepBy(std::move(keeper)); // which the stream ends
        }
        stream.reset();
    }

    void send(const std::vector<Bytes>& frames) {
        for (const Bytes& frame : frames) {
            EXPECT_TRUE(camera->send(frame.data(), frame.size()));
        }
    }
    // Until all that was sent is in the ring.
    void await(const Bytes& last) {
        const auto deadline = Clock::now() + kGenerous;
        for (bool there = false; !there && Clock::now() < deadline;) {
            const auto frame = behind->receive(deadline);
            there = std::equal(frame.begin(), frame.end(), last.begin(), last.end());
        }
    }
    // The block of the image that came; 0: none.
    std::uint64_t got(int timeoutMs) {
        TavoImage image{};
        if (stream->wait(timeoutMs, image) != IMAGE_PATH_OK) {
            return 0;
        }
        EXPECT_EQ(memory[image.buffer], pixels(image.block));
        EXPECT_EQ(stream->giveBack(image.buffer), IMAGE_PATH_OK);
        return image.block;
    }

    using RingReader = softboard::RingReader;
    test_support::VirtualWire wire;
    std::unique_ptr<netif::PacketSocket> camera;
    std::unique_ptr<netif::PacketSocket> behind; // bound before the ring: the kernel gives it a frame later
    std::shared_ptr<netif::PacketRing> ring;
    std::vector<Bytes> memory;
    std::optional<softboard::ImageStream> stream;
    std::unique_ptr<softboard::ImageStream::Keeper> keeper; // until the stream has it
    RingReader* reader = nullptr;
    std::atomic<unsigned> readHere{0}; // by the test's thread, how often
    std::atomic<unsigned> readThere{0};

private:
    const std::thread::id m_here = std::this_thread::get_id();

    static void put(const Bytes& from, std::uint8_t* to) { std::copy(from.begin(), from.end(), to); }

    void take(RingReader& from) {
        ++(std::this_thread::get_id() == m_here ? readHere : readThere);
        stream->take(
            [&]() -> std::optional<softboard::ImageStream::Packet> {
                const netif::PacketRing::Frame* const frame = from.next();
                return frame != nullptr
                           ? softboard::streamPacket({kCamera, kPort}, frame->data, frame->size, true)
                           : std::nullopt;
            },
            softboard::ImageStream::From::Keeper);
    }
};

// Otherwise images wait for the keeper's thread, which has the next caller to wait for in turn.
TEST_F(RingReading, ACallerTakesOverFromTheKeepersThread) {
    openStream(false);
    stream->keepBy(std::move(keeper));
    for (std::uint64_t block = 1; block <= 5; ++block) {
        const unsigned before = readThere;
        ASSERT_TRUE(eventually([&] { return readThere != before; })) << "nobody reads for who is away";
        const unsigned here = readHere;
        // Who is held up until its time is over is in no need any more.
        EXPECT_TRUE(eventually([&] { return reader->attend(Clock::now() + std::chrono::milliseconds(1)); }));
        EXPECT_GT(readHere, here);
        send(imageFrames(block));
        EXPECT_EQ(got(kWaitMs), block);
    }
}

// More images than buffers came while the caller, who does the reading, was kept from running.
TEST_F(RingReading, WhatCameMeanwhileWaitsInTheRingUnlessTheNewestIsWanted) {
    constexpr std::uint64_t kImages = 9;
    for (const bool dropOldest : {false, true}) {
        SCOPED_TRACE(dropOldest);
        openStream(dropOldest); // whose own thread is not started: nobody else reads
        stream->keepBy(std::make_unique<Attended>(std::move(keeper)));
        EXPECT_EQ(got(0), 0U);
        for (std::uint64_t block = 1; block <= kImages; ++block) {
            send(imageFrames(block));
        }
        await(imageFrames(kImages).back());
        std::vector<std::uint64_t> blocks;
        for (std::uint64_t block = got(kWaitMs); block != 0; block = got(0)) {
            blocks.push_back(block);
        }
        const std::vector<std::uint64_t> all = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        EXPECT_EQ(blocks, dropOldest ? std::vector(all.end() - 2, all.end()) : all);
        stream.reset();
    }
}

// One in so many data packets, and what images end with; whatever their ids.
TEST_F(RingReading, TheBellRingsOncePerPiece) {
    openRing(8);
    const std::uint64_t blocks[] = {7, 0x10007};
    for (const std::uint64_t block : blocks) {
        SCOPED_TRACE(block);
        const auto frames = imageFrames(block);
        send(frames);
        await(frames.back());
        EXPECT_EQ(ring->takeBells(), kPayloadPackets / 8 + 1);
    }
    for (int i = 0; i < 100; ++i) {
        send({imageFrames(7).back()});
    }
    send({imageFrames(8).back()});
    await(imageFrames(8).back());
    EXPECT_GE(ring->takeBells(), netif::PacketRing::kCountless) << "too many to be counted";
    EXPECT_EQ(ring->takeBells(), 0U);
}

// How large a stream's packets are is found out when its ring is open.
TEST_F(RingReading, TheBellSuitsWhatTheInterfaceCarries) {
    const struct {
        const char* mtu;
        std::size_t bells;
    } rows[] = {{"1500", 1}, {"9000", 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mtu);
        ASSERT_TRUE(wire.host.shell(std::string("ip link set host0 mtu ") + row.mtu));
        const NetNamespace::Inside inside(wire.host);
        std::string error;
        const auto link = softboard::InterfaceLink::create({"host0", kHost, {}, std::size_t{2} << 20}, error);
        ASSERT_TRUE(link) << error;
        int code = 0;
        ring = link->openRing(kHost, {kCamera, kPort, 0}, code);
        ASSERT_TRUE(ring) << code;
        const std::vector<Bytes> frames{
            streamFrame(gvsp::Format::Payload, 7, 128, {}), streamFrame(gvsp::Format::Payload, 7, 512, {})};
        send(frames);
        await(frames.back());
        EXPECT_EQ(ring->takeBells(), row.bells);
        ring.reset();
        link->closeRing();
    }
}

} // namespace
