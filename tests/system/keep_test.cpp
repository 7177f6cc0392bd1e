// Two programs stand still at a breakpoint for longer than their cameras wait: one of them has asked the
// service to keep its control. Programs, service and cameras are real; the cameras' clocks are the test's.
#include "apps/process.h"
#include "netif/PacketSocket.h"
#include "protocol/kept_control.h"
#include "system/children.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/syscall.h>

namespace {

using test::RawClient;
using test_support::NetNamespace;

constexpr unsigned kPatience = 3000;

// A camera whose clock stands still unless the test moves it.
class SteppedCamera {
public:
    SteppedCamera(const NetNamespace& space, const ethernet::Settings& settings) {
        const NetNamespace::Inside inside(space);
        std::string error;
        netif::PacketSocket::Options options;
        options.promiscuous = true;
        m_socket = netif::PacketSocket::create("camera0", options, error);
        auto parsed = simcam::parseSettings(plainCamera(settings), error);
        auto description = simcam::makeDescription(parsed.value(), error);
        m_core.emplace(std::move(*parsed), std::move(description.value()), m_now);
        m_reader = std::thread([this] {
            while (!m_stop) {
                const auto frame = m_socket->receive(netif::Clock::now() + std::chrono::seconds(60));
                frame.empty() ? void() : take(frame);
            }
        });
    }
    ~SteppedCamera() {
        m_stop = true;
        m_socket->interrupt();
        m_reader.join();
    }

    unsigned kept() const { return m_kept; } // commands on the wire that no program has sent for itself
    // Whether it is controlled when that time has passed.
    bool pass(simcam::milliseconds time) {
        const std::lock_guard lock(m_mutex);
        m_now += time;
        m_core->due(m_now);
        return m_core->report(m_now).controller.has_value();
    }

private:
    void take(std::span<const std::uint8_t> frame) {
        const std::lock_guard lock(m_mutex);
        m_core->receive({frame.data(), frame.size()}, m_now);
        for (const auto& answer : m_core->due(m_now)) {
            m_socket->send(answer.data(), answer.size());
        }
        constexpr std::size_t kId = net::kUdpPayload + gvcp::kRequestId;
        const bool isLong = frame.size() >= net::kMinFrame;
        const auto id = static_cast<std::uint16_t>(isLong ? frame[kId] << 8 | frame[kId + 1] : 0);
        m_kept += kept_control::isRequestId(id) ? 1 : 0;
    }

    std::unique_ptr<netif::PacketSocket> m_socket;
    std::mutex m_mutex;
    simcam::Time m_now = simcam::Clock::now();
    std::optional<simcam::CameraCore> m_core;
    std::atomic<unsigned> m_kept{0};
    std::atomic<bool> m_stop{false};
    std::thread m_reader;
};

// Takes control, is stopped, and works with the camera after that.
void work(unsigned char lastByte, unsigned seconds, Common& common, Common::Result& result) {
    const Program program(lastByte);
    Gbe_setHeartbeatTimeout(program.camera, kPatience);
    result.codes[0] = Gbe_connectCamera(program.camera);
    result.codes[1] = Gbe_keepControlWhileStopped(program.camera, seconds);
    ++common.ready;
    while (!common.done) {
        usleep(1000);
    }
    GbeControlStatus status{};
    Gbe_getControlStatus(program.camera, &status);
    result.codes[2] = status.loss;
    result.codes[3] = Gbe_setIntegerValue(program.camera, "Number", 5);
    Gbe_freeBoard(program.board);
}

bool stop(const Child& child) {
    int status = 0;
    return kill(child.id(), SIGSTOP) == 0 && waitpid(child.id(), &status, WUNTRACED) == child.id() &&
           WIFSTOPPED(status);
}

// Another user than the service's, who has no socket on the interface; asks from this thread.
std::string askAsStranger(const std::string& request) {
    chmod(".", 0711);
    chmod(LIOMOL_SERVICE_SOCKET, 0666);
    if (syscall(SYS_setresuid, -1, 12345, -1) != 0) {
        return "no other user"; // in a user namespace with one
    }
    RawClient client;
    std::string reply = client.connected() ? client.ask(request) : "not connected";
    syscall(SYS_setresuid, -1, 0, -1);
    return reply;
}

void expectBounds() {
    const std::string good =
        "KEEP BOARD 0 PORT 0 CAMERA 02:00:00:00:00:77 AT 169.254.1.77 FROM 169.254.1.1 3270 FOR 3600";
    const auto with = [&](const std::string& from, const std::string& to) {
        return std::string(good).replace(good.find(from), from.size(), to);
    };
    const std::pair<std::string, const char*> rows[] = {
        {with("PORT 0", "PORT 4"), "510 no such port\n"},
        {with("BOARD 0", "BOARD 1"), "510 no such port\n"},
        {with("PORT 0", "PORT 1"), "510 this port is not a network interface\n"},
        {with("3270", "3271"), "510 commands do not come from this UDP port\n"},
        {with("3600", "3601"), "510 not 1 to 3600 seconds\n"},
        {with("3600", "0"), "510 not 1 to 3600 seconds\n"},
        {with("02:", "03:"), "510 not the address of a station\n"},
        {with("169.254.1.77", "224.0.0.1"), "510 not the address of a station\n"},
        {with("FOR", "FOR  "), "510 unknown request\n"},
        {good, "200 OK\n"},
        {good, "510 this connection keeps control already\n"},
    };
    RawClient client;
    for (const auto& [request, reply] : rows) {
        EXPECT_EQ(client.ask(request), reply) << request;
    }
    EXPECT_EQ(RawClient().line(), "") << "closed, because it asks for nothing";
    EXPECT_EQ(client.ask("COUNT BOARDS"), "200-1\n200 OK\n") << "older, and open";
    std::vector<std::unique_ptr<RawClient>> more;
    std::string last = "200 OK\n";
    while (last == "200 OK\n" && more.size() < 100) {
        more.push_back(std::make_unique<RawClient>());
        last = more.back()->ask(good);
    }
    EXPECT_EQ(last, "510 control of too many cameras is kept already\n");
    EXPECT_EQ(more.size(), 32U) << "one of them is the first client's";
    more.clear();
    EXPECT_TRUE(eventually([&] { return RawClient().ask(good) == "200 OK\n"; })) << "there is room again";
    EXPECT_THAT(
        askAsStranger(good),
        testing::AnyOf("510 this user has no socket on network interface host0\n", "no other user"));
}

TEST(Keep, ControlLastsThroughABreakpointForWhoAskedForIt) {
    test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        GTEST_SKIP() << wire.error();
    }
    const struct {
        unsigned seconds;
        bool isControlled; // at the end of the stop
        std::vector<int> codes;
    } rows[] = {
        {60, true, {0, 0, GBE_LOSS_NONE, 0}}, {0, false, {0, 0, GBE_LOSS_HEARTBEAT, GBE_ERROR_CONNECTION}}};
    const CommonMemory common;
    Child children[] = {
        {*common, wire.host, [&] { work(0x41, rows[0].seconds, *common, common->of[0]); }},
        {*common, wire.host, [&] { work(0x42, rows[1].seconds, *common, common->of[1]); }}};
    SteppedCamera cameras[] = {
        {wire.camera, {{"mac", "02:00:00:00:00:41"}, {"ip", "169.254.1.65"}}},
        {wire.camera, {{"mac", "02:00:00:00:00:42"}, {"ip", "169.254.1.66"}}}};
    const test::EnvironmentFile board("LIOMOL_SOFTBOARD", kBoard);
    writeFile("service.conf", "idle-limit = 4\n");
    std::optional<test::ServiceProcess> service;
    {
        const NetNamespace::Inside inside(wire.host);
        service.emplace(QStringList{"--config", "service.conf", "--boards", "0"});
    }
    ASSERT_TRUE(service->answers());
    common->go = true;
    ASSERT_TRUE(eventually([&] { return common->ready == 2; }));
    ASSERT_TRUE(stop(children[0]) && stop(children[1]));
    bool isControlled[2] = {};
    for (int step = 0; step < 4; ++step) {
        const unsigned heard = cameras[0].kept();
        ASSERT_TRUE(eventually([&] { return cameras[0].kept() > heard; }));
        for (std::size_t i = 0; i < 2; ++i) {
            isControlled[i] = cameras[i].pass(simcam::milliseconds(kPatience * 2 / 3));
        }
    }
    common->done = true;
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(isControlled[i], rows[i].isControlled) << i;
        kill(children[i].id(), SIGCONT);
        children[i].wait();
        EXPECT_EQ(std::vector<int>(common->of[i].codes, common->of[i].codes + 4), rows[i].codes) << i;
    }
    expectBounds();
    EXPECT_EQ(service->stop().status, 0);
}

} // namespace
