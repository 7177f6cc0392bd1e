// The programs over a virtual Ethernet: the service's port is an interface, and what can go wrong on a wire
// is staged, named by gbe doctor and mended.
#include "netif/PacketSocket.h"
#include "process.h"
#include "support/golden.h"
#include "support/net_namespace.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>

namespace {

using test::Outcome;
using test::Program;
using testing::HasSubstr;

// The camera of the golden frames, which answers scans well and everything else with another frame.
class AstrayCamera {
public:
    explicit AstrayCamera(golden::Frame other, golden::Frame discovery = golden::load("discovery_ack"))
        : m_other(std::move(other)), m_discovery(std::move(discovery)),
          m_socket(netif::PacketSocket::create("camera0", {}, m_error)) {
        EXPECT_NE(m_socket, nullptr) << m_error;
        m_thread = std::thread([this] { run(); });
    }
    ~AstrayCamera() {
        m_stop = true;
        m_socket->interrupt();
        m_thread.join();
    }
    AstrayCamera(const AstrayCamera&) = delete;
    AstrayCamera& operator=(const AstrayCamera&) = delete;

private:
    void run() {
        while (!m_stop) {
            const auto frame = m_socket->receive(netif::Clock::now() + std::chrono::seconds(1));
            const bool command =
                frame.size() >= 50 && frame[12] == 8 && frame[36] == 0x0F && frame[42] == 0x42;
            if (command) {
                answer(frame, frame[45] == 2 ? m_discovery : m_other);
            }
        }
    }
    void answer(std::span<const std::uint8_t> command, golden::Frame ack) {
        std::copy_n(command.begin() + 6, 6, ack.begin());
        if (ack[13] == 0) {        // IPv4
            ack[40] = ack[41] = 0; // no UDP checksum
            std::copy_n(command.begin() + 48, 2, ack.begin() + 48);
        }
        m_socket->send(ack.data(), ack.size());
    }

    const golden::Frame m_other;
    const golden::Frame m_discovery;
    std::string m_error;
    const std::unique_ptr<netif::PacketSocket> m_socket;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

TEST(DoctorOnAWire, NamesWhatIsWrongAndWhatMendsIt) {
    const test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        GTEST_SKIP() << wire.error();
    }
    const test_support::NetNamespace::Inside inside(wire.host);
    const test::EnvironmentFile board("LIOMOL_SOFTBOARD", "[board 0 port 0]\ninterface = host0\n");
    test::ServiceProcess service;
    ASSERT_TRUE(service.answers());
    const auto startCameras = [&] {
        const test_support::NetNamespace::Inside there(wire.camera);
        return std::make_unique<Program>(
            GBE_SIMCAM, QStringList{
                            "--interface", "camera0", "--camera", "name=near,ip=169.254.0.9", "--camera",
                            "name=far,ip=10.0.0.9,mac=02:00:00:00:00:77"});
    };
    // The kernel tells of a carrier after a moment.
    const auto untilHost0Has = [&](const std::string& flag) {
        return wire.host.shell(
            "timeout 30 sh -c 'until ip link show host0 | grep -q " + flag + "; do :; done'");
    };
    // Looks, and wants these parts ('|' between them) and an exit status that goes with them.
    const auto look = [](const char* parts, const QStringList& program = {GBE}) {
        SCOPED_TRACE(parts);
        const Outcome outcome = Program::run(
            program.front().toLocal8Bit().constData(), program.mid(1) << "--port"
                                                                      << "0"
                                                                      << "doctor");
        for (const QString& part : QString(parts).split('|')) {
            EXPECT_THAT(outcome.out, HasSubstr(part.toStdString()));
        }
        EXPECT_EQ(outcome.status, outcome.out.ends_with("\nAll is well.\n") ? 0 : 1) << outcome.err;
        return outcome.out;
    };

    ASSERT_TRUE(wire.host.shell("ip link set host0 down"));
    look("FAIL  port 0    host0 is switched off\n|mend    sudo ip link set host0 up\n");
    ASSERT_TRUE(wire.host.shell("ip link set host0 up") && wire.camera.shell("ip link set camera0 down"));
    ASSERT_TRUE(untilHost0Has("NO-CARRIER"));
    look("FAIL  port 0    host0 has nothing at its other end");
    ASSERT_TRUE(wire.camera.shell("ip link set camera0 up") && untilHost0Has("LOWER_UP.*state.UP"));
    look("ok    port 0    host0, MTU 1500; link up; |FAIL  port 0    nothing answers a scan\n");
    look(
        "FAIL  port 0    no right to raw frames on host0\n|mend    sudo setcap cap_net_raw+ep /|"
        "--    board 0   not looked at\n1 problem.\n",
        {"setpriv", "--bounding-set=-net_raw", "--inh-caps=-net_raw", GBE});

    auto cameras = startCameras();
    ASSERT_TRUE(cameras->prints("camera 2: ready"));
    const std::string before =
        look(" near: 169.254.0.9, free, packets of 1500 bytes\n|"
             " far: 10.0.0.9 is in another subnet than port 0, 169.254.7.42/16\n|\n1 problem.\n");
    const std::string mark = "mend    gbe ";
    const std::size_t mend = before.find(mark);
    ASSERT_NE(mend, before.npos) << before;
    const std::size_t from = mend + mark.size();
    const Outcome mended = Program::run(
        GBE, QString::fromStdString(before.substr(from, before.find('\n', from) - from)).split(' '));
    EXPECT_EQ(mended.status, 0) << mended.err;
    look(" far: 169.254.0.10, free|\nAll is well.\n");

    ASSERT_TRUE(wire.host.shell("ip link set host0 mtu 1400; ip addr add 169.254.7.42/16 dev host0"));
    look("host0 carries 1400 bytes, cameras send packets of 1500\n|sudo ip link set host0 mtu 1500\n|"
         "169.254.7.42/16 is the address of this computer itself");
    ASSERT_TRUE(wire.host.shell("ip link set host0 mtu 1500; ip addr del 169.254.7.42/16 dev host0;"
                                "ip addr add 169.254.9.9/16 dev host0"));
    // Another application here takes control of the camera, and is not heard of for a minute.
    ASSERT_TRUE(wire.host.shell(
        "python3 -c \"import socket; socket.socket(2, 2).sendto(bytes.fromhex("
        "'42010082 00100001 00000A00 00000002 00000938 0000EA60'), ('169.254.0.9', 3956))\""));
    look(" near: is controlled by 169.254.9.9, port |\n1 problem.\n");

    cameras->signal(SIGTERM);
    cameras->wait();
    golden::Frame elsewhere = golden::load("readreg_ack");
    elsewhere[37] = 0x77; // of the UDP port
    golden::Frame lost = golden::load("arp_request");
    lost[41] = 1; // of the address that it looks for
    const golden::Frame named = golden::load("discovery_ack");
    golden::Frame nameless = named;
    std::fill_n(nameless.begin() + 60, 6, std::uint8_t{0}); // the MAC address in it
    golden::Frame hostile = named;
    std::copy_n("\x1b[2J\n\xff", 7, hostile.begin() + 42 + 8 + 0xE8); // the user-defined name
    for (const auto& [frame, discovery, parts] :
         {std::tuple{
              elsewhere, named, " left: its answers go to |, 169.254.7.42, port 2935; we are |, port 3015\n"},
          {lost, hostile, " \\x1b[2J\\n\\xff: answers scans, then looks for 169.254.7.1 (ARP) and not for "},
          {lost, nameless,
           "camera    169.254.7.100: its discovery data hold no MAC address, |\n1 problem.\n"}}) {
        std::unique_ptr<AstrayCamera> astray;
        {
            const test_support::NetNamespace::Inside there(wire.camera);
            astray = std::make_unique<AstrayCamera>(frame, discovery);
        }
        look(parts);
    }
}

TEST(ServiceOnAWire, FollowsTheInterface) {
    test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        GTEST_SKIP() << wire.error();
    }
    const test_support::NetNamespace::Inside inside(wire.host);
    const test::EnvironmentFile board("LIOMOL_SOFTBOARD", "[board 0 port 0]\ninterface = host0\n");
    ASSERT_TRUE(wire.unplug());
    test::ServiceProcess service(QStringList{"--boards", "0"});
    ASSERT_TRUE(service.answers());
    const auto status = [] {
        test::RawClient client;
        EXPECT_EQ(client.ask("RESCAN BOARD 0 PORT 0"), "200 OK\n");
        return client.ask("STATUS BOARD 0 PORT 0");
    };
    EXPECT_THAT(status(), testing::AllOf(HasSubstr(" MAC 02:"), HasSubstr(" down\n")));
    ASSERT_TRUE(wire.host.shell("ip link add host0 address 06:00:00:00:00:01 type veth peer name camera0"));
    EXPECT_THAT(status(), testing::AllOf(HasSubstr(" MAC 06:00:00:00:00:01\n"), HasSubstr(" down\n")));
    ASSERT_TRUE(wire.host.shell("ip link set host0 up; ip link set camera0 up"));
    EXPECT_TRUE(eventually([&] { return status().find(" up\n") != std::string::npos; }));
    ASSERT_TRUE(wire.unplug());
    EXPECT_THAT(status(), testing::AllOf(HasSubstr(" MAC 06:00:00:00:00:01\n"), HasSubstr(" down\n")));
}

TEST(Doctor, NamesAFileThatNobodyReads) {
    std::filesystem::create_directories("prefix/bin");
    std::filesystem::create_directories("prefix/etc/liomol");
    std::filesystem::copy_file(GBE, "prefix/bin/gbe");
    writeFile("prefix/etc/liomol/gbe-service.conf", "boards = 0\n");
    const std::string found = Program::run("prefix/bin/gbe", {"doctor"}).out;
    EXPECT_THAT(
        found,
        HasSubstr("prefix/etc/liomol/gbe-service.conf is read by nobody: what counts is /etc/liomol/gbe"));
}

} // namespace
