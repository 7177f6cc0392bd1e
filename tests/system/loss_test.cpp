// A camera on a real wire that is pulled, rebooted or replaced while an application uses it.
#include "support/net_namespace.h"
#include "support/wired_camera.h"
#include "system/session.h"

#include "protocol/bootstrap.h"

namespace {

using test_support::NetNamespace;
using test_support::VirtualWire;

class LossTest : public testing::Test {
protected:
    // Made while the process has one thread.
    static void SetUpTestSuite() { s_wire = std::make_unique<VirtualWire>(); }
    static void TearDownTestSuite() { s_wire.reset(); }

    void SetUp() override {
        if (!s_wire->error().empty()) {
            GTEST_SKIP() << s_wire->error();
        }
        m_inside.emplace(s_wire->host);
        m_session.emplace(1, "[board 0 port 0]\ninterface = host0");
        plugIn("02:00:00:00:00:41");
        m_camera = m_session->connectFirst();
        EXPECT_EQ(write(7), 0);
    }

    void plugIn(const std::string& mac) {
        m_station.reset();
        m_station.emplace(s_wire->camera, "camera0", plainCamera({{"mac", mac}, {"ip", "169.254.1.65"}}));
    }

    int write(long long value) { return Gbe_setIntegerValue(m_camera, "Number", value); }
    // The value, or the code of a failure.
    long long read() {
        long long value = 0;
        Gbe_invalidateCache(m_camera);
        const int result = Gbe_getIntegerValue(m_camera, "Number", &value);
        return result != 0 ? result : value;
    }
    int loss() {
        GbeControlStatus status{};
        EXPECT_EQ(Gbe_getControlStatus(m_camera, &status), 0);
        return status.loss;
    }

    static inline std::unique_ptr<VirtualWire> s_wire;
    std::optional<NetNamespace::Inside> m_inside;
    std::optional<Session> m_session;
    std::optional<WiredCamera> m_station;
    CameraHandle* m_camera = nullptr;
};

TEST_F(LossTest, PulledForLongIsConnectedAnewWhenItIsBack) {
    ASSERT_TRUE(s_wire->camera.shell("ip link set camera0 down"));
    EXPECT_TRUE(eventually([&] { return write(8) == GBE_ERROR_CONNECTION; }));
    EXPECT_EQ(loss(), GBE_LOSS_SILENT);
    ASSERT_TRUE(s_wire->camera.shell("ip link set camera0 up"));
    EXPECT_TRUE(eventually([] { return softboard::portState(0, 0).linkUp; }));
    EXPECT_TRUE(eventually([&] { return Gbe_connectCamera(m_camera) == 0; }));
    EXPECT_EQ(loss(), GBE_LOSS_NONE);
    EXPECT_EQ(read(), 7) << "nothing was written meanwhile";
}

// Another camera has the address: it must not be taken for the old one, whose handle stays without a camera.
TEST_F(LossTest, ReplacedByAnotherWithItsAddressIsFoundByAScan) {
    plugIn("02:00:00:00:00:42");
    EXPECT_TRUE(eventually([&] { return write(8) == GBE_ERROR_CONNECTION; }));
    EXPECT_EQ(Gbe_connectCamera(m_camera), GBE_ERROR_XML_READ);
    EXPECT_EQ((*m_station)->log().count(gvcp::Command::WriteRegCmd), 0U) << "it was spoken to";
    Gbe_freeCamera(m_camera);
    m_camera = m_session->connectFirst();
    EXPECT_EQ(Gbe_getCameraInfo(m_camera)->mac[5], 0x42);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(write(8), 0);
}

} // namespace
