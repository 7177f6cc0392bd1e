#include "service/GbeConnection.h"
#include "service/GbeTransmission.h"
#include "service/commands.h"
#include "service/socket.h"
#include "support/fake_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QtCore/QDir>

#include <array>
#include <cerrno>
#include <functional>
#include <memory>
#include <sys/socket.h>
#include <thread>

namespace {

using Mac = std::array<unsigned char, 6>;
constexpr Mac kUntouched{9, 9, 9, 9, 9, 9};
constexpr Mac kMac{0x02, 0xab, 0xCD, 0, 1, 0xff};

// A service that answers its first request with these bytes and hangs up.
class OneAnswer : public FakeService {
public:
    explicit OneAnswer(
        const std::string& reply, bool pieces = false, const std::string& path = LIOMOL_SERVICE_SOCKET)
        : FakeService([reply](const std::string&) { return reply; }, {true, pieces}, path) {}
    std::string request() const { return requests().at(0); }
};

// Runs one command against a scripted reply; the request that it sent.
template<typename Command> std::string converse(const std::string& reply, Command command) {
    const OneAnswer service(reply);
    GbeTransmission transmission;
    EXPECT_TRUE(transmission.isEstablished());
    command(transmission);
    return service.request();
}

TEST(ServiceCommands, RequestLines) {
    const unsigned port1 = 1;
    const int board2 = 2;
    Mac mac = kMac;
    int board = 0;
    unsigned port = 0;
    bool up = false;
    const struct {
        const char* expected;
        std::function<void(GbeTransmission&)> command;
    } rows[] = {
        {"RESCAN", [](auto& t) { EXPECT_TRUE(cmdRescan(t, -1, ~0u)); }},
        {"RESCAN BOARD 2 PORT 1", [](auto& t) { EXPECT_TRUE(cmdRescan(t, 2, 1)); }},
        {"RESCAN BOARD 4294967295 PORT 4294967294", [](auto& t) { EXPECT_TRUE(cmdRescan(t, -1, ~0u - 1)); }},
        {"CONFIGURE BOARD 0 PORT 3 IP 169.254.1.2",
         [](auto& t) { EXPECT_EQ(cmdSetIp(t, 0, 3, "169.254.1.2"), 1); }},
        {"COUNT BOARDS", [](auto& t) { EXPECT_EQ(cmdCountBoards(t), -EINVAL); }},
        {"STATUS BOARD 2 PORT 1", [&](auto& t) { EXPECT_FALSE(cmdStatus(t, 2, 1, &up, mac.data())); }},
        {"OPEN BOARD 2 PORT 1", [&](auto& t) { EXPECT_EQ(cmdOpen(t, board2, port1, mac.data()), -EPROTO); }},
        {"OPEN MAC 02:ab:cd:00:01:ff",
         [&](auto& t) { EXPECT_EQ(cmdOpen(t, mac.data(), board, port), -EPROTO); }},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(converse("200 OK\n", row.command), row.expected);
    }
    EXPECT_EQ(mac, kMac);
}

TEST(ServiceCommands, ReplyEnds) {
    const struct {
        const char* reply;
        bool done;
    } rows[] = {
        {"200 \n", true},     {"200\n", false}, {"200-OK\n", false}, {"510 no\n", false},
        {" 200 OK\n", false}, {"", false},      {"200 OK", false},
    };
    for (const auto& row : rows) {
        converse(row.reply, [&](auto& t) { EXPECT_EQ(cmdSetIp(t, 0, 0, "1.2.3.4"), row.done) << row.reply; });
    }
}

TEST(ServiceCommands, CountIsInverted) {
    const struct {
        const char* reply;
        int count;
    } rows[] = {
        {"200-3\n200 OK\n", 1},
        {"200-3\n", 3},
        {"200-12x\n200 OK\n", -EINVAL},
        {"200-99999999999\n200 OK\n", -EINVAL},
    };
    for (const auto& row : rows) {
        converse(row.reply, [&](auto& t) { EXPECT_EQ(cmdCountBoards(t), row.count) << row.reply; });
    }
}

TEST(ServiceCommands, StatusReplies) {
    const struct {
        const char* name;
        const char* reply;
        bool result;
        bool up;
        Mac mac;
    } rows[] = {
        {"both told, then 510", "200-PORT 1 MAC 02:ab:CD:00:01:ff\n200-PORT 1 up\n510 no\n", true, true,
         kMac},
        {"no MAC", "200-PORT 1 up\n200 OK\n", false, true, kUntouched},
        {"unknown lines",
         "hello\n200-PORT 1 sideways\n200-PORT 1 MAC 02:ab:CD:00:01:ff\n200-X\n200-PORT 1 up\n200 OK\n", true,
         true, kMac},
        {"malformed after good",
         "200-PORT 1 MAC 02:ab:CD:00:01:ff\n200-PORT 1 MAC\t\n200-PORT 1 MAC x\n200-PORT 1 up\n200 OK\n",
         false, true, kMac},
    };
    for (const auto& row : rows) {
        converse(row.reply, [&](auto& t) {
            bool up = false;
            Mac mac = kUntouched;
            EXPECT_EQ(cmdStatus(t, 0, 1, &up, mac.data()), row.result) << row.name;
            EXPECT_EQ(up, row.up) << row.name;
            EXPECT_EQ(mac, row.mac) << row.name;
        });
    }
    converse("200-PORT 1 MAC anything\n200-PORT 1 down\n200 OK\n", [](auto& t) {
        EXPECT_TRUE(cmdStatus(t, 0, 1, nullptr, nullptr)) << "nothing wanted";
    });
}

TEST(ServiceCommands, OpenReplies) {
    const struct {
        const char* reply;
        int result;
    } rows[] = {
        {"200-BOARD 3 PORT 2 MAC 02:ab:CD:00:01:ff\n200 OK\n", 0},
        {"200 BOARD 3 PORT 2 MAC 02:ab:CD:00:01:ff\n", 0},
        {"410 no such port\n", -ENODEV},
        {"510 no\n", -EIO},
        {"200-MAC 02:ab\n200-BOARD PORT\n200 OK\n", -EPROTO},
        {"", -ECONNRESET},
    };
    for (const auto& row : rows) {
        converse(row.reply, [&](auto& t) {
            Mac mac = kUntouched;
            EXPECT_EQ(cmdOpen(t, 3, 2u, mac.data()), row.result) << row.reply;
            EXPECT_EQ(mac, row.result == 0 ? kMac : kUntouched) << row.reply;
        });
        converse(row.reply, [&](auto& t) {
            int board = -7;
            unsigned port = 77;
            EXPECT_EQ(cmdOpen(t, kMac.data(), board, port), row.result) << row.reply;
            EXPECT_EQ(board, row.result == 0 ? 3 : -7) << row.reply;
            EXPECT_EQ(port, row.result == 0 ? 2u : 77u) << row.reply;
        });
    }
}

TEST(ServiceCommands, AnEndlessReplyIsGivenUp) {
    std::string reply;
    for (int i = 0; i < 5000; ++i) {
        reply += "200-noise\n";
    }
    converse(reply, [](auto& t) { EXPECT_FALSE(cmdStatus(t, 0, 0, nullptr, nullptr)); });
    converse(reply, [](auto& t) {
        Mac mac{};
        EXPECT_EQ(cmdOpen(t, 0, 0u, mac.data()), -EPROTO);
    });
}

TEST(ServiceCommands, WithoutAServiceAllFail) {
    GbeTransmission none;
    Mac mac{};
    EXPECT_FALSE(none.isEstablished());
    EXPECT_FALSE(cmdRescan(none, -1, ~0u));
    EXPECT_LT(cmdCountBoards(none), 0);
    EXPECT_FALSE(cmdStatus(none, 0, 0, nullptr, mac.data()));
    EXPECT_LT(cmdOpen(none, 0, 0u, mac.data()), 0);
}

TEST(GbeConnection, LinesOfManyLengthsComeWhole) {
    for (const std::size_t length : {0u, 100u, 101u, 200u, 65536u}) {
        for (const bool pieces : {false, length <= 200}) {
            OneAnswer service(std::string(length, 'x') + "\nnext\n", pieces);
            GbeConnection connection(LIOMOL_SERVICE_SOCKET);
            ASSERT_EQ(connection.transmit("hello"), 0);
            char* line = nullptr;
            ASSERT_EQ(connection.receive(&line), static_cast<int>(length));
            EXPECT_EQ(std::string(line), std::string(length, 'x'));
            delete[] line;
            ASSERT_EQ(connection.receive(&line), 4);
            EXPECT_STREQ(line, "next");
            delete[] line;
            EXPECT_EQ(connection.receive(&line), -ECONNRESET) << "the end";
            EXPECT_EQ(line, nullptr);
            EXPECT_EQ(service.request(), "hello");
        }
    }
}

TEST(GbeConnection, ALineWithoutEndIsCutOff) {
    OneAnswer service(std::string(1000000, 'x'));
    GbeConnection connection(LIOMOL_SERVICE_SOCKET);
    ASSERT_EQ(connection.transmit(""), 0);
    char* line = nullptr;
    EXPECT_EQ(connection.receive(&line), -ECONNRESET);
    EXPECT_FALSE(connection.isOpen());
}

TEST(ServiceSocket, PathsThatCannotBeConnectedTo) {
    const std::string tooLong(200, 'p');
    const struct {
        const char* path;
        int error;
    } rows[] = {{"absent.sock", ENOENT}, {tooLong.c_str(), ENAMETOOLONG}, {"", EINVAL}, {nullptr, EINVAL}};
    for (const auto& row : rows) {
        errno = 0;
        EXPECT_LT(conn_service(row.path), 0);
        EXPECT_EQ(errno, row.error) << (row.path ? row.path : "null");
    }
    const std::string longest(sizeof(sockaddr_un::sun_path) - 1, 'p');
    const OneAnswer service("", false, longest.c_str());
    GbeConnection connection(longest.c_str());
    EXPECT_TRUE(connection.isOpen());
    const auto descriptors = [] { return QDir("/proc/self/fd").count(); };
    const auto before = descriptors();
    for (int round = 0; round < 20; ++round) {
        conn_service("absent.sock");
        EXPECT_EQ(connection.open(longest.c_str()), 0) << "opened again";
    }
    EXPECT_LT(descriptors(), before + 10) << "the service closes its ends when it comes to it";
}

TEST(ServiceSocket, SendingAndReceivingOnPlainDescriptors) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    char buffer[8] = {};
    EXPECT_EQ(conn_recv(ends[0], buffer, 8), 0) << "nothing there, no waiting";
    ASSERT_EQ(conn_send(ends[1], "abc", 3), 0);
    EXPECT_EQ(conn_recv(ends[0], buffer, 8), 3) << "as much as there is";
    EXPECT_STREQ(buffer, "abc");
    std::thread peer([&] {
        conn_send(ends[1], "de", 2);
        conn_send(ends[1], "fg", 2);
    });
    EXPECT_EQ(conn_recv_wait(ends[0], buffer, 4), 0);
    EXPECT_STREQ(buffer, "defg");
    peer.join();
    conn_send(ends[1], "h", 1);
    conn_close(ends[1]);
    EXPECT_EQ(conn_recv_wait(ends[0], buffer, 2), -1) << "the stream ends before";
    EXPECT_EQ(conn_send(ends[0], "x", 1), -EPIPE) << "and no SIGPIPE";
    conn_close(ends[0]);
}

} // namespace
