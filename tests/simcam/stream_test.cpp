// The camera's stream, taken apart by a reader of its own that was written down from the standard's tables.
#include "harness.h"

#include "simcam/encoded_pattern.h"

#include <filesystem>
#include <fstream>
#include <map>

namespace {

using namespace simcam_test;

std::uint64_t be(const Bytes& data, std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8 | data.at(at + i);
    }
    return value;
}

struct Packet {
    std::uint64_t status, flags, block, format, id;
    Bytes content; // behind the stream header
    std::size_t ipSize;
};

// The stream packet in a frame; none in another one.
std::optional<Packet> packetOf(const Bytes& frame, bool extended = false) {
    if (be(frame, 12, 2) != 0x0800 || be(frame, 34, 2) != 20202) {
        return std::nullopt;
    }
    EXPECT_EQ(part(frame, 0, 12), Bytes({2, 0, 0, 0, 0, 1, 2, 0x11, 0x22, 0x33, 0x44, 0x55}));
    EXPECT_EQ(be(frame, 26, 8), 0xA9FE0764A9FE072A) << "from the camera to the host";
    EXPECT_EQ(be(frame, 36, 2), 1520U);
    EXPECT_EQ(be(frame, 40, 2), 0U) << "no checksum";
    Bytes sealed = frame;
    sealIp(sealed);
    EXPECT_EQ(sealed, frame) << "IPv4 checksum";
    const auto ipSize = static_cast<std::size_t>(be(frame, 16, 2));
    EXPECT_EQ(frame.size(), std::max<std::size_t>(60, ipSize + 14));
    EXPECT_EQ(be(frame, 38, 2), ipSize - 20);
    const std::size_t header = extended ? 20 : 8;
    Packet packet{
        be(frame, 42, 2),
        extended ? be(frame, 44, 2) : 0,
        extended ? be(frame, 50, 8) : be(frame, 44, 2),
        be(frame, 46, 1),
        extended ? be(frame, 58, 4) : be(frame, 47, 3),
        part(frame, 42 + header, ipSize - 28 - header),
        ipSize};
    EXPECT_EQ((packet.format & 0x80) != 0, extended);
    packet.format &= 0x7F;
    return packet;
}

std::vector<Packet> packetsOf(const std::vector<Bytes>& frames, bool extended = false) {
    std::vector<Packet> all;
    for (const Bytes& frame : frames) {
        if (const auto packet = packetOf(frame, extended)) {
            all.push_back(*packet);
        }
    }
    return all;
}

struct Image {
    Bytes leader, payload, trailer;
    std::uint64_t packets = 0;
};

// The blocks of a stream that lost nothing and mixed up nothing.
std::map<std::uint64_t, Image> imagesOf(const std::vector<Packet>& packets, std::size_t packetSize) {
    std::map<std::uint64_t, Image> all;
    for (const Packet& packet : packets) {
        Image& image = all[packet.block];
        EXPECT_EQ(packet.id, image.packets++) << "of block " << packet.block;
        EXPECT_TRUE(image.trailer.empty()) << "nothing follows the trailer";
        EXPECT_LE(packet.ipSize, packetSize);
        EXPECT_EQ(packet.status, 0U);
        Bytes& place = packet.format == 1 ? image.leader : packet.format == 2 ? image.trailer : image.payload;
        place = place + packet.content;
    }
    return all;
}

constexpr const char* kOpen = "StreamDestination=0xA9FE072A; StreamPort=1520;";

// Images of 64 x 32 in four packets of payload each, 40 ms apart, the packets of one at least 1 ms.
constexpr const char* kSlow =
    "Width=64; Height=32; StreamPacketSize=0x40000240; StreamPacketDelay=125000; FrameRate=25;"
    "AcquisitionStart=1";

TEST(SimcamStream, SendsAgainWhatItStillHas) {
    const struct {
        const char* name;
        char asker; // the host, another of its programs, or another host
        std::uint32_t block, first, last;
        std::string answer; // ids of packets and their statuses
    } rows[] = {
        {"a packet", 'h', 1, 2, 2, "2:100 "},
        {"by another program", 'n', 2, 0, 1, "0:100 1:100 "},
        {"by a stranger", 'o', 1, 2, 2, ""},
        {"to the end", 'h', 1, 4, 0xFFFFFF, "4:100 5:100 "},
        {"behind the end", 'h', 1, 6, 7, "6:800C 7:800C "},
        {"nothing", 'h', 1, 3, 2, ""},
        {"of the block under way", 'h', 3, 1, 2, "1:100 2:8010 "},
        {"of one that never was", 'h', 9, 0, 1, "0:8012 1:8012 "},
    };
    for (const bool extended : {false, true}) {
        Bench bench;
        bench.takeControl();
        run(bench, "open", kOpen + std::string(extended ? "GvspConfiguration=0x40000000;" : "") + kSlow);
        const auto sent =
            packetsOf(bench.live(milliseconds(122)), extended); // 120: leader of 3, 121: packet 1
        ASSERT_EQ(sent.size(), 14U);
        std::uint16_t id = 900;
        for (const auto& row : rows) {
            const Bytes block = extended ? be32(0) + be32(row.block) : Bytes();
            const Bytes command = be16(0) + be16(extended ? 0 : static_cast<std::uint16_t>(row.block)) +
                                  be32(row.first) + be32(row.last) + block;
            const Bench::Host& from = row.asker == 'h'   ? bench.host
                                      : row.asker == 'n' ? bench.neighbour
                                                         : bench.other;
            const auto frame = bench.frame(from, Bench::message(0x40, ++id, command, extended ? 0x10 : 0));
            std::string answer;
            for (const Packet& packet : packetsOf(bench.exchange(frame), extended)) {
                char text[32];
                const std::uint64_t status = packet.flags == 1 ? 0x100 : packet.status;
                std::snprintf(text, sizeof text, "%d:%X ", int(packet.id), unsigned(status));
                answer += text;
                EXPECT_EQ(packet.block, row.block) << row.name;
                if (status == 0x100) {
                    EXPECT_EQ(packet.content, sent.at((row.block - 1) * 6 + packet.id).content) << row.name;
                } else {
                    EXPECT_TRUE(packet.content.empty()) << row.name;
                }
            }
            EXPECT_EQ(answer, row.answer) << row.name << (extended ? ", extended ids" : "");
        }
    }
}

TEST(SimcamStream, EndsWhenItIsTold) {
    const struct {
        const char* name;
        const char* steps;
        std::size_t packets; // that are sent from then on
    } rows[] = {
        {"going on", "", 58},
        {"stopped: the frame goes out", "AcquisitionStop=1", 4},
        {"aborted", "AcquisitionAbort=1", 0},
        {"closed", "StreamPort=0", 0},
        {"released", "Privilege=0", 0},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.takeControl();
        run(bench, row.name, kOpen + std::string(kSlow));
        EXPECT_EQ(packetsOf(bench.live(milliseconds(42))).size(), 2U) << row.name;
        run(bench, row.name, row.steps);
        EXPECT_EQ(packetsOf(bench.live(milliseconds(364))).size(), row.packets) << row.name;
    }
}

TEST(SimcamStream, FallsBehindWithinLimitsAndBlockIdsGoOn) {
    Bench bench;
    bench.takeControl();
    run(bench, "open",
        std::string(kOpen) + "Width=16; Height=2; ExposureTime=100; FrameRate=100; AcquisitionStart=1");
    bench.pass(milliseconds(10000)); // the camera's thread does not run
    auto images = imagesOf(packetsOf(bench.live(milliseconds(1))), 1500);
    EXPECT_EQ(images.size(), 32U);
    EXPECT_EQ(images.rbegin()->first, 1000U) << "the newest are there";
    EXPECT_EQ(bench.camera->report(bench.now).skipped, 968U);
    bench.camera->silence(bench.now + milliseconds(994));
    EXPECT_TRUE(bench.live(milliseconds(990)).empty());
    images = imagesOf(packetsOf(bench.live(milliseconds(14))), 1500);
    EXPECT_EQ(images.begin()->first, 1100U);
    run(bench, "faster", "AcquisitionStop=1; FrameRate=1000; AcquisitionStart=1");
    images = imagesOf(packetsOf(bench.live(milliseconds(65000))), 1500);
    EXPECT_EQ(images.begin()->first, 1U) << "follows 65535";
    EXPECT_EQ(images.rbegin()->first, 65535U);
    EXPECT_EQ(images.size(), 65000U);
}

// Its thread would never sleep over what it cannot answer.
TEST(SimcamStream, ASilentCameraForgetsWhatIsAskedOfIt) {
    Bench bench;
    bench.takeControl();
    run(bench, "open",
        kOpen +
            std::string("Width=64; Height=128; StreamPacketSize=220; FrameRate=25; AcquisitionStart=1; +60"));
    const Bytes wanted = be16(0) + be16(1) + be32(0) + be32(40);
    const auto now = packetsOf(bench.exchange(bench.frame(bench.host, Bench::message(0x40, 900, wanted, 0))));
    EXPECT_EQ(now.size(), 32U) << "beside new packets, the rest later";
    bench.camera->silence(bench.now + milliseconds(1000));
    EXPECT_TRUE(bench.due().empty());
    EXPECT_GT(bench.camera->deadline(), bench.now);
}

TEST(SimcamStream, AsksForTheReceiversAddress) {
    Bench bench;
    bench.takeControl();
    run(bench, "open",
        "StreamDestination=0xA9FE072B; StreamPort=1520; Width=64; Height=32; FrameRate=10;"
        "AcquisitionStart=1");
    std::size_t asked = 0;
    for (const Bytes& frame : bench.live(milliseconds(1150))) {
        asked += be(frame, 12, 2) == 0x0806 && be(frame, 38, 4) == 0xA9FE072B;
        EXPECT_NE(be(frame, 12, 2), 0x0800U);
    }
    EXPECT_EQ(asked, 3U);
    EXPECT_EQ(bench.command(bench.other, 0x80, be32(0xA110)).status, 0) << "now it is heard";
    EXPECT_FALSE(bench.live(milliseconds(100)).empty());
    run(bench, "a group", "StreamDestination=0xEFFE072A");
    const auto sent = bench.live(milliseconds(100));
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(part(sent[0], 0, 6), Bytes({1, 0, 0x5E, 0x7E, 7, 0x2A}));
}

TEST(SimcamStream, TestPacketsHaveThePacketSize) {
    const struct {
        std::uint32_t written, reads;
        int flags; // of the IP header
    } rows[] = {{0xC0000578, 0x40000578, 0x40}, {0x80000258, 0x258, 0}, {0xC0002328, 0x40002328, 0x40}};
    Bench bench;
    bench.takeControl();
    EXPECT_EQ(
        bench.exchange(bench.frame(bench.host, Bench::message(0x82, 300, be32(0x0D04) + be32(0xC0000578))))
            .size(),
        1U)
        << "there is no destination";
    run(bench, "open", kOpen);
    for (const auto& row : rows) {
        const auto sent = bench.exchange(bench.frame(
            bench.host, Bench::message(0x82, bench.host.nextId++, be32(0x0D04) + be32(row.written))));
        ASSERT_EQ(sent.size(), 2U) << "the acknowledgement first";
        const auto packet = packetOf(sent[1]);
        ASSERT_TRUE(packet);
        EXPECT_EQ(packet->ipSize, row.reads & 0xFFFF);
        EXPECT_EQ(packet->block, 0U);
        EXPECT_EQ(sent[1][20], row.flags);
        EXPECT_EQ(bench.read(0x0D04, 4), be32(row.reads));
    }
    EXPECT_TRUE(bench.due().empty()) << "once";
}

// The payload ends with the chunks that are on; packets that hold the end of the image hold chunks too.
TEST(SimcamStream, ChunksFollowTheImage) {
    const Bytes image = be32(1) + be32(2048);
    const Bytes id = be32(0) + be32(1) + be32(0x1001) + be32(8);
    const Bytes time = be32(0) + be32(5000000) + be32(0x1002) + be32(8);
    const Bytes exposure = Bytes({0x40, 0xC3, 0x88, 0, 0, 0, 0, 0}) + be32(0x1003) + be32(8); // 10000.0
    const struct {
        const char* name;
        const char* settings;
        Bytes chunks, leader, trailer; // the leader's beginning
    } rows[] = {
        {"all", "PayloadSize?2104", image + id + time + exposure, be32(0x4001),
         be32(0x4001) + be32(32) + be32(2104) + be32(15)},
        {"some", "ChunkEnable#2=0; ChunkEnable#0=0!8002; PayloadSize?2088", image + id + exposure,
         be32(0x4001), be32(0x4001) + be32(32) + be32(2088) + be32(11)},
        {"of the older kind", "StreamConfiguration=0", image + id + time + exposure, be32(4),
         be32(4) + be32(2104)},
        {"none", "ChunkModeActive=0; PayloadSize?2048", {}, be32(1), be32(1) + be32(32)},
    };
    for (const auto& row : rows) {
        for (const char* size : {"548", "1500"}) {
            Bench bench;
            bench.takeControl();
            run(bench, row.name,
                kOpen + std::string("Width=64; Height=32; TestPattern=7; FrameRate=25; ChunkModeActive=1;") +
                    row.settings + "; StreamPacketSize=" + size +
                    "; AcquisitionStart=1; ChunkEnable=1!8007; ChunkModeActive=1!8007");
            const auto images = imagesOf(packetsOf(bench.live(milliseconds(60))), 1500);
            ASSERT_EQ(images.size(), 1U);
            const Image& got = images.at(1);
            EXPECT_EQ(part(got.payload, 2048, got.payload.size() - 2048), row.chunks) << row.name;
            EXPECT_EQ(got.payload[2047], simcam::encodedSample(1, 2047, 8));
            EXPECT_EQ(part(got.leader, 0, 4), row.leader) << row.name;
            EXPECT_EQ(got.leader.size(), row.leader == be32(4) ? 12U : 36U) << row.name;
            EXPECT_EQ(got.trailer, row.trailer) << row.name;
        }
    }
}

// Pictures of one's own come in turns: the first is as large as the image, the second is twice as large each
// way, with a frame of other colours that is cut off.
TEST(SimcamStream, ShowsThePicturesOfAFolder) {
    std::filesystem::create_directories("pictures");
    std::string grey;
    std::string colour;
    for (int i = 0; i < 32; ++i) {
        grey += static_cast<char>(i * 2);
    }
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 32; ++x) {
            colour += y < 2 || y > 5 ? std::string(6, 'x') : std::string("\xFF\xFF\x80\x40\0\0", 6);
        }
    }
    std::ofstream("pictures/a.pgm") << "P5 # with a comment\n16 2\n127\n" << grey;
    std::ofstream("pictures/b.ppm") << "P6\n32\n8\n65535 " << colour;
    std::ofstream("pictures/c.txt") << "no picture";
    Bench bench(ethernet::Settings{{"images", "pictures"}});
    bench.takeControl();
    run(bench, "folder",
        std::string(kOpen) + "Width=16; Height=2; PixelFormat=0x02180014; FrameRate=50; AcquisitionStart=1");
    const auto images = imagesOf(packetsOf(bench.live(milliseconds(70))), 1500);
    ASSERT_EQ(images.size(), 3U);
    Bytes first;
    Bytes second;
    for (int i = 0; i < 32; ++i) {
        first = first + Bytes(3, static_cast<std::uint8_t>(i * 2 * 65535 / 127 >> 8));
        second = second + Bytes{0xFF, 0x80, 0};
    }
    EXPECT_EQ(images.at(1).payload, first);
    EXPECT_EQ(images.at(2).payload, second);
    EXPECT_EQ(images.at(3).payload, first);
}

} // namespace
