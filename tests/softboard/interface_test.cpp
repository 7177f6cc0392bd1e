// A port that is a network interface of Linux, on a virtual wire with a raw socket as the camera.
#include "support.h"

#include "netif/PacketRing.h"
#include "netif/PacketSocket.h"
#include "netif/lending.h"

#include "support/golden.h"
#include "support/net_namespace.h"
#include "support/wait.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <linux/capability.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace test;
using test_support::NetNamespace;

// Gives up a thread's right to raw sockets, for good.
void giveUpRights() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2]{};
    ASSERT_EQ(syscall(SYS_capset, &header, none), 0);
}

// Puts the lender where the board looks for it. Threads without rights of this process start it as root.
void installLender() {
    ASSERT_EQ(
        std::system("mkdir -p lender && install -m 0750 " BUILT_NETPORT " lender/"
                    " && echo '[board 0 port 0]\ninterface = host0' >" LIOMOL_BOARD_FILE),
        0);
}

class InterfacePort : public testing::Test {
protected:
    void SetUp() override {
        if (!wire.error().empty()) {
            GTEST_SKIP() << wire.error();
        }
        const NetNamespace::Inside inside(wire.camera);
        std::string error;
        camera = netif::PacketSocket::create("camera0", {}, error);
        ASSERT_TRUE(camera) << error;
    }
    void TearDown() override { configure("[board 0]\n"); }

    void useInterface(const std::string& keys = {}) {
        const NetNamespace::Inside inside(wire.host);
        configure("[board 0]\n[board 0 port 0]\ninterface = host0\n" + keys);
    }
    // With sockets that are borrowed: also later, by whichever thread, in the namespace that it is in.
    void useInterfaceWithoutRight() {
        installLender();
        std::thread([&] {
            giveUpRights();
            configure("[board 0]\n[board 0 port 0]\ninterface = host0\n");
        }).join();
    }
    void loseAndFindTheInterface();
    // The camera's next frame from the board; empty when nothing comes.
    Bytes atCamera() {
        const auto frame = camera->receive(Clock::now() + kGenerous);
        return Bytes(frame.begin(), frame.end());
    }
    void fromCamera(const Bytes& frame) { EXPECT_TRUE(camera->send(frame.data(), frame.size())); }

    test_support::VirtualWire wire;
    std::unique_ptr<netif::PacketSocket> camera;
};

const Bytes kCommand = golden::load("readreg_cmd");
const Bytes kAck = golden::load("readreg_ack");

// A frame with bytes replaced from an offset on.
Bytes with(Bytes frame, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), frame.begin() + static_cast<std::ptrdiff_t>(at));
    return frame;
}

Bytes tagged(Bytes frame, std::uint8_t vlan) {
    const Bytes tag = {0x81, 0x00, 0x60, vlan};
    frame.insert(frame.begin() + 12, tag.begin(), tag.end());
    return frame;
}

// Without the right to raw frames the same, but for what is this computer's own.
TEST_F(InterfacePort, TakesInWhatIsForItAndNothingElse) {
    const NetNamespace::Inside inside(wire.host);
    ASSERT_TRUE(wire.host.shell("ip addr add 10.9.9.9/24 dev host0"));
    const Bytes arp = golden::load("arp_request");
    const std::pair<const char*, Bytes> rows[] = {
        {"+ an acknowledgement", kAck},
        {"+ one to all", with(kAck, 0, Bytes(6, 0xFF))},
        {"- one to another station", with(kAck, 0, {2, 0, 0, 0, 0, 2})},
        {"- one to another's port", with(kAck, 36, {0x0B, 0xC8})},
        {"- a later fragment", with(kAck, 20, {0, 5})},
        {"- TCP", with(kAck, 23, {6})},
        {"- IPv6", with(kAck, 12, {0x86, 0xDD})},
        {"- a first fragment", with(kAck, 20, {0x20, 0})},
        {"a ARP for the port, answered while nobody reads", arp},
        {"m an acknowledgement to this computer", with(kAck, 30, {10, 9, 9, 9})},
        {"- an ARP reply", with(arp, 21, {2})},
        {"- ARP for another protocol", with(arp, 16, {0x86, 0xDD})},
        {"- ARP for others", with(arp, 41, {43})},
        {"i the image stream", with(kAck, 36, {1520 >> 8, 1520 & 0xFF})},
        {"- another image stream", with(kAck, 36, {1521 >> 8, 1521 & 0xFF})},
        {"- another network on the wire", tagged(kAck, 5)},
    };
    for (const int pass : {0, 1, 2, 3}) {
        const bool ownAddress = pass > 1;
        const bool borrowed = pass % 2 == 1;
        if (ownAddress) {
            ASSERT_TRUE(wire.host.shell("ip link set host0 address 02:00:00:00:00:01"));
        }
        borrowed ? useInterfaceWithoutRight() : useInterface();
        const OpenBoard board;
        board.enable();
        board.send(0, kCommand);
        EXPECT_EQ(atCamera(), kCommand);
        EXPECT_EQ(wire.host.shell("ip -d link show host0 | grep -q 'promiscuity 1'"), !ownAddress);
        unsigned images = 0;
        for (const auto& [name, frame] : rows) {
            const Bytes mark = with(kAck, 48, {0x12, 0x34});
            fromCamera(frame);
            if (name[0] == 'a') {
                EXPECT_EQ(atCamera(), golden::load("arp_reply"));
            }
            fromCamera(tagged(mark, 0)); // a priority alone is no other network
            Bytes got;
            EXPECT_EQ(board.receive(0, got, kWaitMs), 0) << name;
            if (name[0] == '+' || (name[0] == 'm' && !borrowed)) {
                EXPECT_EQ(got, frame) << name;
                EXPECT_EQ(board.receive(0, got, kWaitMs), 0) << name;
            }
            EXPECT_EQ(got, mark) << name;
            images += name[0] == 'i' ? 1 : 0;
        }
        EXPECT_TRUE(eventually([&] { return state(0).framesToImagePath == images; }));
        EXPECT_EQ(images, 1U);
        board.write("ImagePort0", 1521);
        fromCamera(rows[14].second);
        EXPECT_TRUE(eventually([&] { return state(0).framesToImagePath == 2; })) << "the filter follows";
    }
}

// What the kernel sends over a virtual wire has no checksum yet: it would be the card's work.
TEST_F(InterfacePort, ARingThatRunsOverCountsWhatItLost) {
    constexpr unsigned kFrames = 200;
    const NetNamespace::Inside inside(wire.host);
    std::string error;
    int code = 0;
    const auto ring = netif::PacketRing::create("host0", error, code);
    ASSERT_TRUE(ring) << error;
    netif::Traffic traffic{.kind = netif::Traffic::Kind::Images};
    std::copy_n(kAck.begin(), 6, traffic.mac.begin());
    std::copy_n(kAck.begin() + 26, 4, traffic.packets.camera.begin());
    traffic.packets.udpPort = static_cast<std::uint16_t>(kAck[36] << 8 | kAck[37]);
    ASSERT_TRUE(ring->open({traffic, {}, std::size_t{64} << 10}, code));
    for (unsigned i = 0; i < kFrames; ++i) {
        fromCamera(with(Bytes(1400), 0, kAck));
    }
    EXPECT_TRUE(eventually([&] { return ring->statistics().overrun > 0; }));
    unsigned taken = 0;
    EXPECT_TRUE(eventually([&] {
        taken += ring->next() != nullptr ? 1 : 0;
        return taken + ring->statistics().overrun == kFrames;
    }));
    fromCamera(kAck);
    EXPECT_TRUE(eventually([&] { return ring->next() != nullptr; })) << "it goes on";
}

TEST_F(InterfacePort, FillsInChecksumsThatTheSenderLeftOpen) {
    useInterface();
    const OpenBoard board;
    board.enable();
    board.send(0, kCommand);
    ASSERT_TRUE(wire.camera.shell("ip addr add 169.254.7.100/16 dev camera0 && "
                                  "ip neigh add 169.254.7.42 lladdr 02:00:00:00:00:01 dev camera0"));
    const NetNamespace::Inside inside(wire.camera);
    const int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(3956);
    ASSERT_EQ(bind(sender, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    address.sin_port = htons(3015);
    inet_pton(AF_INET, "169.254.7.42", &address.sin_addr);
    for (const std::size_t size : {12U, 13U, 549U}) {
        const Bytes data = numbered(size, 7);
        sendto(sender, data.data(), size, 0, reinterpret_cast<sockaddr*>(&address), sizeof address);
        Bytes frame;
        ASSERT_EQ(board.receive(0, frame, kWaitMs), 0) << size;
        unsigned sum = 17 + 8 + static_cast<unsigned>(size);
        for (std::size_t i = 26; i < 42 + size; ++i) {
            sum += i % 2 == 0 ? frame[i] * 256U : frame[i];
        }
        EXPECT_EQ(sum % 0xFFFF, 0U) << "the checksum of " << size << " bytes";
    }
    close(sender);
}

void InterfacePort::loseAndFindTheInterface() {
    const OpenBoard board;
    board.enable();
    board.send(0, kCommand);
    EXPECT_EQ(atCamera(), kCommand);
    std::atomic<unsigned> got{0};
    std::thread reader([&] { // waits all the time
        Bytes frame;
        for (unsigned last = 0; last != 0xEEEE && board.receive(0, frame, kWaitMs) == 0;) {
            last = frame[48] * 256U + frame[49];
            got = last;
        }
    });
    const auto exchange = [&](std::uint8_t id) {
        const unsigned sent = id * 257U;
        return eventually([&] { // the camera's side may be looking for its interface still
                   camera->send(with(kAck, 48, {id, id}).data(), kAck.size());
                   return got == sent;
               }) &&
               (board.send(0, kCommand), atCamera() == kCommand);
    };
    struct Row {
        const char* name;
        std::function<bool()> lose;
        std::function<bool()> mend;
    } const rows[] = {
        {"switched off", [&] { return wire.host.shell("ip link set host0 down"); },
         [&] { return wire.host.shell("ip link set host0 up"); }},
        {"the other end switched off", [&] { return wire.camera.shell("ip link set camera0 down"); },
         [&] { return wire.camera.shell("ip link set camera0 up"); }},
        {"removed and made again", [&] { return wire.unplug(); }, [&] { return wire.plug(); }},
        {"switched off and removed",
         [&] { return wire.host.shell("ip link set host0 down") && wire.unplug(); },
         [&] { return wire.plug(); }},
    };
    std::uint8_t id = 1;
    for (const Row& row : rows) {
        ASSERT_TRUE(row.lose()) << row.name;
        EXPECT_TRUE(eventually([] { return !state(0).linkUp; })) << row.name;
        const auto before = state(0).framesNotSent;
        board.send(0, kCommand);
        EXPECT_EQ(state(0).framesNotSent, before + 1) << row.name;
        ASSERT_TRUE(row.mend()) << row.name;
        EXPECT_TRUE(eventually([] { return state(0).linkUp; })) << row.name;
        EXPECT_TRUE(exchange(id++)) << row.name;
    }
    EXPECT_TRUE(exchange(0xEE));
    reader.join();
}

TEST_F(InterfacePort, ComesBackWithItsInterface) {
    useInterface();
    loseAndFindTheInterface();
    const NetNamespace::Inside inside(wire.host);
    useInterfaceWithoutRight();
    loseAndFindTheInterface();
}

TEST(SpinChoice, LooksWhereThatIsFasterAndNoticesWhenItIsNot) {
    using std::chrono::microseconds;
    struct Row {
        const char* name;
        int sleeping; // microseconds that a wait takes
        int spinning;
        int least; // waits of 1000 that spin, after some hundred to get used to it
        int most;
    } const rows[] = {
        {"waking takes long", 70, 23, 950, 999},
        {"the camera is slower than one looks", 320, 330, 1, 50},
        {"not worth the processor", 70, 66, 1, 50},
        {"the camera needs this processor", 10, 4000, 1, 50},
        {"nobody answers at all", 2000000, 2000000, 1, 50},
        {"as at first", 70, 23, 950, 999},
    };
    netif::SpinChoice choice;
    for (const Row& row : rows) {
        int spins = 0;
        for (int i = -2000; i < 1000; ++i) {
            const bool spin = choice.next();
            spins += spin && i >= 0 ? 1 : 0;
            choice.took(spin, microseconds(spin ? row.spinning : row.sleeping));
        }
        EXPECT_GE(spins, row.least) << row.name;
        EXPECT_LE(spins, row.most) << row.name;
    }
}

// What anybody gets who may run the lender, whatever program asks.
TEST_F(InterfacePort, ABorrowedSocketKeepsItsFilterAndItsInterface) {
    installLender();
    const NetNamespace::Inside inside(wire.host);
    const netif::Loan loan = netif::borrowSocket("host0", {netif::Traffic::Kind::Acknowledgements});
    ASSERT_EQ(loan.error, "");
    std::thread([&] {
        giveUpRights();
        const int none = 0;
        const sock_fprog all{1, const_cast<sock_filter*>(netif::kNothing.data())};
        EXPECT_EQ(setsockopt(loan.socket, SOL_SOCKET, SO_ATTACH_FILTER, &all, sizeof all), -1);
        EXPECT_EQ(setsockopt(loan.socket, SOL_SOCKET, SO_DETACH_FILTER, &none, sizeof none), -1);
        EXPECT_EQ(setsockopt(loan.socket, SOL_SOCKET, SO_LOCK_FILTER, &none, sizeof none), -1);
    }).join();
    ASSERT_TRUE(wire.host.shell("ip link add other0 type veth peer name other1 && ip link set other0 up && "
                                "ip link set other1 up"));
    std::string error;
    const auto there = netif::PacketSocket::create("other1", {}, error);
    const auto listener = netif::PacketSocket::create("other0", {}, error);
    const auto bindTo = [&](const char* interface) {
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(ETH_P_ALL);
        address.sll_ifindex = static_cast<int>(if_nametoindex(interface));
        EXPECT_EQ(bind(loan.socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    };
    const auto hear = [&] {
        Bytes frame(2048);
        const ssize_t size = recv(loan.socket, frame.data(), frame.size(), MSG_DONTWAIT);
        frame.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return frame;
    };
    bindTo("host0");
    fromCamera(with(kAck, 23, {6})); // TCP
    fromCamera(kAck);
    pollfd something{loan.socket, POLLIN, 0};
    EXPECT_EQ(poll(&something, 1, kWaitMs), 1);
    EXPECT_EQ(hear(), kAck);
    bindTo("other0");
    EXPECT_TRUE(eventually([&] {
        there->send(kAck.data(), kAck.size());
        return !listener->receive(Clock::now() + std::chrono::milliseconds(10)).empty();
    }));
    EXPECT_EQ(hear(), Bytes()) << "another interface";
    close(loan.socket);
}

TEST_F(InterfacePort, TheLenderRefusesInOneClearLine) {
    using Kind = netif::Traffic::Kind;
    const std::string file = LIOMOL_BOARD_FILE;
    const netif::Mac group{{1, 0, 0, 0, 0, 1}};
    const netif::ImagePackets dns{{{10, 0, 0, 1}}, 53};
    struct Row {
        const char* change; // a command of the shell
        netif::Traffic traffic;
        std::string line; // empty: lent
        const char* interface = "host0";
    } const rows[] = {
        {":", {}, ""},
        {":", {}, file + " does not name camera0", "camera0"},
        {":", {Kind::Control, group}, "a port cannot have the MAC address of a group"},
        {":", {Kind::Images, {}, {}, 0, 0, dns}, "a port cannot use the UDP ports below 1024"},
        {":", {Kind::Images}, "an image stream has a camera and a UDP port"},
        {":", {Kind{9}}, "there is no such kind of traffic"},
        {"sed -i s/interface/mac/ $F", {}, file + " does not name host0"},
        {"echo nonsense >>$F", {}, file + ":3: neither a [section] nor KEY = VALUE: nonsense"},
        {"chmod 0664 $F", {}, file + " may be written by others than root, so that it is not believed"},
        {"chown 1 $F", {}, file + " does not belong to root, so that it is not believed"},
        {"rm $F; mkdir $F", {}, file + " is not a file"},
        {"rm $F", {}, file + ": No such file or directory"},
        {"chmod 0755 $L", {}, "liomol-netport may be run by anybody: chmod 0750 " LIOMOL_NETPORT},
        {"chmod 0640 $L",
         {},
         "this user is not in the group root: sudo usermod -aG root $USER, then log in again"},
        {"rm $L", {}, netif::kWithoutLender},
    };
    const NetNamespace::Inside inside(wire.host);
    const std::string names = "F=" LIOMOL_BOARD_FILE " L=" LIOMOL_NETPORT "; ";
    for (const Row& row : rows) {
        ASSERT_EQ(std::system("rm -rf " LIOMOL_BOARD_FILE), 0);
        installLender();
        if (std::system((names + row.change).c_str()) == 0) {
            const netif::Loan loan = netif::borrowSocket(row.interface, row.traffic);
            EXPECT_EQ(loan.error, row.line) << row.change;
            EXPECT_EQ(loan.socket >= 0, row.line.empty()) << row.change;
            close(loan.socket);
        }
    }
}

TEST_F(InterfacePort, SaysWhatIsWrong) {
    const NetNamespace::Inside inside(wire.host);
    const std::string port = "[board 0 port 0]\ninterface = ";
    configure(
        port + "absent0\n[board 0 port 1]\ninterface = host0\nmac = 02:00:00:00:00:77\n[board 0 port 2]\n");
    const auto report = [](int number) {
        SoftboardLinkReport r;
        softboard_linkReport(0, number, &r);
        return std::to_string(r.error) + "|" + std::to_string(r.mtu) + "|" + std::to_string(r.mac[5]) + "|" +
               std::to_string(r.ipv4[3]) + "|" + r.message;
    };
    ASSERT_TRUE(wire.host.shell("ip link set host0 mtu 9000 && ip addr add 169.254.1.9/16 dev host0"));
    EXPECT_EQ(report(0), "19|0|0|0|there is no network interface absent0");
    EXPECT_EQ(report(1), "0|9000|119|9|");
    EXPECT_EQ(report(2), "0|0|0|0|this port is not a network interface");
    std::thread([&] {
        giveUpRights();
        std::string error;
        EXPECT_FALSE(softboard::loadConfiguration(port + "host0\n", error));
        EXPECT_EQ(
            error, "configuration:1: no right to use network interface host0 for raw frames: run as root, or "
                   "give the program CAP_NET_RAW: setcap cap_net_raw+ep PROGRAM");
    }).join();
}

} // namespace
