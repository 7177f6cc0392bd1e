// The packets of the camera's stream beside those of the golden files, and as an independent dissector reads
// them.
#include "harness.h"

#include "simcam/Block.h"
#include "simcam/Scene.h"
#include "support/golden.h"
#include "system/dissector.h"

#include <algorithm>
#include <numeric>

namespace {

using namespace simcam_test;

TEST(SimcamStream, PacketsAreThoseOfTheGoldenFiles) {
    simcam::Station station(0x021122334455, {0xA9FE0764, 0xFFFF0000, 0});
    simcam::StreamFrames stream(station, {0x020000000001, 0xA9FE072A, 1520}, 20202, true);
    simcam::Block image;
    image.number = 7;
    image.timestamp = 0x0000000102030405;
    image.payloadType = 1;
    image.pixelFormat = 0x01080001;
    image.width = 12;
    image.height = 4;
    image.offsetX = 16;
    image.offsetY = 8;
    Bytes pixels(48);
    std::iota(pixels.begin(), pixels.end(), std::uint8_t{0x10});
    image.picture = std::make_shared<const Bytes>(pixels);
    image.image = *image.picture;
    image.packetSize = 1500;
    simcam::Block extended = image;
    extended.number = 4294967303;
    extended.extendedIds = true;
    simcam::Block chunks = image;
    chunks.number = 8;
    chunks.payloadType = 0x4001;
    chunks.chunkLayout = 1;
    chunks.chunks = be32(1) + be32(48) + be32(0) + be32(8) + be32(0x1002) + be32(8);
    simcam::PacketBatch out;
    std::vector<std::string> names;
    const auto send = [&](const simcam::Block& block, std::uint32_t id, bool again, const char* name) {
        stream.packet(block, id, again, out);
        names.emplace_back(name);
    };
    send(image, 0, false, "gvsp_leader");
    send(image, 1, false, "gvsp_payload");
    send(image, 1, true, "gvsp_payload_resent");
    send(image, 2, false, "gvsp_trailer");
    send(extended, 0, false, "gvsp_leader_extended");
    send(extended, 1, false, "gvsp_payload_extended");
    send(extended, 1, true, "gvsp_payload_resent_extended");
    send(extended, 2, false, "gvsp_trailer_extended");
    send(chunks, 0, false, "gvsp_leader_chunks");
    send(chunks, 1, false, "gvsp_payload_chunks");
    send(chunks, 2, false, "gvsp_trailer_chunks");
    stream.refusal(false, 7, 1, gvsp::Status::PacketUnavailable, out);
    names.emplace_back("gvsp_payload_unavailable");
    stream.test(92, out);
    names.emplace_back("gvsp_test_packet");
    const auto frames = out.copies();
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(frames[i], golden::load(names[i])) << names[i];
    }
}

constexpr const char* kOpenAndWide =
    "StreamDestination=0xA9FE072A; StreamPort=1520; Width=64; Height=32; FrameRate=25;";

TEST(SimcamStream, IsSoundToAnIndependentDissector) {
    std::vector<Bytes> all;
    for (const char* settings :
         {"ChunkModeActive=0", "ChunkModeActive=1", "ChunkModeActive=1; StreamConfiguration=0",
          "GvspConfiguration=0x40000000", "GvspConfiguration=0x40000000; ChunkModeActive=1"}) {
        Bench bench;
        bench.takeControl();
        run(bench, settings, kOpenAndWide + std::string(settings) + "; AcquisitionStart=1");
        for (Bytes& frame : bench.live(milliseconds(60))) {
            all.push_back(std::move(frame));
        }
    }
    writeCapture("stream.pcap", all);
    const std::string as = "-d udp.port==1520,gvsp ";
    ASSERT_FALSE(tshark("stream.pcap", "--version").empty())
        << "tshark is not installed: run scripts/setup test";
    EXPECT_EQ(tshark("stream.pcap", as + "-Y '_ws.malformed || ip.checksum.status == 0 || !gvsp'"), "");
    EXPECT_EQ(
        tshark(
            "stream.pcap", as + "-Y 'gvsp.format in {1, 0x81}' -T fields -e gvsp.payloadtype -e gvsp.sizex"),
        "0x0001\t64\n0x4001\t64\n0x0004\t\n0x0001\t64\n0x4001\t64\n");
    EXPECT_EQ(
        tshark(
            "stream.pcap",
            as + "-Y 'gvsp.format in {2, 0x82}' -T fields -e gvsp.payloadtype -e gvsp.sizey "
                 "-e gvsp.payloadlength -e gvsp.chunkdatapayloadlengthhex -e gvsp.chunklayoutidhex"),
        "0x0001\t32\t\t\t\n0x4001\t32\t\t0x00000838\t0x0000000f\n0x0004\t\t2104\t\t\n0x0001\t32\t\t\t\n"
        "0x4001\t32\t\t0x00000838\t0x0000000f\n");
}

// Of each pattern in RGB8: the first and the last pixel of the first line and of the last, and whether it
// moves.
TEST(SimcamScene, PatternsAreWhatTheyAreCalled) {
    const struct {
        simcam::TestPattern pattern;
        std::uint8_t corners[4];
        bool moves;
    } rows[] = {
        {simcam::TestPattern::GreyHorizontalRamp, {0, 255, 0, 255}, false},
        {simcam::TestPattern::GreyVerticalRamp, {0, 0, 255, 255}, false},
        {simcam::TestPattern::GreyHorizontalRampMoving, {0, 255, 0, 255}, true},
        {simcam::TestPattern::HorizontalLineMoving, {32, 32, 255, 255}, true},
        {simcam::TestPattern::VerticalLineMoving, {255, 32, 255, 32}, true},
        {simcam::TestPattern::ColorBar, {255, 0, 255, 0}, false},
        {simcam::TestPattern::Off, {0, 191, 187, 135}, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.pattern));
        const simcam::Scene scene({row.pattern, 0x02180014, 96, 94});
        const Bytes first(scene.picture(0).bytes.begin(), scene.picture(0).bytes.end());
        ASSERT_EQ(first.size(), 96U * 94 * 3);
        const std::size_t places[] = {0, 95, 93 * 96, 94 * 96 - 1};
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(first[places[i] * 3], row.corners[i]) << i;
        }
        EXPECT_EQ(!std::ranges::equal(first, scene.picture(1).bytes), row.moves);
        for (std::uint64_t block = 2; block < 300; ++block) { // all phases lie within what was rendered
            const auto bytes = scene.picture(block).bytes;
            ASSERT_EQ(bytes.size(), first.size());
            ASSERT_LE(
                bytes.data() + bytes.size(), scene.picture(0).owner->data() + scene.picture(0).owner->size());
        }
    }
}

} // namespace
