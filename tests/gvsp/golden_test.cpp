// The receiving side against packets that are written down by hand, and these against an independent
// dissector.
#include "gvsp/chunks.h"
#include "gvsp/resend.h"
#include "gvsp/rig.h"

#include "protocol/net.h"
#include "support/golden.h"
#include "system/dissector.h"

namespace {

using namespace gvsp;
using rig::Rig;

constexpr std::uint64_t kExtendedBlock = 0x100000007;

// The UDP payload of a golden frame, without padding of the frame.
stream::Bytes datagram(const std::string& name) {
    const golden::Frame frame = golden::load(name);
    const std::size_t length = big16(frame.data() + net::kUdpLength) - net::kUdpHeader;
    const auto begin = frame.begin() + net::kUdpPayload;
    return {begin, begin + static_cast<std::ptrdiff_t>(length)};
}

TEST(Golden, ImagesOfAllKinds) {
    struct Row {
        std::vector<std::string> packets;
        std::uint64_t block;
        std::uint16_t type;
        std::size_t size;
        std::uint64_t resent;
    };
    for (const Row& row : std::vector<Row>{
             {{"gvsp_leader", "gvsp_payload", "gvsp_trailer"}, 7, 1, 48, 0},
             {{"gvsp_leader_extended", "gvsp_payload_extended", "gvsp_trailer_extended"},
              kExtendedBlock,
              1,
              48,
              0},
             {{"gvsp_leader_chunks", "gvsp_payload_chunks", "gvsp_trailer_chunks"}, 8, 0x4001, 72, 0},
             {{"gvsp_leader", "gvsp_trailer", "gvsp_payload_resent"}, 7, 1, 48, 1},
             {{"gvsp_leader_extended", "gvsp_trailer_extended", "gvsp_payload_resent_extended"},
              kExtendedBlock,
              1,
              48,
              1}}) {
        SCOPED_TRACE(row.packets.back());
        Rig rig;
        for (const std::string& name : row.packets) {
            rig.send(datagram(name));
        }
        Image image;
        ASSERT_TRUE(rig.receiver.nextImage(image));
        EXPECT_EQ(image.status, ImageStatus::Complete);
        EXPECT_EQ(image.block, row.block);
        EXPECT_EQ(image.timestamp, 0x0102030405U);
        EXPECT_EQ(image.payloadType, row.type);
        EXPECT_EQ(image.withChunks, row.type != 1);
        EXPECT_EQ(image.size, row.size);
        EXPECT_FALSE(image.geometryAssumed);
        EXPECT_EQ(image.geometry.pixelFormat, 0x01080001U);
        EXPECT_EQ(image.geometry.width, 12U);
        EXPECT_EQ(image.geometry.height, 4U);
        EXPECT_EQ(image.geometry.offsetX, 16U);
        EXPECT_EQ(image.geometry.offsetY, 8U);
        for (std::uint8_t i = 0; i < 48; ++i) {
            EXPECT_EQ(image.buffer.data[i], 0x10 + i);
        }
        EXPECT_EQ(rig.receiver.counters().resentPackets, row.resent);
        const auto chunks = findChunks({image.buffer.data, image.size});
        ASSERT_EQ(chunks.size(), image.withChunks ? 2U : 0U);
        if (image.withChunks) {
            EXPECT_EQ(chunks[0].id, 1U);
            EXPECT_EQ(chunks[0].length, 48U);
            EXPECT_EQ(chunks[1].id, 0x1002U);
            EXPECT_EQ(chunks[1].offset, 56U);
        }
    }
}

TEST(Golden, TestPacketAndRefusal) {
    Rig rig;
    for (const char* name : {"gvsp_test_packet", "gvsp_leader", "gvsp_trailer", "gvsp_payload_unavailable"}) {
        rig.send(datagram(name));
    }
    EXPECT_EQ(rig.receiver.counters().testPackets, 1U);
    EXPECT_EQ(rig.receiver.counters().largestTestPacket, 92U);
    Image image;
    ASSERT_TRUE(rig.receiver.nextImage(image)) << "it will not come any more";
    EXPECT_EQ(image.missingBytes, 48U);
    EXPECT_EQ(rig.receiver.counters().unavailable, 1U);
}

TEST(Golden, PacketsAreAskedFor) {
    const auto bytes = [](const ResendWish& wish) {
        const ResendMessage message(wish, 1);
        return stream::Bytes(message.bytes().begin(), message.bytes().end());
    };
    EXPECT_EQ(bytes({258, 3, 5, false}), datagram("packetresend_cmd"));
    EXPECT_EQ(bytes({kExtendedBlock, 1, 5, true}), datagram("packetresend_cmd_extended"));
}

// What the dissector prints of one golden frame.
std::string dissected(const std::string& name, const std::string& fields) {
    writeCapture("golden.pcap", {golden::load(name)});
    return tshark("golden.pcap", "-d udp.port==20202,gvsp -T fields -E separator=, " + fields);
}

TEST(Golden, AnIndependentDissectorReadsTheSame) {
    ASSERT_FALSE(tshark("none", "--version").empty()) << "tshark is not installed: run scripts/setup test";
    const std::string header = "-e _ws.malformed -e gvsp.status -e gvsp.format ";
    const std::string ids = header + "-e gvsp.blockid16 -e gvsp.packetid24 ";
    const std::string extended = header + "-e gvsp.blockid64 -e gvsp.packetid32 ";
    const std::string leader =
        "-e gvsp.payloadtype -e gvsp.pixel -e gvsp.sizex -e gvsp.sizey -e gvsp.offsetx -e "
        "gvsp.offsety -e gvsp.timestamp";
    const std::string shape = "0x01080001,12,4,16,8,0x0000000102030405\n";
    const std::string resend =
        "-e _ws.malformed -e gvcp.cmd.command -e gvcp.cmd.flags -e gvcp.cmd.resend.blockid -e "
        "gvcp.cmd.resend.extendedblockid -e gvcp.cmd.resend.firstpacketid -e "
        "gvcp.cmd.resend.lastpacketid";
    const std::vector<std::array<std::string, 3>> rows{
        {"gvsp_leader", ids + leader, ",0x0000,0x01,7,0,0x0001," + shape},
        {"gvsp_leader_chunks", ids + leader, ",0x0000,0x01,8,0,0x4001," + shape},
        {"gvsp_leader_extended", extended + leader, ",0x0000,0x81,4294967303,0,0x0001," + shape},
        {"gvsp_payload", ids, ",0x0000,0x03,7,1\n"},
        {"gvsp_payload_resent", ids, ",0x0100,0x03,7,1\n"},
        {"gvsp_payload_unavailable", ids, ",0x800c,0x03,7,1\n"},
        {"gvsp_payload_resent_extended", extended + "-e gvsp.flag.packetresend",
         ",0x0000,0x83,4294967303,1,0x0001\n"},
        {"gvsp_trailer", ids + "-e gvsp.payloadtype -e gvsp.sizey", ",0x0000,0x02,7,2,0x0001,4\n"},
        {"gvsp_trailer_extended", extended + "-e gvsp.sizey", ",0x0000,0x82,4294967303,2,4\n"},
        {"gvsp_trailer_chunks", ids + "-e gvsp.sizey -e gvsp.chunkdatapayloadlengthhex",
         ",0x0000,0x02,8,2,4,0x00000048\n"},
        {"gvsp_test_packet", ids, ",0x0000,0x03,0,0\n"},
        {"packetresend_cmd", resend, ",0x0040,0x00,0x0102,,0x000003,0x000005\n"},
        {"packetresend_cmd_extended", resend, ",0x0040,0x10,,0x0000000100000007,0x00000001,0x00000005\n"},
    };
    for (const auto& [name, fields, expected] : rows) {
        EXPECT_EQ(dissected(name, fields), expected) << name;
    }
}

} // namespace
