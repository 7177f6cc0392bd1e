// Images over a virtual wire between network namespaces, as over a network card.
#include "system/images.h"

#include "support/net_namespace.h"
#include "support/wired_camera.h"

#include <optional>

namespace {

using test_support::NetNamespace;
using test_support::VirtualWire;

class ImagesOverAWire : public testing::Test {
protected:
    // Made while the process has one thread.
    static void SetUpTestSuite() { s_wire = std::make_unique<VirtualWire>(); }
    static void TearDownTestSuite() { s_wire.reset(); }

    void SetUp() override {
        if (!s_wire->error().empty()) {
            GTEST_SKIP() << s_wire->error();
        }
        inside.emplace(s_wire->host);
        session.emplace(1, "[board 0 port 0]\ninterface = host0");
        station.emplace(s_wire->camera, "camera0", ethernet::Settings{{"ip", "169.254.1.65"}});
        camera = session->connectFirst();
        setUp(camera, {{"Width", 640}, {"Height", 200}});
    }
    void TearDown() override {
        Gbe_freeCamera(camera);
        station.reset();
        session.reset();
        inside.reset();
    }

    static void setMtu(int host, int cameras) {
        ASSERT_TRUE(s_wire->host.shell("ip link set host0 mtu " + std::to_string(host)));
        ASSERT_TRUE(s_wire->camera.shell("ip link set camera0 mtu " + std::to_string(cameras)));
    }
    static inline std::unique_ptr<VirtualWire> s_wire;
    std::optional<NetNamespace::Inside> inside;
    std::optional<Session> session;
    std::optional<WiredCamera> station;
    CameraHandle* camera = nullptr;
};

TEST_F(ImagesOverAWire, PacketsAreAsLargeAsThePathCarries) {
    const struct {
        int hostMtu, cameraMtu, wished;
        unsigned size;
    } rows[] = {
        {1500, 1500, GBE_PACKET_SIZE_AUTO, 1500}, {9000, 9000, GBE_PACKET_SIZE_AUTO, 9000},
        {4000, 4000, GBE_PACKET_SIZE_AUTO, 4000}, {9000, 3210, GBE_PACKET_SIZE_AUTO, 3208},
        {1400, 1400, GBE_PACKET_SIZE_AUTO, 1400}, {9000, 9000, 2000, 2000},
        {9000, 9000, GBE_PACKET_SIZE_KEEP, 2000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.hostMtu) + " " + std::to_string(row.cameraMtu));
        setMtu(row.hostMtu, row.cameraMtu);
        GbeStreamOptions options = streamOptions();
        options.packetSize = row.wished;
        GbeStream* const stream = openStream(camera, options);
        EXPECT_EQ(statisticsOf(stream).packetSize, row.size);
        EXPECT_EQ(station.value()->peekRegister(0x0D04).value_or(0) & 0xFFFF, row.size);
        ASSERT_EQ(Gbe_startAcquisition(camera), 0);
        fetch(stream, 3, [](const GbeImage& image) { expectEncoded(image); });
        EXPECT_EQ(Gbe_stopAcquisition(camera), 0);
        EXPECT_EQ(Gbe_closeStream(stream), 0);
    }
    setMtu(1500, 1500);
}

TEST_F(ImagesOverAWire, EveryPixelOfEveryFormatIsTheCameras) {
    expectEveryPixelOfEveryFormat(camera);
}

// Packets for which the ring has no room are cut by the kernel; a while later it has.
TEST_F(ImagesOverAWire, TheRingGrowsWithTheInterface) {
    GbeStream* const stream = openStream(camera);
    setMtu(9000, 9000);
    ASSERT_EQ(Gbe_setIntegerValue(camera, "GevSCPSPacketSize", 8000), 0);
    ASSERT_EQ(Gbe_startAcquisition(camera), 0);
    EXPECT_TRUE(eventually([&] {
        GbeImage image{};
        if (Gbe_waitImage(stream, kPatient, &image) == 0) {
            expectEncoded(image);
            EXPECT_EQ(Gbe_giveBackImage(stream, image.id), 0);
        }
        return image.status == GBE_IMAGE_COMPLETE && image.size != 0;
    }));
    EXPECT_EQ(Gbe_closeStream(stream), 0);
    setMtu(1500, 1500);
}

// Whoever waits is told; the stream goes on as long as the camera is still controlled.
TEST_F(ImagesOverAWire, AnInterfaceThatWasOffForAMomentEndsNothing) {
    EXPECT_EQ(Gbe_setIntegerValue(camera, "GevHeartbeatTimeout", 60000), 0);
    GbeStream* const stream = openStream(camera);
    ASSERT_EQ(Gbe_startAcquisition(camera), 0);
    const auto goesOn = [&] { // with more images than may have waited
        int images = 0;
        return eventually([&] {
            GbeImage image{};
            if (Gbe_waitImage(stream, kPatient, &image) == 0) {
                expectEncoded(image);
                EXPECT_EQ(Gbe_giveBackImage(stream, image.id), 0);
                ++images;
            }
            return images > 20;
        });
    };
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(goesOn());
        ASSERT_TRUE(s_wire->host.shell("ip link set host0 down"));
        GbeImage image{};
        int code = 0;
        EXPECT_TRUE(eventually([&] {
            code = Gbe_waitImage(stream, kPatient, &image);
            return code != 0 || Gbe_giveBackImage(stream, image.id) != 0;
        }));
        EXPECT_EQ(code, GBE_ERROR_CONNECTION);
        EXPECT_EQ(troubleOf(stream), "The link to the camera is gone.");
        ASSERT_TRUE(s_wire->host.shell("ip link set host0 up"));
    }
    EXPECT_TRUE(goesOn());
    EXPECT_EQ(Gbe_closeStream(stream), 0);
}

TEST_F(ImagesOverAWire, PacketsThatThePathDoesNotCarryAreNamed) {
    setMtu(1500, 9000);
    GbeStreamOptions options = streamOptions();
    options.packetSize = 8000;
    GbeStream* const stream = openStream(camera, options);
    ASSERT_EQ(Gbe_startAcquisition(camera), 0);
    EXPECT_EQ(
        troubleOf(stream), "Packets of 8000 bytes do not arrive, such of 576 bytes do: the path does not "
                           "carry what the camera sends.");
    EXPECT_EQ(Gbe_closeStream(stream), 0);
    setMtu(1500, 1500);
}

} // namespace
