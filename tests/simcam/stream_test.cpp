// The camera's stream, taken apart by a reader of its own that was written down from the standard's tables.
#include "harness.h"

#include "simcam/encoded_pattern.h"

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
    std::uint64_t status, block, format, id;
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

TEST(SimcamStream, EveryByteOfEveryFormatIsWhatItIsToBe) {
    const struct {
        const char* format;
        unsigned bits;
        unsigned samples; // of a pixel
        int packing;      // bytes, words of the low byte first, or two samples in three bytes
    } rows[] = {
        {"0x01080001", 8, 1, 8},   {"0x01100003", 10, 1, 16}, {"0x010C0004", 10, 1, 12},
        {"0x01100005", 12, 1, 16}, {"0x010C0006", 12, 1, 12}, {"0x01100007", 16, 1, 16},
        {"0x01080009", 8, 1, 8},   {"0x0110000D", 10, 1, 16}, {"0x01100011", 12, 1, 16},
        {"0x02180014", 8, 3, 8},   {"0x02180015", 8, 3, 8},   {"0x0210001F", 8, 2, 8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        Bench bench;
        bench.takeControl();
        run(bench.registers(), row.format,
            std::string(kOpen) + "Width=64; Height=30; OffsetX=8; OffsetY=4; TestPattern=7; PixelFormat=" +
                row.format + "; StreamPacketSize=0x40000240; FrameRate=25; AcquisitionStart=1");
        const auto images = imagesOf(packetsOf(bench.live(milliseconds(130))), 576);
        ASSERT_EQ(images.size(), 3U);
        for (const auto& [block, image] : images) {
            const auto sample = [&, id = block](std::size_t i) -> unsigned {
                return simcam::encodedSample(id, i, row.bits);
            };
            Bytes wanted;
            for (std::size_t i = 0; i < std::size_t{64} * 30 * row.samples; ++i) {
                wanted.push_back(
                    static_cast<std::uint8_t>(row.packing == 12 ? sample(i) >> (row.bits - 8) : sample(i)));
                if (row.packing == 16) {
                    wanted.push_back(static_cast<std::uint8_t>(sample(i) >> 8));
                } else if (row.packing == 12) {
                    const unsigned low = (1U << (row.bits - 8)) - 1;
                    wanted.push_back(
                        static_cast<std::uint8_t>((sample(i) & low) | (sample(i + 1) & low) << 4));
                    wanted.push_back(static_cast<std::uint8_t>(sample(++i) >> (row.bits - 8)));
                }
            }
            EXPECT_EQ(image.payload, wanted);
            const Bytes shape = be32(static_cast<std::uint32_t>(std::stoul(row.format, nullptr, 16))) +
                                be32(64) + be32(30) + be32(8) + be32(4) + be32(0);
            EXPECT_EQ(part(image.leader, 0, 4), be32(1)) << "an image";
            EXPECT_EQ(be(image.leader, 4, 8) - 5000000 * block, be(images.at(1).leader, 4, 8) - 5000000)
                << "40 ms in ticks of 8 ns";
            EXPECT_EQ(part(image.leader, 12, 24), shape);
            EXPECT_EQ(image.trailer, be32(1) + be32(30));
        }
    }
}

} // namespace
