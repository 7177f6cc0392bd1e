// A camera on a real wire that is pulled, rebooted or replaced while an application uses it.
#include "support/net_namespace.h"
#include "support/wired_camera.h"
#include "system/session.h"

#include "protocol/bootstrap.h"

namespace {

using test_support::NetNamespace;
using test_support::VirtualWire;

constexpr int kTransportLayer = -40011;

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
    int read(long long& value) {
        Gbe_invalidateCache(m_camera);
        return Gbe_getIntegerValue(m_camera, "Number", &value);
    }

    static inline std::unique_ptr<VirtualWire> s_wire;
    std::optional<NetNamespace::Inside> m_inside;
    std::optional<Session> m_session;
    std::optional<WiredCamera> m_station;
    CameraHandle* m_camera = nullptr;
};

// Within the camera's patience control is still there when the wire is: nothing needs to be done.
TEST_F(LossTest, PulledForAMoment) {
    long long value = 0;
    ASSERT_TRUE(s_wire->camera.shell("ip link set camera0 down"));
    EXPECT_EQ(read(value), kTransportLayer);
    ASSERT_TRUE(s_wire->camera.shell("ip link set camera0 up"));
    EXPECT_TRUE(eventually([&] { return read(value) == 0; }));
    EXPECT_EQ(value, 7);
    EXPECT_EQ(write(8), 0);
    EXPECT_EQ((*m_station)->peekRegister(plain::kNumber), 8U);
}

} // namespace
