// The figures of a link are what a listener counts that hears all of its frames.
#include "liomol/diagnostics.h"
#include "session.h"

#include "protocol/gvcp.h"
#include "protocol/net.h"

#include <map>
#include <mutex>

namespace {

// What the library sent and received on board 0, port 0, by what it is.
class Listener {
public:
    Listener() { EXPECT_EQ(Gbe_setFrameListener(&Listener::call, this), 0); }
    ~Listener() { Gbe_setFrameListener(nullptr, nullptr); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::uint64_t count(const std::string& kind) {
        const std::lock_guard lock(m_mutex);
        return m_counts[kind];
    }

private:
    static void call(void* user, int board, unsigned port, int sent, const void* frame, unsigned length) {
        EXPECT_EQ(board, 0);
        EXPECT_EQ(port, 0U);
        static_cast<Listener*>(user)->hear(sent != 0, static_cast<const std::uint8_t*>(frame), length);
    }
    void hear(bool sent, const std::uint8_t* frame, unsigned length) {
        const std::lock_guard lock(m_mutex);
        ++m_counts[sent ? "sent" : "received"];
        ASSERT_GE(length, net::kUdpPayload + gvcp::kHeader);
        const std::uint8_t* const gvcp = frame + net::kUdpPayload;
        const auto code =
            static_cast<gvcp::Command>(gvcp[gvcp::kCommandCode] << 8 | gvcp[gvcp::kCommandCode + 1]);
        if (sent && code >= gvcp::Command::ReadRegCmd && code <= gvcp::Command::WriteMemCmd) {
            ++m_counts["command"];
        } else if (!sent && (gvcp[gvcp::kAckStatus] | gvcp[gvcp::kAckStatus + 1]) != 0) {
            ++m_counts["refusal"];
        }
    }

    std::mutex m_mutex;
    std::map<std::string, std::uint64_t> m_counts; // under m_mutex
};

GbeLinkStatistics statisticsOf(CameraHandle* camera) {
    GbeLinkStatistics now{};
    EXPECT_EQ(Gbe_getLinkStatistics(camera, &now), 0);
    return now;
}

TEST(LinkStatistics, AreWhatWentOverTheWire) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera({{"mac", "02:00:00:00:00:31"}}));
    CameraHandle* camera = session.findFirst();
    const GbeLinkStatistics before = statisticsOf(camera);
    EXPECT_EQ(before.use, GBE_LINK_FREE);
    Listener listener;
    ASSERT_EQ(Gbe_connectCamera(camera), 0);
    const GbeLinkStatistics connected = statisticsOf(camera);
    EXPECT_EQ(connected.use, GBE_LINK_CONTROL);
    EXPECT_EQ(connected.mac[5], 0x31);
    EXPECT_EQ(connected.pid, getpid());
    unsigned word = 0;
    EXPECT_EQ(Gbe_readRegister(camera, 1, &word), GBE_ERROR_TRANSPORT_LAYER);
    EXPECT_TRUE(eventually([&] { return statisticsOf(camera).heartbeats >= 2; }));
    EXPECT_LT(statisticsOf(camera).heartbeatAgeNs, 60'000'000'000U);

    // Everybody sees the same, under the name of this program.
    unsigned count = 64;
    GbeLinkStatistics all[64];
    ASSERT_EQ(Gbe_getAllLinkStatistics(all, &count), 0);
    unsigned ours = 0;
    while (ours < count && all[ours].pid != getpid()) {
        ++ours;
    }
    ASSERT_LT(ours, count);
    EXPECT_EQ(all[ours].use, GBE_LINK_CONTROL);
    EXPECT_STREQ(all[ours].program, program_invocation_short_name);
    EXPECT_GE(all[ours].commands, connected.commands);

    ASSERT_TRUE(softboard::detach(0, 0, station));
    EXPECT_EQ(Gbe_readRegister(camera, 0, &word), GBE_ERROR_CONNECTION);
    ASSERT_TRUE(softboard::attach(0, 0, station));
    Gbe_disconnectCamera(camera);
    const GbeLinkStatistics end = statisticsOf(camera);
    EXPECT_EQ(end.use, GBE_LINK_FREE);
    EXPECT_EQ(end.framesSent - before.framesSent, listener.count("sent"));
    EXPECT_EQ(end.framesReceived - before.framesReceived, listener.count("received"));
    EXPECT_EQ(end.commands + end.repeated - before.commands - before.repeated, listener.count("command"));
    EXPECT_EQ(end.refused - before.refused, listener.count("refusal"));
    EXPECT_GE(end.unanswered - before.unanswered, 1U);
    EXPECT_GE(end.repeated - before.repeated, 3U);
    EXPECT_GE(end.roundTrips - before.roundTrips, 5U);
    EXPECT_LE(end.roundTrips, end.commands);
    EXPECT_LE(end.lastRoundTripNs, end.longestRoundTripNs);
    EXPECT_LE(end.longestRoundTripNs, end.roundTripNs);
    Gbe_freeCamera(camera);
}

} // namespace
