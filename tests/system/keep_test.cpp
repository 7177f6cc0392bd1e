// Two programs stand still at a breakpoint for longer than their cameras wait: one of them has asked the
// service to keep its control. Programs, service and cameras are real; the cameras' clocks are the test's.
#include "apps/process.h"
#include "protocol/bootstrap.h"
#include "protocol/kept_control.h"
#include "support/net_namespace.h"
#include "support/wired_camera.h"
#include "system/session.h"

#include <gmock/gmock.h>

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <atomic>
#include <mutex>

namespace {

using test::RawClient;
using test_support::NetNamespace;

const char* const kBoard = "[board 0]\n[board 0 port 0]\ninterface = host0\n";
constexpr unsigned kPatience = 3000;

// What a program and the test share.
struct Shared {
    std::atomic<bool> go, ready, wake;
    std::atomic<int> codes[4];
    std::atomic<bool> done;
};

// A camera whose clock stands still unless the test moves it.
class SteppedCamera {
public:
    SteppedCamera(const NetNamespace& space, const ethernet::Settings& settings, unsigned char last)
        : m_last(last) {
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

    unsigned kept() const { return m_kept; } // commands that another than its program has sent for that
    void pass(simcam::milliseconds time) {
        const std::lock_guard lock(m_mutex);
        m_now += time;
        m_core->due(m_now);
    }
    bool isControlled() {
        const std::lock_guard lock(m_mutex);
        return m_core->report(m_now).controller.has_value();
    }

private:
    void take(std::span<const std::uint8_t> frame) {
        const std::lock_guard lock(m_mutex);
        m_core->receive({frame.data(), frame.size()}, m_now);
        for (const auto& answer : m_core->due(m_now)) {
            m_socket->send(answer.data(), answer.size());
        }
        const auto at = [&](std::size_t place) { return frame[place] << 8 | frame[place + 1]; };
        const bool isOwn = frame.size() >= net::kMinFrame && frame[net::kDestinationMac + 5] == m_last &&
                           at(net::kUdpDestinationPort) == gvcp::kPort;
        const auto id = isOwn ? at(net::kUdpPayload + gvcp::kRequestId) : 0;
        m_kept += kept_control::isRequestId(static_cast<std::uint16_t>(id)) ? 1 : 0;
    }

    const unsigned char m_last;
    std::unique_ptr<netif::PacketSocket> m_socket;
    std::mutex m_mutex;
    simcam::Time m_now = simcam::Clock::now();
    std::optional<simcam::CameraCore> m_core;
    std::atomic<unsigned> m_kept{0};
    std::atomic<bool> m_stop{false};
    std::thread m_reader;
};

void waitFor(const std::atomic<bool>& flag) {
    while (!flag) {
        usleep(1000);
    }
}

// Takes control, is stopped, and works with the camera after that.
void program(Shared& shared, unsigned char lastByte, unsigned seconds) {
    waitFor(shared.go);
    std::string error;
    BoardHandle* board = nullptr;
    CameraHandle* camera = nullptr;
    const unsigned char mac[] = {2, 0, 0, 0, 0, lastByte};
    const bool found = softboard::loadConfiguration(kBoard, error) && Gbe_initBoard(0, 0, &board) == 0 &&
                       Gbe_scanNetwork(board, 0, 0) == 0 && Gbe_getCameraByMac(board, 0, mac, &camera) == 0;
    shared.codes[0] =
        found && Gbe_setHeartbeatTimeout(camera, kPatience) == 0 ? Gbe_connectCamera(camera) : 1;
    shared.codes[1] = Gbe_keepControlWhileStopped(camera, seconds);
    shared.ready = true;
    waitFor(shared.wake);
    GbeControlStatus status{};
    Gbe_getControlStatus(camera, &status);
    shared.codes[2] = status.loss;
    shared.codes[3] = Gbe_setIntegerValue(camera, "Number", 5);
    shared.done = true;
    pause();
}

class Child {
public:
    Child(const NetNamespace& space, unsigned char lastByte, unsigned seconds)
        : m_shared(new (mmap(
              nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared{}) {
        m_process = fork();
        if (m_process == 0) {
            const NetNamespace::Inside inside(space);
            program(*m_shared, lastByte, seconds);
        }
    }
    ~Child() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        munmap(m_shared, sizeof(Shared));
    }
    Shared* operator->() const { return m_shared; }
    bool stop() const {
        int status = 0;
        return kill(m_process, SIGSTOP) == 0 && waitpid(m_process, &status, WUNTRACED) == m_process &&
               WIFSTOPPED(status);
    }
    void goOn() const { kill(m_process, SIGCONT); }

private:
    Shared* m_shared;
    pid_t m_process;
};

// Another user than the service's, who has no socket on the interface; asks from this thread.
std::string askAsStranger(const std::string& request) {
    chmod(".", 0711);
    chmod(LIOMOL_SERVICE_SOCKET, 0666);
    if (syscall(SYS_setresuid, -1, 12345, -1) != 0) {
        return "no other user"; // in a user namespace with one
    }
    RawClient client;
    const std::string reply = client.connected() ? client.ask(request) : "not connected";
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
        {"COUNT BOARDS", "200-1\n200 OK\n"},
    };
    RawClient client;
    for (const auto& [request, reply] : rows) {
        EXPECT_EQ(client.ask(request), reply) << request;
    }
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
        int loss;
        int written;
    } rows[] = {{60, true, GBE_LOSS_NONE, 0}, {0, false, GBE_LOSS_HEARTBEAT, GBE_ERROR_CONNECTION}};
    const Child children[] = {{wire.host, 0x41, rows[0].seconds}, {wire.host, 0x42, rows[1].seconds}};
    SteppedCamera cameras[] = {
        {wire.camera, {{"mac", "02:00:00:00:00:41"}, {"ip", "169.254.1.65"}}, 0x41},
        {wire.camera, {{"mac", "02:00:00:00:00:42"}, {"ip", "169.254.1.66"}}, 0x42}};
    const test::EnvironmentFile board("LIOMOL_SOFTBOARD", kBoard);
    writeFile("service.conf", "idle-limit = 1\n"); // the time of the stop is longer
    std::optional<test::ServiceProcess> service;
    {
        const NetNamespace::Inside inside(wire.host);
        service.emplace(QStringList{"--config", "service.conf", "--boards", "0"});
    }
    ASSERT_TRUE(service->answers());
    for (const Child& child : children) {
        child->go = true;
    }
    for (const Child& child : children) {
        ASSERT_TRUE(eventually([&] { return child->ready.load(); }));
        EXPECT_EQ(child->codes[0], 0);
        EXPECT_EQ(child->codes[1], 0);
        EXPECT_TRUE(child.stop());
    }
    for (int step = 0; step < 4; ++step) {
        const unsigned heard = cameras[0].kept();
        ASSERT_TRUE(eventually([&] { return cameras[0].kept() > heard; }));
        for (SteppedCamera& camera : cameras) {
            camera.pass(simcam::milliseconds(kPatience * 2 / 3));
        }
    }
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(rows[i].seconds);
        EXPECT_EQ(cameras[i].isControlled(), rows[i].isControlled);
        children[i].goOn();
        children[i]->wake = true;
        ASSERT_TRUE(eventually([&] { return children[i]->done.load(); }));
        EXPECT_EQ(children[i]->codes[2], rows[i].loss);
        EXPECT_EQ(children[i]->codes[3], rows[i].written);
    }
    EXPECT_EQ(cameras[1].kept(), 0U);
    expectBounds();
    EXPECT_EQ(service->stop().status, 0);
}

} // namespace
